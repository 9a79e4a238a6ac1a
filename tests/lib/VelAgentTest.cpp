// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>
#include <signal.h>

#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "DefaultContextLoop.h"
#include "ImplVelAgent.h"
#include "LinkTestSupport.h"
#include "LogCapture.h"
#include "PrivateBus.h"
#include "SimProcess.h"
#include "vel/VelAgent.h"
#include "vel/VelComProxy.h"

using namespace linktest;
using veltest::LogCapture;

namespace {

struct Event {
    int agent;
    bool appeared;
    std::thread::id thread;
};

// What the agents' callbacks saw, in call order.
class EventLog {
public:
    std::function<void(bool)> callbackFor(int agent)
    {
        return [this, agent](bool appeared) {
            std::lock_guard<std::mutex> lock(mMutex);
            mEvents.push_back(Event{agent, appeared, std::this_thread::get_id()});
        };
    }
    std::vector<Event> events() const
    {
        std::lock_guard<std::mutex> lock(mMutex);
        return mEvents;
    }
    std::vector<std::pair<int, bool>> pairs() const
    {
        std::vector<std::pair<int, bool>> result;
        for (const auto& event : events()) {
            result.emplace_back(event.agent, event.appeared);
        }
        return result;
    }
    void clear()
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mEvents.clear();
    }
    bool waitForCount(std::size_t count, std::chrono::milliseconds timeout = std::chrono::seconds(15)) const
    {
        return veltest::waitUntil([&] { return events().size() >= count; }, timeout);
    }

private:
    mutable std::mutex mMutex;
    std::vector<Event> mEvents;
};

class AnAgentOnTheBus : public ::testing::Test {
protected:
    void SetUp() override
    {
        VelComProxy::mSignalNoForAgent = -1;
        ASSERT_TRUE(bus.start());
        LogCapture::clear();
    }

    veltest::PrivateBus bus;
    veltest::SimProcess sim{bus};
    DefaultContextLoop loop;
    EventLog log;
};

const std::string kExpired = "[VELU][VelLibUtil][timeOutCallback] @@@ ERR. VelAgent Timer expired! _signum:";

} // namespace

TEST_F(AnAgentOnTheBus, SharesOneWatchBetweenTwoAgentsAndCallsBothOnEachEvent)
{
    auto first = std::make_unique<VelAgent>(log.callbackFor(1));
    auto second = std::make_unique<VelAgent>(log.callbackFor(2));
    // The watch first reports the missing owner; start from a quiet state.
    ASSERT_TRUE(LogCapture::waitFor("[VELLIB] OnDBusNameVanished()", std::chrono::seconds(10)));
    ASSERT_TRUE(flushDefaultContext());
    log.clear();

    EXPECT_EQ(ImplVelAgent::mReferenceCnt, 2);
    EXPECT_NE(ImplVelAgent::mWatcherId, 0u);
    EXPECT_EQ(LogCapture::count("[VelAgent] constructor", veltest::kSeverityInfo), 2u);
    EXPECT_EQ(LogCapture::count("[VELLIB] RegisterMVELService()", veltest::kSeverityInfo), 2u);
    EXPECT_EQ(LogCapture::count("[VELLIB] Watching mvel D-Bus service name. Watcher ID : "), 1u);
    EXPECT_TRUE(LogCapture::hasExact("[VELLIB] Watching mvel D-Bus service name. Watcher ID : " +
                                         std::to_string(ImplVelAgent::mWatcherId),
                                     veltest::kSeverityInfo));
    EXPECT_TRUE(LogCapture::hasExact("[VELLIB] Already registered for checking D-Bus service name",
                                     veltest::kSeverityInfo));

    ASSERT_TRUE(sim.start());
    ASSERT_TRUE(log.waitForCount(2));
    EXPECT_EQ(log.pairs(), (std::vector<std::pair<int, bool>>{{1, true}, {2, true}}));
    EXPECT_TRUE(LogCapture::hasExact("[VELLIB] OnDBusNameAppeared()", veltest::kSeverityInfo));

    sim.stop();
    ASSERT_TRUE(log.waitForCount(4));
    EXPECT_EQ(log.pairs(), (std::vector<std::pair<int, bool>>{{1, true}, {2, true}, {1, false}, {2, false}}));
    for (const auto& event : log.events()) {
        EXPECT_EQ(event.thread, loop.threadId());
    }
}

TEST_F(AnAgentOnTheBus, KeepsTheWatchUntilTheLastAgentIsDestroyed)
{
    auto first = std::make_unique<VelAgent>(log.callbackFor(1));
    auto second = std::make_unique<VelAgent>(log.callbackFor(2));
    const guint watcherId = ImplVelAgent::mWatcherId;
    ASSERT_NE(watcherId, 0u);
    LogCapture::clear();

    second.reset();

    EXPECT_EQ(ImplVelAgent::mReferenceCnt, 1);
    EXPECT_EQ(ImplVelAgent::mWatcherId, watcherId);
    EXPECT_TRUE(LogCapture::hasExact("[VelAgent] destructor", veltest::kSeverityInfo));
    EXPECT_TRUE(LogCapture::hasExact("[VELLIB] UnregisterMVELService()", veltest::kSeverityInfo));

    first.reset();

    EXPECT_EQ(ImplVelAgent::mReferenceCnt, 0);
    EXPECT_EQ(ImplVelAgent::mWatcherId, 0u);
    EXPECT_EQ(ImplVelAgent::mWatchConnection, nullptr);

    // A later agent starts a watch of its own again.
    LogCapture::clear();
    auto third = std::make_unique<VelAgent>(log.callbackFor(3));
    EXPECT_EQ(ImplVelAgent::mReferenceCnt, 1);
    EXPECT_NE(ImplVelAgent::mWatcherId, 0u);
    EXPECT_EQ(LogCapture::count("[VELLIB] Watching mvel D-Bus service name. Watcher ID : "), 1u);
}

TEST_F(AnAgentOnTheBus, KeepsEveryCallbackInTheListAfterItsAgentIsGone)
{
    // Each watch reports the missing name once. The first one is given the
    // time to do so before it is dropped; dropped while its report is being
    // dispatched on the main-loop thread, its report could come after the
    // second watch's and be taken for it.
    auto first = std::make_unique<VelAgent>(log.callbackFor(1));
    ASSERT_TRUE(log.waitForCount(1));
    first.reset();
    auto second = std::make_unique<VelAgent>(log.callbackFor(2));
    ASSERT_TRUE(log.waitForCount(3));
    EXPECT_EQ(LogCapture::count("[VELLIB] OnDBusNameVanished()"), 2u);
    EXPECT_EQ(log.pairs(), (std::vector<std::pair<int, bool>>{{1, false}, {1, false}, {2, false}}));
    ASSERT_TRUE(flushDefaultContext());
    log.clear();

    ASSERT_TRUE(sim.start());

    ASSERT_TRUE(log.waitForCount(2));
    EXPECT_EQ(log.pairs(), (std::vector<std::pair<int, bool>>{{1, true}, {2, true}}));
    EXPECT_EQ(ImplVelAgent::callbackCount(), 2u);
}

TEST_F(AnAgentOnTheBus, WarnsThatNoRecoveryTimerIsSetWithoutASignalNumber)
{
    auto agent = std::make_unique<VelAgent>(log.callbackFor(1));
    const int timersBefore = countPosixTimers();

    ASSERT_TRUE(LogCapture::waitFor("[VELLIB] OnDBusNameVanished()", std::chrono::seconds(10)));
    ASSERT_TRUE(log.waitForCount(1));

    EXPECT_EQ(log.pairs(), (std::vector<std::pair<int, bool>>{{1, false}}));
    // The warning follows the callbacks on the main-loop thread.
    ASSERT_TRUE(LogCapture::waitFor("[VELLIB] Recovery timer is not set.", std::chrono::seconds(10)));
    EXPECT_TRUE(LogCapture::hasExact("[VELLIB] Recovery timer is not set. Signo is default value (-1)",
                                     veltest::kSeverityWarn));
    EXPECT_EQ(countPosixTimers(), timersBefore);
}

TEST_F(AnAgentOnTheBus, ErasesTheRecoveryTimerWhenTheNameAppears)
{
    VelComProxy::mSignalNoForAgent = SIGUSR1;
    auto agent = std::make_unique<VelAgent>(log.callbackFor(1));
    ASSERT_TRUE(LogCapture::waitFor("[VELLIB] Recovery timer is set. Signo:10", std::chrono::seconds(10)));
    ASSERT_TRUE(flushDefaultContext());
    EXPECT_EQ(countPosixTimers(), 1);

    ASSERT_TRUE(sim.start());
    ASSERT_TRUE(log.waitForCount(2));

    EXPECT_EQ(log.pairs(), (std::vector<std::pair<int, bool>>{{1, false}, {1, true}}));
    EXPECT_TRUE(LogCapture::hasExact("[VELT][VelTimer][logTimerIdInfo] mTimerInfoList.size():1"));
    EXPECT_EQ(LogCapture::count("[VELT][VelTimer][removeTimerInfo_l] Found. Remove this.", veltest::kSeverityInfo),
              1u);
    EXPECT_EQ(LogCapture::count("Function:OnDBusNameVanished"), 2u);
    // Deleted, so it can no longer fire.
    EXPECT_EQ(countPosixTimers(), 0);
    EXPECT_EQ(ImplVelAgent::mTimerId, nullptr);
}

TEST_F(AnAgentOnTheBus, HandsEachTimerSignalToTheMainLoopThreadAsOneAppearance)
{
    auto first = std::make_unique<VelAgent>(log.callbackFor(1));
    auto second = std::make_unique<VelAgent>(log.callbackFor(2));
    ASSERT_TRUE(LogCapture::waitFor("[VELLIB] OnDBusNameVanished()", std::chrono::seconds(10)));
    ASSERT_TRUE(flushDefaultContext());
    log.clear();
    LogCapture::clear();
    ASSERT_NE(signal(SIGUSR1, &VelAgent::timeOutCallback), SIG_ERR);

    ASSERT_EQ(kill(getpid(), SIGUSR1), 0);

    ASSERT_TRUE(log.waitForCount(2));
    ASSERT_TRUE(flushDefaultContext());
    EXPECT_EQ(log.pairs(), (std::vector<std::pair<int, bool>>{{1, true}, {2, true}}));
    for (const auto& event : log.events()) {
        EXPECT_EQ(event.thread, loop.threadId());
    }
    EXPECT_EQ(LogCapture::count(kExpired + "10", veltest::kSeverityError), 1u);
    EXPECT_TRUE(LogCapture::hasExact(kExpired + "10"));

    ASSERT_EQ(kill(getpid(), SIGUSR1), 0);

    ASSERT_TRUE(log.waitForCount(4));
    EXPECT_EQ(LogCapture::count(kExpired + "10"), 2u);
}

TEST(AnImplVelAgent, DecrementsBelowZeroWhenReleasedWithoutAWatch)
{
    ImplVelAgent impl("com.qor.vel_communicator");
    ASSERT_EQ(ImplVelAgent::mWatcherId, 0u);
    ASSERT_EQ(ImplVelAgent::mReferenceCnt, 0);

    impl.UnregisterMVELService();

    EXPECT_EQ(ImplVelAgent::mReferenceCnt, -1);
    EXPECT_EQ(impl.mName, "com.qor.vel_communicator");
}
