#pragma once

#include <gio/gio.h>

#include <string>

#include "ChildProcess.h"

namespace reltest {

// A private dbus-daemon started with a configuration of the test's choice
// (veltest::PrivateBus always uses the permissive one). start() points
// DBUS_SYSTEM_BUS_ADDRESS at it; the daemon is stopped by PID.
class ConfiguredBus {
public:
    explicit ConfiguredBus(std::string configPath) : mConfigPath(std::move(configPath)) {}
    ~ConfiguredBus();

    bool start();
    void stop();
    const std::string& address() const { return mAddress; }
    // A connection of root's own, for queries. Owned by the bus object.
    GDBusConnection* testConnection();

private:
    std::string mConfigPath;
    veltest::ChildProcess mDaemon;
    veltest::TempDir mDir;
    std::string mAddress;
    GDBusConnection* mTestConnection = nullptr;
};

} // namespace reltest
