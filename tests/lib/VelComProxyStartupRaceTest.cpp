// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "DefaultContextLoop.h"
#include "ImplVelAgent.h"
#include "ServiceFixture.h"
#include "vel/VelAgent.h"

using namespace linktest;
using veltest::LogCapture;

namespace {

constexpr int kRounds = 100;
// A proxy that connects on its own thread has reported ready before
// doInitialize() returns; one told by the main-loop thread needs a moment.
constexpr std::chrono::seconds kReadyWait(3);

// Holds the main-loop thread inside the delivery of an appearance: the watch
// has taken its snapshot of the callbacks, and the proxies in it have not run
// yet. The state outlives the hold, as the watch's list keeps every callback.
class AppearanceHold {
public:
    std::function<void(bool)> callback()
    {
        std::shared_ptr<State> state = mState;
        return [state](bool appeared) { state->onEvent(appeared); };
    }

    bool waitUntilHolding(std::chrono::milliseconds timeout)
    {
        std::unique_lock<std::mutex> lock(mState->mutex);
        return mState->changed.wait_for(lock, timeout, [this] { return mState->holding; });
    }

    void release()
    {
        std::lock_guard<std::mutex> lock(mState->mutex);
        mState->released = true;
        mState->changed.notify_all();
    }

    ~AppearanceHold() { release(); }

private:
    struct State {
        void onEvent(bool appeared)
        {
            std::unique_lock<std::mutex> lock(mutex);
            if (!appeared || released) {
                return;
            }
            holding = true;
            changed.notify_all();
            // Bounded, so that a broken test cannot stall the main-loop thread for good.
            changed.wait_for(lock, std::chrono::seconds(20), [this] { return released; });
        }

        std::mutex mutex;
        std::condition_variable changed;
        bool holding = false;
        bool released = false;
    };

    std::shared_ptr<State> mState = std::make_shared<State>();
};

// What one late proxy got from one appearance.
struct Outcome {
    std::vector<bool> readiness;
    int subscribeCalls;
};

class AProxyJoiningDuringAnAppearance : public AClientProxyWithService {
protected:
    // A fresh process as far as the link is concerned: no watch, name unseen.
    void startRound()
    {
        ASSERT_EQ(ImplVelAgent::mReferenceCnt, 0);
        VelComProxy::mIsAppearedMVELService = false;
        // On a failure the lines of the last round are shown.
        LogCapture::clear();
    }

    void TearDown() override
    {
        if (HasFailure()) {
            LogCapture::dump();
        }
    }

    // Waits until the proxy has reported ready, then until the main-loop
    // thread has finished handing out the appearance, so that a second call
    // would have been seen too.
    static Outcome outcomeOf(TestFacade& facade, RecordingAgent& readiness)
    {
        veltest::waitUntil([&] { return readiness.size() >= 1; }, kReadyWait);
        EXPECT_TRUE(flushDefaultContext());
        return Outcome{readiness.events(), facade.mSubscribeCalls.load()};
    }

    static bool connectedOnce(const Outcome& outcome)
    {
        return outcome.readiness == std::vector<bool>{true} && outcome.subscribeCalls == 1;
    }

    // Runs the default main context as a proxy's main-loop thread would.
    DefaultContextLoop mainLoop;
};

} // namespace

TEST_F(AProxyJoiningDuringAnAppearance, ConnectsOnceWhenItJoinsWhileTheMainLoopHandsOutTheAppearance)
{
    ASSERT_TRUE(sim.start());
    int missed = 0;
    int repeated = 0;
    for (int round = 0; round < kRounds; ++round) {
        startRound();
        AppearanceHold hold;
        auto earlier = std::make_unique<VelAgent>(hold.callback());
        ASSERT_TRUE(hold.waitUntilHolding(std::chrono::seconds(10))) << "round " << round;

        RecordingAgent readiness;
        auto late = std::make_unique<TestFacade>(kCoreKind, "late", &readiness);
        ASSERT_TRUE(late->doInitialize());
        hold.release();

        const Outcome outcome = outcomeOf(*late, readiness);
        missed += outcome.readiness.empty() ? 1 : 0;
        repeated += !outcome.readiness.empty() && !connectedOnce(outcome) ? 1 : 0;
        late.reset();
        earlier.reset();
    }
    EXPECT_EQ(missed, 0) << "rounds in which the late proxy never connected";
    EXPECT_EQ(repeated, 0) << "rounds in which it was told more than once";
    EXPECT_EQ(sim.countLog(registerCall(200, "late")), static_cast<std::size_t>(kRounds));
}

TEST_F(AProxyJoiningDuringAnAppearance, ConnectsBothProxiesOnceWhenTwoThreadsInitialiseAsTheNameAppears)
{
    ASSERT_TRUE(sim.start());
    int failures = 0;
    for (int round = 0; round < kRounds; ++round) {
        startRound();
        RecordingAgent firstReadiness;
        RecordingAgent secondReadiness;
        auto first = std::make_unique<TestFacade>(kAppKind, "first", &firstReadiness);
        auto second = std::make_unique<TestFacade>(kCoreKind, "second", &secondReadiness);

        std::thread other([&] { EXPECT_TRUE(first->doInitialize()); });
        EXPECT_TRUE(second->doInitialize());
        other.join();

        const bool firstOnce = connectedOnce(outcomeOf(*first, firstReadiness));
        const bool secondOnce = connectedOnce(outcomeOf(*second, secondReadiness));
        failures += firstOnce && secondOnce ? 0 : 1;
        first.reset();
        second.reset();
    }
    EXPECT_EQ(failures, 0) << "rounds in which a proxy was told zero times or more than once";
    EXPECT_EQ(sim.countLog(registerCall(100, "first")), static_cast<std::size_t>(kRounds));
    EXPECT_EQ(sim.countLog(registerCall(200, "second")), static_cast<std::size_t>(kRounds));
}
