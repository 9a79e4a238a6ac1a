// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "Arrivals.h"

#include <chrono>
#include <cstdlib>

#include "BenchClock.h"

namespace velbench {

void Arrivals::reset(std::size_t expected)
{
    mArrivals.assign(expected, 0);
    mSent.assign(expected, 0);
    mTarget.store(expected + 1);
    mCount.store(0);
}

void Arrivals::record(std::uint64_t sentNs)
{
    const std::uint64_t arrived = nowNs();
    const std::size_t index = mCount.load(std::memory_order_relaxed);
    if (index < mArrivals.size()) {
        mArrivals[index] = arrived;
        mSent[index] = sentNs;
    }
    // Sequentially consistent with waitFor(): either it sees the new count or
    // this sees its new target.
    mCount.store(index + 1);
    if (index + 1 >= mTarget.load()) {
        std::lock_guard<std::mutex> lock(mMutex);
        mReached.notify_all();
    }
}

std::size_t Arrivals::count() const
{
    return mCount.load();
}

bool Arrivals::waitFor(std::size_t count, int timeoutMs)
{
    std::unique_lock<std::mutex> lock(mMutex);
    mTarget.store(count);
    return mReached.wait_for(lock, std::chrono::milliseconds(timeoutMs), [&] { return this->count() >= count; });
}

std::vector<std::uint64_t> Arrivals::arrivalTimes() const
{
    const std::size_t used = count() < mArrivals.size() ? count() : mArrivals.size();
    return std::vector<std::uint64_t>(mArrivals.begin(), mArrivals.begin() + static_cast<std::ptrdiff_t>(used));
}

std::vector<std::uint64_t> Arrivals::sentTimes() const
{
    const std::size_t used = count() < mSent.size() ? count() : mSent.size();
    return std::vector<std::uint64_t>(mSent.begin(), mSent.begin() + static_cast<std::ptrdiff_t>(used));
}

std::uint64_t parseTimestamp(const char* text)
{
    if (text == nullptr || *text < '0' || *text > '9') {
        return 0;
    }
    return std::strtoull(text, nullptr, 10);
}

} // namespace velbench
