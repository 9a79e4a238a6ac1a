// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include "LogCapture.h"
#include "TimerTestSupport.h"

using namespace timertest;
using veltest::LogCapture;

namespace {

// Index of the first captured line equal to text, or -1.
int indexOf(const std::string& text)
{
    const auto texts = LogCapture::texts();
    for (std::size_t i = 0; i < texts.size(); ++i) {
        if (texts[i] == text) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

} // namespace

TEST(AVelTimer, TreatsEraseOnAnEmptyRegistryAsSuccessAndLeavesTheVariableUnchanged)
{
    InspectableVelTimer timer;
    void* timerId = reinterpret_cast<void*>(0x1234);
    LogCapture::clear();

    EXPECT_TRUE(timer.erase(timerId, true));

    EXPECT_EQ(timerId, reinterpret_cast<void*>(0x1234));
    EXPECT_TRUE(LogCapture::hasExact(
        line("erase", ", _timerId:" + str(timerId) + ", &_timerId:" + str(&timerId) + ", _log:1"),
        veltest::kSeverityInfo));
    EXPECT_TRUE(LogCapture::hasExact(line("erase", "@@@ WARN. mTimerInfoList is empty! Return!"),
                                     veltest::kSeverityWarn));
    EXPECT_EQ(LogCapture::count("[logTimerIdInfo]"), 0u);
}

TEST(AVelTimer, DoesNotFindATimerThroughAnotherVariableHoldingTheSameId)
{
    InspectableVelTimer timer;
    void* timerId = nullptr;
    ASSERT_TRUE(timer.start(recordSignal, 60000, &timerId, kTestSignal, "owner"));
    void* copy = timerId;
    LogCapture::clear();

    EXPECT_FALSE(timer.erase(copy, false));

    const int notFound = indexOf(line("removeTimerInfo_l", "@@@ ERR. Not found!"));
    const int failed = indexOf(line("erase", "@@@ ERR. removeTimerInfo_l() failed! Return!"));
    ASSERT_GE(notFound, 0);
    ASSERT_GE(failed, 0);
    EXPECT_LT(notFound, failed);
    EXPECT_EQ(LogCapture::count("Not found!", veltest::kSeverityError), 1u);
    // The timer is neither deleted nor unregistered.
    EXPECT_GT(remainingMs(timerId), 0);
    EXPECT_EQ(copy, timerId);
    EXPECT_TRUE(timer.erase(timerId, false));
}

TEST(AVelTimer, DeletesTheTimerAndNullsTheVariableOnErase)
{
    InspectableVelTimer timer;
    void* timerId = nullptr;
    const int timersBefore = countPosixTimers();
    ASSERT_TRUE(timer.start(recordSignal, 60000, &timerId, kTestSignal, "owner"));
    void* const id = timerId;
    ASSERT_NE(id, nullptr);
    LogCapture::clear();

    EXPECT_TRUE(timer.erase(timerId, true));

    EXPECT_EQ(timerId, nullptr);
    EXPECT_EQ(countPosixTimers(), timersBefore);
    EXPECT_EQ(remainingMs(id), -1);
    EXPECT_TRUE(LogCapture::hasExact(line("logTimerIdInfo", "mTimerInfoList.size():1"), veltest::kSeverityInfo));
    EXPECT_TRUE(LogCapture::hasExact(
        line("removeTimerInfo_l", "Found. Remove this. it->mpTimerId:" + str(&timerId) + ", Function:owner"),
        veltest::kSeverityInfo));
}

TEST(AVelTimer, ErasesOnlyOnceWhileOtherTimersRemainRegistered)
{
    InspectableVelTimer timer;
    void* first = nullptr;
    void* second = nullptr;
    ASSERT_TRUE(timer.start(recordSignal, 60000, &first, kTestSignal, "first"));
    ASSERT_TRUE(timer.start(recordSignal, 60000, &second, kTestSignal, "second"));
    ASSERT_TRUE(timer.erase(first, false));
    LogCapture::clear();

    EXPECT_FALSE(timer.erase(first, false));

    EXPECT_TRUE(LogCapture::hasExact(line("removeTimerInfo_l", "@@@ ERR. Not found!"), veltest::kSeverityError));
    EXPECT_TRUE(LogCapture::hasExact(line("erase", "@@@ ERR. removeTimerInfo_l() failed! Return!"),
                                     veltest::kSeverityError));
    EXPECT_TRUE(timer.erase(second, false));
}

TEST(AVelTimer, SucceedsTriviallyOnASecondEraseOnceTheRegistryIsEmpty)
{
    InspectableVelTimer timer;
    void* timerId = nullptr;
    ASSERT_TRUE(timer.start(recordSignal, 60000, &timerId, kTestSignal, "owner"));
    ASSERT_TRUE(timer.erase(timerId, false));
    LogCapture::clear();

    EXPECT_TRUE(timer.erase(timerId, false));

    EXPECT_EQ(timerId, nullptr);
    EXPECT_TRUE(LogCapture::hasExact(line("erase", "@@@ WARN. mTimerInfoList is empty! Return!"),
                                     veltest::kSeverityWarn));
}

TEST(AVelTimer, ReportsAnEmptyListAsAnErrorWhenRemovingDirectly)
{
    InspectableVelTimer timer;
    void* timerId = nullptr;
    LogCapture::clear();

    EXPECT_FALSE(timer.removeTimerInfo_l(timerId));

    EXPECT_TRUE(LogCapture::hasExact(line("removeTimerInfo_l", "@@@ ERR. mTimerInfoList is empty! Return!"),
                                     veltest::kSeverityError));
}
