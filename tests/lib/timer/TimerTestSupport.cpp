// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "TimerTestSupport.h"

#include <chrono>
#include <fstream>

#include <gtest/gtest.h>

#include "WaitUntil.h"

namespace timertest {

namespace {

// The first POSIX timer of a process has id 0, which reads as a null
// pointer: a check that an erased timer's variable is null would hold before
// the erase as well. A quiet timer made before any test takes that id.
class TimerIdZeroTaken : public ::testing::Environment {
public:
    void SetUp() override
    {
        sigevent quiet{};
        quiet.sigev_notify = SIGEV_NONE;
        ASSERT_EQ(timer_create(CLOCK_MONOTONIC, &quiet, &mTimer), 0);
    }
    void TearDown() override { timer_delete(mTimer); }

private:
    timer_t mTimer{};
};

const ::testing::Environment* const gTimerIdZeroTaken = ::testing::AddGlobalTestEnvironment(new TimerIdZeroTaken);

} // namespace

volatile sig_atomic_t gFiredCount = 0;
volatile sig_atomic_t gFiredSignal = 0;

void recordSignal(int signo)
{
    gFiredSignal = signo;
    gFiredCount = gFiredCount + 1;
}

int countPosixTimers()
{
    std::ifstream in("/proc/self/timers");
    int count = 0;
    for (std::string text; std::getline(in, text);) {
        count += text.rfind("ID:", 0) == 0 ? 1 : 0;
    }
    return count;
}

long remainingMs(void* timerId)
{
    struct itimerspec spec;
    if (timer_gettime(static_cast<timer_t>(timerId), &spec) != 0) {
        return -1;
    }
    return static_cast<long>(spec.it_value.tv_sec) * 1000L + spec.it_value.tv_nsec / 1000000L;
}

bool waitForFired(int count, int timeoutMs)
{
    return veltest::waitUntil([count] { return gFiredCount >= count; }, std::chrono::milliseconds(timeoutMs));
}

} // namespace timertest
