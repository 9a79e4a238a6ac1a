// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <sys/types.h>

#include <gio/gio.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ChildProcess.h"
#include "LineLog.h"
#include "PrivateBus.h"

namespace soak {

// A connection of the test's own to the bus under test (owned by the bus
// object), for name and statistics queries.
using BusConnectionSource = std::function<GDBusConnection*()>;

// The test connection of a veltest::PrivateBus.
BusConnectionSource connectionOf(veltest::PrivateBus& bus);

// Whether the name has an owner on the bus.
bool nameHasOwner(GDBusConnection* connection, const char* name);

// What a client process holds, from its own view and from the bus's.
struct Footprint {
    long fds = -1;
    long threads = -1;     // not counting GLib's worker pool
    long poolThreads = -1; // GLib's worker pool, which grows and shrinks with work
    long rssKb = -1;
    long heapBytes = -1; // handed out by malloc and not freed
    long timers = -1;
    long busConnections = -1;
    long matchRules = -1;

    std::string text() const;
};

// mvel-sim as the service, with its log read incrementally: over a thousand
// restarts the log grows long, and every restart appends to the same file.
class Service {
public:
    explicit Service(BusConnectionSource bus);
    explicit Service(veltest::PrivateBus& bus) : Service(connectionOf(bus)) {}
    ~Service();

    // Starts the simulator and waits (up to 10 s) until it owns the name.
    bool start();
    void kill9() { mProcess.kill9(); }
    void stop() { mProcess.stop(); }
    pid_t pid() const { return mProcess.pid(); }
    LineLog& log() { return mLog; }

private:
    BusConnectionSource mBus;
    veltest::TempDir mDir;
    veltest::ChildProcess mProcess;
    LineLog mLog;
};

// One soak client process (tests/soak/Soak*Client.cpp) with its command FIFO
// and its output. Besides the lines of SoakClient.h it prints "vanished" and
// "appeared" when its library reports the service's name going and coming.
struct ClientProcess {
    std::string kind;          // "app", "core" or "controller"
    std::string executable;
    unsigned registerType = 0; // the client kind it registers with
    bool reportsReady = false; // whether it has a callback for onRcvMVELReady
    std::string fifo;
    veltest::ChildProcess process;
    LineLog output;
};

// The three soak clients on a private bus. Every process is stopped by PID
// when the rig goes; the FIFOs live in the rig's temporary directory.
class SoakRig {
public:
    explicit SoakRig(BusConnectionSource bus);
    explicit SoakRig(veltest::PrivateBus& bus) : SoakRig(connectionOf(bus)) {}
    ~SoakRig();

    // Starts an application, a core engine and a controller client and waits
    // until each has made its facade.
    bool startClients();
    // Starts one client, its command line preceded by `wrapper` (e.g. setpriv
    // to run it as another user; its FIFO is then open to every user).
    bool startClient(ClientProcess& client, const std::vector<std::string>& wrapper = {});
    void stopClients();
    std::vector<std::unique_ptr<ClientProcess>>& clients() { return mClients; }
    ClientProcess& client(const std::string& kind);

    bool send(ClientProcess& client, const std::string& command);
    // Waits until the client has printed `count` lines with the prefix.
    bool waitForLines(ClientProcess& client, const std::string& prefix, std::size_t count,
                      std::chrono::milliseconds timeout);
    // Sends the command and returns the first line with the prefix printed
    // after it ("" on timeout).
    std::string ask(ClientProcess& client, const std::string& command, const std::string& answerPrefix,
                    std::chrono::milliseconds timeout);
    Footprint footprint(ClientProcess& client);
    // Every client's output so far, for the report of a failed test.
    std::string outputs();

private:
    BusConnectionSource mBus;
    veltest::TempDir mDir;
    std::vector<std::unique_ptr<ClientProcess>> mClients;
};

// Reads "key=value" out of a client's line; -1 when absent.
long field(const std::string& line, const std::string& key);

} // namespace soak
