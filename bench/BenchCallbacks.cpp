// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "BenchCallbacks.h"

#include <chrono>

namespace velbench {

void ReadyLatch::set()
{
    std::lock_guard<std::mutex> lock(mMutex);
    mReady = true;
    mChanged.notify_all();
}

bool ReadyLatch::waitFor(int timeoutMs)
{
    std::unique_lock<std::mutex> lock(mMutex);
    return mChanged.wait_for(lock, std::chrono::milliseconds(timeoutMs), [this] { return mReady; });
}

void BenchAppCallback::onRcvMVELReady(bool isReady)
{
    if (isReady) {
        ready.set();
    }
}

void BenchAppCallback::onRcvResponseConnectService(std::string deviceId, TECHNOLOGY_e, int)
{
    completions.record(parseTimestamp(deviceId.c_str()));
}

void BenchAppCallback::onRcvUpdateKnownDevices(std::list<DEVICE>& devices, int)
{
    lastKnownListSize = devices.size();
    knownLists.record(0);
}

void BenchCoreCallback::onRcvMVELReady(bool isReady)
{
    if (isReady) {
        ready.set();
    }
}

} // namespace velbench
