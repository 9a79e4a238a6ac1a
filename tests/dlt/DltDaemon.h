#pragma once

#include <string>

#include "ChildProcess.h"

namespace veltest {

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
