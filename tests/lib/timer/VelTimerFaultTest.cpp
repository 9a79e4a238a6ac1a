#include <gtest/gtest.h>

#include <cerrno>

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
