// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "ChildProcess.h"

namespace veltest {

// One log message as dlt-receive printed it.
struct DltLine {
    std::string appId;
    std::string contextId;
    std::string level; // "fatal", "error", "warn", "info", "debug" or "verbose"
    std::string text;
};

// dlt-receive connected to a daemon's TCP port, printing every message as
// ASCII into a file that this class reads back.
class DltReceiver {
public:
    bool start(int port, const std::string& outputPath);
    void stop() { mProcess.stop(); }

    // Log messages (not control messages) received so far, in order.
    std::vector<DltLine> lines() const;
    // Log messages of one application.
    std::vector<DltLine> linesOf(const std::string& appId) const;
    // Waits until a message of `appId` with exactly this text has arrived.
    bool waitForText(const std::string& appId, const std::string& text,
                     std::chrono::milliseconds timeout = std::chrono::seconds(20)) const;
    bool hasText(const std::string& appId, const std::string& text) const;

private:
    ChildProcess mProcess;
    std::string mOutput;
};

} // namespace veltest
