// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "LibraryLockCheck.h"
#include "vel/VelCallBackAgent.h"
#include "vel/VelComProxy.h"

namespace linktest {

// The smallest client facade on the proxy base: it subscribes nothing and
// records what the base asked of it.
class TestFacade : public VelComProxy {
public:
    TestFacade(CLIENT_TYPE_e clientType, const std::string& clientName, VelCallBackAgent* callBackAgent)
        : VelComProxy(clientType, clientName, callBackAgent)
    {
    }

    bool doInitialize() override { return prepareToCommunicateWithStub(); }
    bool doRelease() override { return true; }

    bool subscribe() override
    {
        mConnectionAtSubscribe = mConnection != nullptr;
        ++mSubscribeCalls;
        return mSubscribeResult;
    }

    bool lazyInitialize() override
    {
        ++mLazyCalls;
        if (mOnLazyInitialize) {
            mOnLazyInitialize();
        }
        return mLazyResult && VelComProxy::lazyInitialize();
    }

    ComQorVel_communicator* proxy() const { return mProxy; }
    GDBusConnection* connection() const { return mConnection; }
    const std::string& name() const { return mName; }
    GError* pendingError() const { return mError; }

    std::atomic<int> mSubscribeCalls{0};
    std::atomic<int> mLazyCalls{0};
    std::atomic<bool> mConnectionAtSubscribe{false};
    bool mSubscribeResult = true;
    bool mLazyResult = true;
    // Runs inside lazyInitialize, i.e. just before the presence check.
    std::function<void()> mOnLazyInitialize;
};

// Records every onRcvMVELReady call in order.
class RecordingAgent : public VelCallBackAgent {
public:
    void onRcvMVELReady(bool ready) override
    {
        veltest::expectNoLibraryLockHeld("onRcvMVELReady");
        std::lock_guard<std::mutex> lock(mMutex);
        mEvents.push_back(ready);
    }

    std::vector<bool> events() const
    {
        std::lock_guard<std::mutex> lock(mMutex);
        return mEvents;
    }

    std::size_t size() const { return events().size(); }

private:
    mutable std::mutex mMutex;
    std::vector<bool> mEvents;
};

} // namespace linktest
