// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// The load generator the benchmarks drive (com.qor.vel_sim.Bench), checked
// for what the benchmarks rely on: the number, order and stamps of the
// signals it emits, and the counting of the calls it receives.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <string>
#include <vector>

#include "PrivateBus.h"
#include "SimProcess.h"
#include "WaitUntil.h"

namespace {

using namespace std::chrono_literals;

constexpr const char* kBench = "com.qor.vel_sim.Bench";

// Collects the "noticeToCoreLinkLoss" signals of the service on the test's
// connection, in arrival order.
class LinkLossCatcher {
public:
    explicit LinkLossCatcher(GDBusConnection* connection) : mConnection(connection)
    {
        mId = g_dbus_connection_signal_subscribe(connection, nullptr, "com.qor.vel_communicator",
                                                 "noticeToCoreLinkLoss", "/com/qor/vel_communicator", nullptr,
                                                 G_DBUS_SIGNAL_FLAGS_NONE, &LinkLossCatcher::onSignal, this, nullptr);
    }
    ~LinkLossCatcher() { g_dbus_connection_signal_unsubscribe(mConnection, mId); }

    std::vector<std::string> texts()
    {
        // The test connection delivers on the default context of this thread.
        while (g_main_context_iteration(nullptr, FALSE)) {
        }
        std::lock_guard<std::mutex> lock(mMutex);
        return mTexts;
    }

    bool waitFor(std::size_t count)
    {
        return veltest::waitUntil([&] { return texts().size() >= count; }, 15s);
    }

private:
    static void onSignal(GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*,
                         GVariant* parameters, gpointer self)
    {
        auto* catcher = static_cast<LinkLossCatcher*>(self);
        const gchar* text = nullptr;
        g_variant_get(parameters, "(&s)", &text);
        std::lock_guard<std::mutex> lock(catcher->mMutex);
        catcher->mTexts.emplace_back(text);
    }

    GDBusConnection* mConnection;
    guint mId = 0;
    std::mutex mMutex;
    std::vector<std::string> mTexts;
};

class TheSimulatorsLoadGenerator : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(mBus.start());
        ASSERT_TRUE(mSim.start());
    }

    bool call(const std::string& method, GVariant* parameters, GVariant** reply = nullptr)
    {
        GVariant* answer = mSim.control(kBench, method, parameters);
        if (answer == nullptr) {
            return false;
        }
        if (reply != nullptr) {
            *reply = answer;
        } else {
            g_variant_unref(answer);
        }
        return true;
    }

    std::vector<guint64> emitTimes()
    {
        GVariant* reply = nullptr;
        std::vector<guint64> times;
        if (!call("EmitTimes", nullptr, &reply)) {
            return times;
        }
        GVariant* array = g_variant_get_child_value(reply, 0);
        gsize count = 0;
        const auto* values = static_cast<const guint64*>(g_variant_get_fixed_array(array, &count, sizeof(guint64)));
        times.assign(values, values + count);
        g_variant_unref(array);
        g_variant_unref(reply);
        return times;
    }

    guint waitCalls(const char* member, guint count, guint timeoutMs)
    {
        GVariant* reply = nullptr;
        if (!call("WaitCalls", g_variant_new("(suu)", member, count, timeoutMs), &reply)) {
            return 0;
        }
        guint seen = 0;
        g_variant_get(reply, "(u)", &seen);
        g_variant_unref(reply);
        return seen;
    }

    // One "informFromApp" call on the service, as a client makes it.
    bool informFromApp()
    {
        GVariant* reply = g_dbus_connection_call_sync(
            mBus.testConnection(), "com.qor.vel_communicator", "/com/qor/vel_communicator", "com.qor.vel_communicator",
            "informFromApp", g_variant_new("(us)", 0u, "0"), nullptr, G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, nullptr);
        if (reply == nullptr) {
            return false;
        }
        g_variant_unref(reply);
        return true;
    }

    veltest::PrivateBus mBus;
    veltest::SimProcess mSim{mBus};
};

} // namespace

TEST_F(TheSimulatorsLoadGenerator, FloodsACountOfSignalsEachStampedWhenItLeft)
{
    LinkLossCatcher catcher(mBus.testConnection());

    ASSERT_TRUE(call("EmitMany", g_variant_new("(svuu)", "noticeToCoreLinkLoss", g_variant_new("(s)", "@now"), 100u, 0u)));

    ASSERT_TRUE(catcher.waitFor(100));
    const std::vector<std::string> texts = catcher.texts();
    const std::vector<guint64> times = emitTimes();
    ASSERT_EQ(times.size(), 100u);
    ASSERT_EQ(texts.size(), 100u);
    for (std::size_t i = 0; i < times.size(); ++i) {
        EXPECT_EQ(texts[i], std::to_string(times[i])) << i;
        if (i > 0) {
            EXPECT_GE(times[i], times[i - 1]) << i;
        }
    }
    EXPECT_TRUE(mSim.waitForLog("bench: emitted 100 x noticeToCoreLinkLoss", 15s));
}

TEST_F(TheSimulatorsLoadGenerator, PacesAStreamAtItsRateAndLeavesOtherTextsAlone)
{
    LinkLossCatcher catcher(mBus.testConnection());

    ASSERT_TRUE(call("EmitMany", g_variant_new("(svuu)", "noticeToCoreLinkLoss", g_variant_new("(s)", "fixed"), 5u, 50u)));

    ASSERT_TRUE(catcher.waitFor(5));
    EXPECT_EQ(catcher.texts(), std::vector<std::string>(5, "fixed"));
    const std::vector<guint64> times = emitTimes();
    ASSERT_EQ(times.size(), 5u);
    // 50 per second: the fifth is due 80 ms after the stream started, which
    // was a moment before the first left; a flood would take microseconds.
    EXPECT_GE(times[4] - times[0], 60000000u);
    EXPECT_TRUE(mSim.waitForLog("bench: emitting 5 x noticeToCoreLinkLoss at 50/s", 15s));
}

TEST_F(TheSimulatorsLoadGenerator, EmitsNothingForACountOfZeroAndRefusesParametersThatAreNoTuple)
{
    ASSERT_TRUE(call("EmitMany", g_variant_new("(svuu)", "noticeToCoreLinkLoss", g_variant_new("(s)", "x"), 0u, 0u)));
    EXPECT_TRUE(emitTimes().empty());

    EXPECT_FALSE(call("EmitMany", g_variant_new("(svuu)", "noticeToCoreLinkLoss", g_variant_new_string("x"), 3u, 0u)));
    EXPECT_FALSE(call("NoSuchMethod", nullptr));
    EXPECT_TRUE(emitTimes().empty());
}

TEST_F(TheSimulatorsLoadGenerator, CountsTheCallsItReceivesAndAnswersAWaiterOnceTheyAreIn)
{
    ASSERT_TRUE(call("ResetCalls", nullptr));
    ASSERT_TRUE(informFromApp());
    ASSERT_TRUE(informFromApp());

    // Already there: answered at once.
    EXPECT_EQ(waitCalls("informFromApp", 2, 5000), 2u);
    // Not reached within the time: answered with what came.
    EXPECT_EQ(waitCalls("informFromApp", 3, 100), 2u);

    // Reached while waiting: a waiter on its own thread is answered by the third call.
    std::atomic<guint> seen{0};
    std::thread waiter([&] { seen = waitCalls("informFromApp", 3, 15000); });
    ASSERT_TRUE(veltest::waitUntil([&] { return mSim.countLog("call informFromApp") >= 2; }, 5s));
    std::this_thread::sleep_for(100ms);
    ASSERT_TRUE(informFromApp());
    waiter.join();
    EXPECT_EQ(seen.load(), 3u);

    ASSERT_TRUE(call("ResetCalls", nullptr));
    EXPECT_EQ(waitCalls("informFromApp", 1, 50), 0u);
}
