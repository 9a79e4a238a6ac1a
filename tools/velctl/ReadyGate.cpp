// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "ReadyGate.h"

namespace velctl {

void ReadyGate::set(bool ready)
{
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mReady = ready;
    }
    mChanged.notify_all();
}

bool ReadyGate::waitReady(std::chrono::milliseconds timeout)
{
    std::unique_lock<std::mutex> lock(mMutex);
    return mChanged.wait_for(lock, timeout, [this] { return mReady; });
}

} // namespace velctl
