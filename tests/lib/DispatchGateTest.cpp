// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "DispatchGate.h"
#include "WaitUntil.h"

using namespace std::chrono_literals;

namespace {

int gOwnerA;
int gOwnerB;

} // namespace

TEST(ADispatchGate, LetsCallbacksInUntilItIsClosedAndTurnsThemAwayAfter)
{
    DispatchGate* gate = DispatchGate::openFor(&gOwnerA);
    {
        DispatchGate::Pass pass(gate);
        EXPECT_TRUE(pass);
    }

    EXPECT_TRUE(gate->closeAndDrain(0ms));

    DispatchGate::Pass late(gate);
    EXPECT_FALSE(late);
}

TEST(ADispatchGate, IsFoundByItsOwnersAddressAndReopenedForANewOwnerThere)
{
    DispatchGate* first = DispatchGate::openFor(&gOwnerB);
    EXPECT_EQ(DispatchGate::forOwner(&gOwnerB), first);
    first->closeAndDrain(0ms);

    DispatchGate* second = DispatchGate::openFor(&gOwnerB);

    EXPECT_NE(second, first);
    EXPECT_EQ(DispatchGate::forOwner(&gOwnerB), second);
    EXPECT_TRUE(DispatchGate::Pass(second));
    EXPECT_EQ(DispatchGate::forOwner(&second), nullptr);
}

namespace {

// A callback on a thread of its own that has passed the gate and stays inside
// until released (at the latest when this object goes).
class CallbackInside {
public:
    explicit CallbackInside(DispatchGate* gate)
        : mThread([this, gate] {
              DispatchGate::Pass pass(gate);
              mInside = true;
              while (!mReleased) {
                  std::this_thread::sleep_for(1ms);
              }
          })
    {
    }
    ~CallbackInside() { release(); }

    bool waitUntilInside() { return veltest::waitUntil([this] { return mInside.load(); }); }
    void release()
    {
        mReleased = true;
        if (mThread.joinable()) {
            mThread.join();
        }
    }

private:
    std::atomic<bool> mInside{false};
    std::atomic<bool> mReleased{false};
    std::thread mThread;
};

} // namespace

TEST(ADispatchGate, WaitsForACallbackStillInsideBeforeReportingItIdle)
{
    int owner = 0;
    DispatchGate* gate = DispatchGate::openFor(&owner);
    CallbackInside callback(gate);
    ASSERT_TRUE(callback.waitUntilInside());

    std::atomic<bool> drained{false};
    std::thread closer([&] { drained = gate->closeAndDrain(10s); });
    // The closer must still be waiting while the callback is inside.
    std::this_thread::sleep_for(50ms);
    EXPECT_FALSE(drained);
    callback.release();
    closer.join();

    EXPECT_TRUE(drained);
}

TEST(ADispatchGate, GivesUpWhenACallbackOutstaysTheTimeout)
{
    int owner = 0;
    DispatchGate* gate = DispatchGate::openFor(&owner);
    CallbackInside callback(gate);
    ASSERT_TRUE(callback.waitUntilInside());

    EXPECT_FALSE(gate->closeAndDrain(20ms));
}

TEST(ADispatchGate, DoesNotWaitForItselfWhenClosedFromInsideACallback)
{
    int owner = 0;
    DispatchGate* gate = DispatchGate::openFor(&owner);
    DispatchGate::Pass pass(gate);
    ASSERT_TRUE(pass);

    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(gate->closeAndDrain(5s));
    // Returns at once instead of waiting out its own callback.
    EXPECT_LT(std::chrono::steady_clock::now() - start, 4s);
}

TEST(ADispatchGate, RefusesEveryoneWhenNoGateWasOpened)
{
    int neverOpened = 0;
    DispatchGate::Pass pass(DispatchGate::forOwner(&neverOpened));
    EXPECT_FALSE(pass);
}
