// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>

#include "FaultInjection.h"
#include "LogCapture.h"
#include "TimerTestSupport.h"

using namespace timertest;
using veltest::FaultyCall;
using veltest::LogCapture;
using veltest::ScopedFault;

TEST(AVelTimerWithoutTimers, RefusesToStartAndRegistersNothingWhenNoTimerCanBeCreated)
{
    InspectableVelTimer timer;
    void* timerId = nullptr;
    const int timersBefore = countPosixTimers();
    LogCapture::clear();

    {
        ScopedFault fault(FaultyCall::TimerCreate, EAGAIN);
        EXPECT_FALSE(timer.start(recordSignal, 60000, &timerId, kTestSignal, "owner"));
        EXPECT_EQ(veltest::injectedFailures(FaultyCall::TimerCreate), 1u);
    }

    EXPECT_TRUE(LogCapture::hasExact(line("setTimer_l", "@@@ ERR. timer_create() failed! ret:-1"),
                                     veltest::kSeverityError));
    EXPECT_TRUE(LogCapture::hasExact(line("start", "@@@ ERR.  setTimer_l() failed! Return!"), veltest::kSeverityError));
    EXPECT_EQ(LogCapture::count("timer_settime"), 0u);
    EXPECT_EQ(countPosixTimers(), timersBefore);
    EXPECT_EQ(timerId, nullptr);
    LogCapture::clear();
    timer.logTimerIdInfo();
    EXPECT_TRUE(LogCapture::hasExact(line("logTimerIdInfo", "mTimerInfoList.size():0"), veltest::kSeverityInfo));

    // The next start, with timers available again, works as ever.
    ASSERT_TRUE(timer.start(recordSignal, 60000, &timerId, kTestSignal, "owner"));
    EXPECT_NE(timerId, nullptr);
    EXPECT_TRUE(timer.erase(timerId, false));
}

TEST(AVelTimerWithoutTimers, KeepsTheArmedTimerUnregisteredWhenItsHandlerCannotBeInstalled)
{
    InspectableVelTimer timer;
    void* timerId = nullptr;
    LogCapture::clear();

    {
        ScopedFault fault(FaultyCall::Signal, EINVAL);
        EXPECT_FALSE(timer.start(recordSignal, 60000, &timerId, kTestSignal, "owner"));
    }

    EXPECT_TRUE(LogCapture::hasExact(line("setTimer_l", "@@@ ERR. signal() failed!"), veltest::kSeverityError));
    EXPECT_TRUE(LogCapture::hasExact(line("start", "@@@ ERR.  setTimer_l() failed! Return!"), veltest::kSeverityError));
    // Nothing is rolled back: the timer exists, armed, but is not registered.
    ASSERT_NE(timerId, nullptr);
    EXPECT_GT(remainingMs(timerId), 0);
    LogCapture::clear();
    timer.logTimerIdInfo();
    EXPECT_TRUE(LogCapture::hasExact(line("logTimerIdInfo", "mTimerInfoList.size():0"), veltest::kSeverityInfo));
    timer_delete(static_cast<timer_t>(timerId));
}

TEST(AVelTimerWithoutAClock, ReadsTheClockAsZero)
{
    InspectableVelTimer timer;
    ASSERT_NE(timer.getClockTime_l(), 0u);
    LogCapture::clear();

    std::uint32_t reading = 1;
    {
        ScopedFault fault(FaultyCall::ClockGettime, EINVAL);
        reading = timer.getClockTime_l();
    }

    EXPECT_EQ(reading, 0u);
    EXPECT_TRUE(LogCapture::hasExact(line("getClockTime_l", "@@@ ERR.  clock_gettime() failed!"), veltest::kSeverityError));
}

// The failure is injected: deleting a timer twice to make the registry's delete
// fail reads freed memory with a C library before 2.34, where a timer id points
// to the library's own allocation.
TEST(AVelTimerWhoseDeleteFails, ForgetsTheRecordAndReportsTheError)
{
    InspectableVelTimer timer;
    void* timerId = nullptr;
    ASSERT_TRUE(timer.start(recordSignal, 60000, &timerId, kTestSignal, "owner"));
    void* const armedId = timerId;
    LogCapture::clear();

    {
        ScopedFault fault(FaultyCall::TimerDelete, EINVAL);
        EXPECT_FALSE(timer.erase(timerId, false));
        EXPECT_EQ(veltest::injectedFailures(FaultyCall::TimerDelete), 1u);
    }

    EXPECT_TRUE(LogCapture::hasExact(line("erase", "@@@ ERR. timer_delete() failed! errno:" + str(EINVAL)),
                                     veltest::kSeverityError));
    EXPECT_EQ(timerId, armedId);
    LogCapture::clear();
    timer.logTimerIdInfo();
    EXPECT_TRUE(LogCapture::hasExact(line("logTimerIdInfo", "mTimerInfoList.size():0"), veltest::kSeverityInfo));
    // The registry has let go of it; the test deletes the armed timer itself.
    EXPECT_EQ(timer_delete(static_cast<timer_t>(armedId)), 0);
}
