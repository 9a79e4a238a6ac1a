// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <signal.h>
#include <time.h>

#include <sstream>
#include <string>

#include "vel/VelTimer.h"

namespace timertest {

// The registry with its internal steps reachable from the tests.
class InspectableVelTimer : public VelTimer {
public:
    using VelTimer::addTimerInfo_l;
    using VelTimer::getClockTime_l;
    using VelTimer::removeTimerInfo_l;
    using VelTimer::setTimer_l;
};

// Signal used by the timers under test, and what its handler saw.
constexpr int kTestSignal = SIGUSR2;
extern volatile sig_atomic_t gFiredCount;
extern volatile sig_atomic_t gFiredSignal;
// Only records the delivery: nothing else is safe in signal context.
void recordSignal(int signo);

// Number of POSIX timers the process owns, from /proc/self/timers.
int countPosixTimers();
// Remaining time of a timer in milliseconds; -1 when the timer does not exist.
long remainingMs(void* timerId);
bool waitForFired(int count, int timeoutMs);

template <typename T>
std::string str(const T& value)
{
    std::ostringstream out;
    out << value;
    return out.str();
}

inline std::string line(const char* function, const std::string& text)
{
    return std::string("[VELT][VelTimer][") + function + "] " + text;
}

} // namespace timertest
