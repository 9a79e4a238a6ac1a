// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace velctl {

// Lets the command's thread wait until the library reports the service ready.
class ReadyGate {
public:
    void set(bool ready);
    // True once onRcvMVELReady(true) has been seen, false after the timeout.
    bool waitReady(std::chrono::milliseconds timeout);

private:
    std::mutex mMutex;
    std::condition_variable mChanged;
    bool mReady = false;
};

} // namespace velctl
