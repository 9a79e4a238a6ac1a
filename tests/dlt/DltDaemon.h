// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <string>
#include <vector>

#include "ChildProcess.h"

namespace veltest {

// The command line of a DLT client tool (dlt-receive, dlt-control) that talks
// to the daemon on `port` of 127.0.0.1, with `arguments` before the address.
// The tools of DLT 2.18.8 and later take the port as -p; older ones (Debian
// 11 has 2.18.6) have no such option and take it from DLT_DAEMON_TCP_PORT.
std::vector<std::string> dltClientCommand(const std::string& tool, int port, std::vector<std::string> arguments);

// A dlt-daemon of the test's own: its FIFO, user pipes, control socket and
// stored settings all live in a private directory, and it listens on a free
// TCP port of 127.0.0.1 only. Clients find it through DLT_PIPE_DIR=pipeDir().
class DltDaemon {
public:
    DltDaemon();
    ~DltDaemon();
    DltDaemon(const DltDaemon&) = delete;
    DltDaemon& operator=(const DltDaemon&) = delete;

    // Starts the daemon and waits until its FIFO exists and its port accepts.
    bool start();
    // Stops it by PID; returns the wait status.
    int stop();
    bool running() { return mProcess.running(); }

    const std::string& pipeDir() const { return mDir.path(); }
    int port() const { return mPort; }
    std::string log() const { return readFile(mDir.file("daemon.log")); }

    // Runs dlt-control against this daemon: sets `level` for one context of
    // one application; true when dlt-control exits with status 0.
    bool setLevel(const std::string& appId, const std::string& contextId, int level);

private:
    TempDir mDir;
    int mPort = 0;
    ChildProcess mProcess;
};

} // namespace veltest
