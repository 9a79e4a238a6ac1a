// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <chrono>
#include <functional>
#include <thread>

#include "TimeScale.h"

namespace veltest {

// Polls the predicate until it holds or the timeout passes; returns the last
// result. Tests wait on observable state with this instead of sleeping. The
// timeout is widened by the run's time scale (TimeScale.h).
inline bool waitUntil(const std::function<bool()>& predicate,
                      std::chrono::milliseconds timeout = std::chrono::seconds(5),
                      std::chrono::milliseconds step = std::chrono::milliseconds(5))
{
    const auto deadline = std::chrono::steady_clock::now() + scaled(timeout);
    while (!predicate()) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return predicate();
        }
        std::this_thread::sleep_for(step);
    }
    return true;
}

} // namespace veltest
