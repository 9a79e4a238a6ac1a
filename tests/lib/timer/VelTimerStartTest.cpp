// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include "LogCapture.h"
#include "TimerTestSupport.h"

using namespace timertest;
using veltest::LogCapture;

namespace {

void (*currentHandler(int signo))(int)
{
    struct sigaction action;
    sigaction(signo, nullptr, &action);
    return action.sa_handler;
}

} // namespace

TEST(AVelTimer, ReturnsFalseAndCreatesNothingForANullTimerIdVariable)
{
    InspectableVelTimer timer;
    const int timersBefore = countPosixTimers();
    LogCapture::clear();

    EXPECT_FALSE(timer.start(recordSignal, 100, nullptr, kTestSignal, "nobody"));

    EXPECT_EQ(countPosixTimers(), timersBefore);
    EXPECT_TRUE(LogCapture::hasExact(line("start", "@@@ ERR.  (_pTimerId == nullptr) is true! Return!"),
                                     veltest::kSeverityError));
    EXPECT_EQ(LogCapture::count("[setTimer_l]"), 0u);
    EXPECT_EQ(currentHandler(kTestSignal), SIG_DFL);
}

TEST(AVelTimer, LogsItsArgumentsWhenStarting)
{
    InspectableVelTimer timer;
    void* timerId = nullptr;
    LogCapture::clear();

    ASSERT_TRUE(timer.start(recordSignal, 5000, &timerId, kTestSignal, "caller"));

    const std::string args = "_msec:5000, _pTimerId:" + str(&timerId) + ", _signo:" + str(kTestSignal);
    EXPECT_TRUE(LogCapture::hasExact(line("start", args + ", _owner:caller"), veltest::kSeverityInfo));
    EXPECT_TRUE(LogCapture::hasExact(line("setTimer_l", args), veltest::kSeverityInfo));
    EXPECT_TRUE(LogCapture::hasExact(
        line("addTimerInfo_l", "_pTimerId:" + str(&timerId) + "*_pTimerId:" + str(timerId) + ", _owner:caller"),
        veltest::kSeverityInfo));
    timer.erase(timerId, false);
}

TEST(AVelTimer, ArmsAOneShotTimerWhoseSignalReachesTheInstalledHandler)
{
    InspectableVelTimer timer;
    void* timerId = nullptr;
    const int timersBefore = countPosixTimers();

    ASSERT_TRUE(timer.start(recordSignal, 50, &timerId, kTestSignal, "oneShot"));

    // The kernel numbers a process's timers from 0, so the id itself may be null.
    EXPECT_NE(remainingMs(timerId), -1);
    EXPECT_EQ(countPosixTimers(), timersBefore + 1);
    EXPECT_EQ(currentHandler(kTestSignal), &recordSignal);
    // The signal of a 50 ms timer; generous for loaded machines.
    ASSERT_TRUE(waitForFired(1, 5000));
    EXPECT_EQ(gFiredSignal, kTestSignal);

    struct itimerspec spec;
    ASSERT_EQ(timer_gettime(static_cast<timer_t>(timerId), &spec), 0);
    EXPECT_EQ(spec.it_interval.tv_sec, 0);
    EXPECT_EQ(spec.it_interval.tv_nsec, 0);
    EXPECT_EQ(spec.it_value.tv_sec, 0);
    EXPECT_EQ(spec.it_value.tv_nsec, 0);
}

TEST(AVelTimer, KeepsAnExpiredTimerRegisteredUntilItIsErased)
{
    InspectableVelTimer timer;
    void* timerId = nullptr;
    ASSERT_TRUE(timer.start(recordSignal, 20, &timerId, kTestSignal, "expired"));
    ASSERT_TRUE(waitForFired(1, 5000));
    LogCapture::clear();

    timer.logTimerIdInfo();

    EXPECT_TRUE(LogCapture::hasExact(line("logTimerIdInfo", "mTimerInfoList.size():1"), veltest::kSeverityInfo));
    EXPECT_NE(remainingMs(timerId), -1);
    EXPECT_TRUE(timer.erase(timerId, false));
    EXPECT_EQ(timerId, nullptr);
}

TEST(AVelTimer, RegistersATimerOfZeroMillisecondsThatStaysDisarmed)
{
    InspectableVelTimer timer;
    void* timerId = nullptr;
    LogCapture::clear();

    ASSERT_TRUE(timer.start(recordSignal, 0, &timerId, kTestSignal, "zero"));

    // A zero it_value disarms: the timer exists and will never fire.
    EXPECT_EQ(remainingMs(timerId), 0);
    EXPECT_EQ(gFiredCount, 0);
    timer.logTimerIdInfo();
    EXPECT_TRUE(LogCapture::hasExact(line("logTimerIdInfo", "mTimerInfoList.size():1"), veltest::kSeverityInfo));
}

TEST(AVelTimer, ArmsFifteenHundredMillisecondsAsOneSecondAndFiveHundredMillion)
{
    InspectableVelTimer timer;
    void* timerId = nullptr;

    ASSERT_TRUE(timer.start(recordSignal, 1500, &timerId, kTestSignal, "oneAndAHalf"));

    const long remaining = remainingMs(timerId);
    EXPECT_LE(remaining, 1500);
    EXPECT_GT(remaining, 1000);
    timer.erase(timerId, false);
}

TEST(AVelTimer, ReportsANegativeDurationAsATimerSettimeFailureAndKeepsTheCreatedTimer)
{
    InspectableVelTimer timer;
    void* timerId = nullptr;
    const int timersBefore = countPosixTimers();
    LogCapture::clear();

    EXPECT_FALSE(timer.start(recordSignal, -1500, &timerId, kTestSignal, "negative"));

    EXPECT_TRUE(LogCapture::hasExact(line("setTimer_l", "@@@ ERR. timer_settime() failed! ret:-1"),
                                     veltest::kSeverityError));
    EXPECT_TRUE(LogCapture::hasExact(line("start", "@@@ ERR.  setTimer_l() failed! Return!"),
                                     veltest::kSeverityError));
    // Nothing is rolled back: the created timer exists, unarmed and unregistered.
    EXPECT_EQ(countPosixTimers(), timersBefore + 1);
    EXPECT_EQ(remainingMs(timerId), 0);
    EXPECT_EQ(currentHandler(kTestSignal), SIG_DFL);
    LogCapture::clear();
    timer.logTimerIdInfo();
    EXPECT_TRUE(LogCapture::hasExact(line("logTimerIdInfo", "mTimerInfoList.size():0")));
    timer_delete(static_cast<timer_t>(timerId));
}

TEST(AVelTimer, ReportsANegativeMillisecondRemainderAsATimerSettimeFailure)
{
    InspectableVelTimer timer;
    void* timerId = nullptr;
    LogCapture::clear();

    EXPECT_FALSE(timer.start(recordSignal, -1, &timerId, kTestSignal, "negative"));

    EXPECT_TRUE(LogCapture::hasExact(line("setTimer_l", "@@@ ERR. timer_settime() failed! ret:-1"),
                                     veltest::kSeverityError));
    timer_delete(static_cast<timer_t>(timerId));
}

TEST(AVelTimer, ArmsASecondTimerButRefusesToRegisterTheSameVariableTwice)
{
    InspectableVelTimer timer;
    void* timerId = nullptr;
    const int timersBefore = countPosixTimers();
    ASSERT_TRUE(timer.start(recordSignal, 60000, &timerId, kTestSignal, "first"));
    void* const firstId = timerId;
    LogCapture::clear();

    EXPECT_FALSE(timer.start(recordSignal, 60000, &timerId, kTestSignal, "second"));

    EXPECT_TRUE(LogCapture::hasExact(line("addTimerInfo_l", "@@@ ERR. The same _pTimerId was already registered! Return!"),
                                     veltest::kSeverityError));
    EXPECT_TRUE(LogCapture::hasExact(line("start", "@@@ ERR.  addTimerInfo_l() failed! Return!"),
                                     veltest::kSeverityError));
    // The variable now holds the second id; both timers stay armed.
    EXPECT_NE(timerId, firstId);
    EXPECT_EQ(countPosixTimers(), timersBefore + 2);
    EXPECT_GT(remainingMs(firstId), 0);
    EXPECT_GT(remainingMs(timerId), 0);
    LogCapture::clear();
    timer.logTimerIdInfo();
    EXPECT_TRUE(LogCapture::hasExact(line("logTimerIdInfo", "mTimerInfoList.size():1")));
    EXPECT_EQ(LogCapture::count("Function:first"), 1u);
    timer_delete(static_cast<timer_t>(firstId));
}

TEST(AVelTimer, RefusesANullVariableWhenArmingDirectly)
{
    InspectableVelTimer timer;
    LogCapture::clear();

    EXPECT_FALSE(timer.setTimer_l(recordSignal, 100, nullptr, kTestSignal));

    EXPECT_TRUE(LogCapture::hasExact(line("setTimer_l", "@@@ ERR. (_pTimerId == nullptr) is true! Return!"),
                                     veltest::kSeverityError));
}
