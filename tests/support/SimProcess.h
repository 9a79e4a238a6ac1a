// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <gio/gio.h>

#include <chrono>
#include <string>
#include <vector>

#include "ChildProcess.h"
#include "PrivateBus.h"

namespace veltest {

// mvel-sim started as a separate process on the private bus. Its log (one
// line per received call, among others) goes to a file the test can read.
class SimProcess {
public:
    explicit SimProcess(PrivateBus& bus);
    ~SimProcess();

    // Starts mvel-sim with extra options; waits (up to 10 s) for the name
    // "com.qor.vel_communicator" unless waitForName is false.
    bool start(const std::vector<std::string>& options = {}, bool waitForName = true);
    int stop();
    void kill9();
    pid_t pid() const { return mProcess.pid(); }
    ChildProcess& process() { return mProcess; }

    std::string log() const;
    std::vector<std::string> logLines() const;
    std::size_t countLog(const std::string& fragment) const;
    bool waitForLog(const std::string& fragment, std::chrono::milliseconds timeout, std::size_t times = 1) const;

    // Calls a method of the simulator's control object "/com/qor/vel_sim" on the
    // given control interface; returns the reply (caller unrefs) or nullptr.
    GVariant* control(const std::string& interfaceName, const std::string& method, GVariant* parameters);
    // Emits any signal of com.qor.vel_communicator from the simulator, with any
    // parameters (wrong types included). Returns true when the sim accepted it.
    bool emitSignal(const std::string& signalName, GVariant* parameters);

private:
    PrivateBus& mBus;
    ChildProcess mProcess;
    TempDir mDir;
    std::string mLogPath;
};

std::string simulatorPath();

} // namespace veltest
