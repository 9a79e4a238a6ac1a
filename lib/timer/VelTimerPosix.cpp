// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <signal.h>
#include <time.h>

#include <cstring>

#include "TimerLog.h"
#include "vel/VelTimer.h"

bool VelTimer::setTimer_l(void (*handler)(int), int msec, void** pTimerId, int signo)
{
    timerLog(DLT_LOG_INFO, __func__, "_msec:", msec, ", _pTimerId:", pTimerId, ", _signo:", signo);
    if (pTimerId == nullptr) {
        timerLog(DLT_LOG_ERROR, __func__, "@@@ ERR. ", "(_pTimerId == nullptr) is true! Return!");
        return false;
    }

    struct sigevent event;
    std::memset(&event, 0, sizeof(event));
    event.sigev_notify = SIGEV_SIGNAL;
    event.sigev_signo = signo;

    // One-shot: no interval. A negative msec gives negative parts on purpose,
    // which timer_settime refuses.
    struct itimerspec spec;
    std::memset(&spec, 0, sizeof(spec));
    spec.it_value.tv_sec = msec / 1000;
    spec.it_value.tv_nsec = static_cast<long>(msec % 1000) * 1000000L;

    int ret = timer_create(CLOCK_REALTIME, &event, reinterpret_cast<timer_t*>(pTimerId));
    if (ret != 0) {
        timerLog(DLT_LOG_ERROR, __func__, "@@@ ERR. ", "timer_create() failed! ret:", ret);
        return false;
    }
    ret = timer_settime(static_cast<timer_t>(*pTimerId), 0, &spec, nullptr);
    if (ret != 0) {
        // The created timer is kept: nothing is rolled back.
        timerLog(DLT_LOG_ERROR, __func__, "@@@ ERR. ", "timer_settime() failed! ret:", ret);
        return false;
    }
    // The handler goes in after arming; a very short timer may still meet the
    // previous disposition of signo.
    if (signal(signo, handler) == SIG_ERR) {
        timerLog(DLT_LOG_ERROR, __func__, "@@@ ERR. ", "signal() failed!");
        return false;
    }
    return true;
}

uint32_t VelTimer::getClockTime_l()
{
    struct timespec ts;
    if (clock_gettime(CLOCK_MONOTONIC, &ts) != 0) {
        timerLog(DLT_LOG_ERROR, __func__, "@@@ ERR. ", " clock_gettime() failed!");
        return 0;
    }
    // 100-microsecond units in 32 bits: wraps after just under five days.
    const uint32_t seconds = static_cast<uint32_t>(ts.tv_sec);
    const uint32_t fraction = static_cast<uint32_t>(ts.tv_nsec / 100000L);
    return seconds * 10000U + fraction;
}
