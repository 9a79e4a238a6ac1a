// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include <regex>

#include "LogCapture.h"
#include "TimerTestSupport.h"

using namespace timertest;
using veltest::LogCapture;

namespace {

uint32_t monotonicUnits()
{
    struct timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<uint32_t>(ts.tv_sec) * 10000U + static_cast<uint32_t>(ts.tv_nsec / 100000L);
}

} // namespace

TEST(AVelTimer, RegistersItsLogContextAndSaysSoWhenConstructed)
{
    LogCapture::clear();

    InspectableVelTimer timer;

    EXPECT_TRUE(LogCapture::hasExact("[VELT][VelTimer][VelTimer] constructor", veltest::kSeverityInfo));
}

TEST(AVelTimer, LeavesItsTimersArmedWhenDestroyed)
{
    auto* timer = new InspectableVelTimer();
    void* timerId = nullptr;
    ASSERT_TRUE(timer->start(recordSignal, 100, &timerId, kTestSignal, "outlives"));
    LogCapture::clear();

    delete timer;

    EXPECT_TRUE(LogCapture::hasExact("[VELT][VelTimer][~VelTimer] destructor", veltest::kSeverityInfo));
    EXPECT_NE(remainingMs(timerId), -1);
    // The 100 ms timer still fires after its registry is gone.
    EXPECT_TRUE(waitForFired(1, 5000));
    timer_delete(static_cast<timer_t>(timerId));
}

TEST(AVelTimer, ReadsTheMonotonicClockInHundredMicrosecondUnitsOf32Bits)
{
    InspectableVelTimer timer;

    const uint32_t before = monotonicUnits();
    const uint32_t value = timer.getClockTime_l();
    const uint32_t after = monotonicUnits();

    // Unsigned differences stay right across a 32-bit wrap.
    EXPECT_LE(static_cast<uint32_t>(value - before), static_cast<uint32_t>(after - before));
}

TEST(AVelTimer, ListsEveryRecordInRegistrationOrderWithOwnerAddressIdAndStartTime)
{
    InspectableVelTimer timer;
    void* first = nullptr;
    void* second = nullptr;
    const uint32_t before = monotonicUnits();
    ASSERT_TRUE(timer.start(recordSignal, 60000, &first, kTestSignal, "first"));
    ASSERT_TRUE(timer.start(recordSignal, 60000, &second, kTestSignal, "second"));
    const uint32_t after = monotonicUnits();
    LogCapture::clear();

    timer.logTimerIdInfo();

    const auto lines = LogCapture::matching("[VELT][VelTimer][logTimerIdInfo] ");
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0].text, line("logTimerIdInfo", "mTimerInfoList.size():2"));
    const std::string firstPrefix =
        line("logTimerIdInfo", "Function:first, mpTimerId:" + str(&first) + ", *mpTimerId:" + str(first) + ", StartTime:");
    const std::string secondPrefix = line("logTimerIdInfo", "Function:second, mpTimerId:" + str(&second) +
                                                                ", *mpTimerId:" + str(second) + ", StartTime:");
    ASSERT_EQ(lines[1].text.rfind(firstPrefix, 0), 0u) << lines[1].text;
    ASSERT_EQ(lines[2].text.rfind(secondPrefix, 0), 0u) << lines[2].text;
    for (const auto& entry : {lines[1], lines[2]}) {
        EXPECT_EQ(entry.severity, veltest::kSeverityInfo);
        std::smatch match;
        const std::string text = entry.text;
        ASSERT_TRUE(std::regex_search(text, match, std::regex("StartTime:([0-9]+)\\.([0-9]+)$"))) << text;
        const uint32_t seconds = static_cast<uint32_t>(std::stoul(match[1]));
        const uint32_t fraction = static_cast<uint32_t>(std::stoul(match[2]));
        EXPECT_LT(fraction, 10000u);
        const uint32_t units = seconds * 10000U + fraction;
        EXPECT_LE(static_cast<uint32_t>(units - before), static_cast<uint32_t>(after - before));
    }
    timer.erase(first, false);
    timer.erase(second, false);
}

TEST(AVelTimer, RefusesANullVariableWhenRegisteringDirectly)
{
    InspectableVelTimer timer;
    LogCapture::clear();

    EXPECT_FALSE(timer.addTimerInfo_l(nullptr, "nobody"));

    EXPECT_TRUE(LogCapture::hasExact(line("addTimerInfo_l", "@@@ ERR. _pTimerId is nullptr! Return!"),
                                     veltest::kSeverityError));
}
