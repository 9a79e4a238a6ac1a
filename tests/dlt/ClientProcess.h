// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <chrono>
#include <string>

#include "ChildProcess.h"

namespace veltest {

// The DLT test client (DltTestClient.cpp), started with DLT_PIPE_DIR set to
// the given directory and driven through its command file.
class ClientProcess {
public:
    explicit ClientProcess(const TempDir& dir) : mDir(dir) {}
    bool start(const std::string& pipeDir);
    // Appends one command and waits for its "ok"; false on timeout.
    bool run(const std::string& command, std::chrono::milliseconds timeout = std::chrono::seconds(20));
    std::string output() const { return readFile(mDir.file("client.out")); }
    // The client's wait status once it exited, -1 on timeout.
    int waitExit(std::chrono::milliseconds timeout) { return mProcess.waitExit(timeout); }
    bool running() { return mProcess.running(); }

private:
    const TempDir& mDir;
    ChildProcess mProcess;
    int mCommands = 0;
};

} // namespace veltest
