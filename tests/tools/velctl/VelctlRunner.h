// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "ChildProcess.h"

namespace velctltest {

using namespace std::chrono_literals;

// What one velctl run left behind.
struct VelctlRun {
    // Exit status, or -1 when it did not exit normally within the bound.
    int status = -1;
    std::string out;
    std::string err;
};

// Runs velctl with the arguments and waits for it to exit by itself (velctl
// bounds its own waits; `bound` only guards the test).
VelctlRun runVelctl(const std::vector<std::string>& arguments, std::chrono::milliseconds bound = 60s);

// Starts velctl and leaves it running (for watch); what it printed so far is
// readable through out() and err(). The process is stopped by PID at the end.
class RunningVelctl {
public:
    explicit RunningVelctl(const std::vector<std::string>& arguments);
    veltest::ChildProcess& process() { return mProcess; }
    std::string out() const;
    std::string err() const;
    bool waitForOut(const std::string& fragment, std::chrono::milliseconds timeout) const;

private:
    veltest::TempDir mDir;
    veltest::ChildProcess mProcess;
};

// The lines of a text, without their line ends.
std::vector<std::string> linesOf(const std::string& text);

} // namespace velctltest
