// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace velctl {

// Runs a blocking library call on a thread of its own and waits at most
// `timeout` for it. On a timeout the call is abandoned (the process is about
// to end) and false is returned.
inline bool runBounded(std::function<void()> call, std::chrono::milliseconds timeout)
{
    struct State {
        std::mutex mutex;
        std::condition_variable done;
        bool finished = false;
    };
    auto state = std::make_shared<State>();
    std::thread([state, call]() {
        call();
        {
            std::lock_guard<std::mutex> lock(state->mutex);
            state->finished = true;
        }
        state->done.notify_all();
    }).detach();
    std::unique_lock<std::mutex> lock(state->mutex);
    return state->done.wait_for(lock, timeout, [&] { return state->finished; });
}

} // namespace velctl
