// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

namespace velbench {

// Arrival times of signals at a callback, recorded on the one thread that
// dispatches them, with the send time a signal carried (0 when it carried
// none). Room is made up front so that recording never allocates.
class Arrivals {
public:
    // Only while no signal is being recorded.
    void reset(std::size_t expected);
    void record(std::uint64_t sentNs);
    std::size_t count() const;
    // Waits until `count` signals have arrived; false on timeout.
    bool waitFor(std::size_t count, int timeoutMs);

    // The first count() entries; call once the signals have stopped.
    std::vector<std::uint64_t> arrivalTimes() const;
    std::vector<std::uint64_t> sentTimes() const;

private:
    std::vector<std::uint64_t> mArrivals;
    std::vector<std::uint64_t> mSent;
    std::atomic<std::size_t> mCount{0};
    std::atomic<std::size_t> mTarget{0};
    std::mutex mMutex;
    std::condition_variable mReached;
};

// Parses a decimal timestamp carried as text; 0 when it is not one.
std::uint64_t parseTimestamp(const char* text);

} // namespace velbench
