// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <gio/gio.h>
#include <sys/types.h>

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "ChildProcess.h"

namespace veltest {

enum class SystemBusKind { DbusDaemon, DbusBroker };

const char* busKindName(SystemBusKind kind);

// A system bus as a head unit runs it: Debian's own system.conf, copied with
// only its listen address and its include directories changed to private
// ones, which hold the service's shipped policy. It denies by default and
// drops to the messagebus user, as the real one does.
//
// It changes what this process's mount namespace shows (a user of each role
// in /etc/passwd and /etc/group, a private /run for the broker's
// journal socket), so it refuses to start outside a private mount namespace
// (tests/support/run-in-store-namespace). It needs root.
class StockSystemBus {
public:
    StockSystemBus(SystemBusKind kind, std::string policyPath);
    ~StockSystemBus();
    StockSystemBus(const StockSystemBus&) = delete;
    StockSystemBus& operator=(const StockSystemBus&) = delete;

    // Starts the bus and points DBUS_SYSTEM_BUS_ADDRESS at it. On failure,
    // `why` says in one line what is missing.
    bool start(std::string& why);
    void stop();

    const std::string& address() const { return mAddress; }
    // A connection of the test's own (root's), owned by the bus object.
    GDBusConnection* testConnection();
    // The group id of a role group ("vel-app", ...), or -1.
    static gid_t groupId(const std::string& group);
    // What the bus logged (the broker's journal records, the daemon's stderr).
    std::string log();

private:
    bool prepareRoleUsers(std::string& why);
    bool writeConfiguration(std::string& why);
    bool startDaemon(std::string& why);
    bool startBroker(std::string& why);
    bool openJournal(std::string& why);
    void readJournal();
    bool waitForBus(std::string& why);

    SystemBusKind mKind;
    std::string mPolicyPath;
    TempDir mDir;
    std::string mSocketPath;
    std::string mAddress;
    ChildProcess mDaemon;
    pid_t mLauncher = -1;
    int mJournalSocket = -1;
    std::atomic<bool> mJournalOpen{false};
    std::thread mJournalReader;
    std::mutex mJournalMutex;
    std::string mJournal;
    GDBusConnection* mTestConnection = nullptr;
};

// The argv prefix that runs a command as nobody with no groups, or as the
// role group's own user (started bus only).
std::vector<std::string> asNobody();
std::vector<std::string> asMemberOf(const std::string& group);

} // namespace veltest
