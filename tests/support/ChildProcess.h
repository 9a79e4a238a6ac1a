// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace veltest {

// A process started by the test and always reaped by PID: stop() or the
// destructor sends SIGTERM (then SIGKILL after a grace period) and waits.
class ChildProcess {
public:
    ChildProcess() = default;
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // Starts argv[0] with the given arguments; stdout and stderr go to outputPath
    // (appended) unless it is empty.
    bool start(const std::vector<std::string>& argv, const std::string& outputPath = std::string());
    pid_t pid() const { return mPid; }
    bool running();
    // Sends the signal without waiting.
    void signal(int signo);
    // SIGTERM, wait up to `grace`, then SIGKILL; returns the wait status (-1 if none).
    int stop(std::chrono::milliseconds grace = std::chrono::seconds(3));
    void kill9();
    // Waits for the process to exit by itself; returns the wait status or -1 on timeout.
    int waitExit(std::chrono::milliseconds timeout);

private:
    pid_t mPid = -1;
    int mStatus = -1;
};

// Reads a whole file (empty string when absent).
std::string readFile(const std::string& path);

// A fresh private directory under $TMPDIR, removed with its contents at destruction.
class TempDir {
public:
    TempDir();
    ~TempDir();
    const std::string& path() const { return mPath; }
    std::string file(const std::string& name) const { return mPath + "/" + name; }

private:
    std::string mPath;
};

} // namespace veltest
