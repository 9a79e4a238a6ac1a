// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <gio/gio.h>

#include <string>
#include <vector>

#include "ChildProcess.h"

namespace veltest {

// A dbus-daemon of our own with system-bus semantics and a permissive policy.
// start() points DBUS_SYSTEM_BUS_ADDRESS at it before anything connects, so the
// library's system-bus connections land here and never on the machine's bus.
// A connection of a test's own to the bus at the address (nullptr when it
// cannot be made); the caller closes and unrefs it.
GDBusConnection* connectToBus(const std::string& address);

class PrivateBus {
public:
    // The permissive test configuration, or another one (e.g. a shipped policy).
    PrivateBus();
    explicit PrivateBus(std::string configPath) : mConfigPath(std::move(configPath)) {}
    ~PrivateBus();

    bool start();
    void stop();
    // Kills the daemon and starts a new one on the same socket, as a
    // supervisor restarts a crashed bus: clients find it at the address they
    // know, but every connection to it is new. Only for path addresses.
    bool restart();
    // Kills the daemon with SIGKILL (bus loss tests).
    void kill9();
    const std::string& address() const { return mAddress; }
    pid_t pid() const { return mDaemon.pid(); }

    // A connection of the test's own, separate from the shared system-bus
    // connection that the library uses. Owned by the bus object.
    GDBusConnection* testConnection();
    bool nameHasOwner(const std::string& name);

private:
    bool startDaemon(const std::vector<std::string>& extraArguments);
    void dropTestConnection();

    std::string mConfigPath;
    ChildProcess mDaemon;
    TempDir mDir;
    std::string mAddress;
    GDBusConnection* mTestConnection = nullptr;
};

} // namespace veltest
