// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "vel/VelTimer.h"

#include <time.h>

#include <cerrno>

#include "TimerLog.h"

VelTimer::VelTimer()
{
    mTimerInfoList.clear();
    orna::OrnaLogWrapper::instance(true)->registerContext(VEL_TIMER, "VELT", "VelTimer");
    timerLog(DLT_LOG_INFO, __func__, "constructor");
}

VelTimer::~VelTimer()
{
    // Timers still registered keep running: their owners may be gone already and
    // a signal that still arrives is handled by the handler they installed.
    timerLog(DLT_LOG_INFO, __func__, "destructor");
    orna::OrnaLogWrapper::instance(true)->unregisterContext(VEL_TIMER);
    mTimerInfoList.clear();
}

bool VelTimer::start(void (*handler)(int), int msec, void** pTimerId, int signo, std::string owner)
{
    timerLog(DLT_LOG_INFO, __func__, "_msec:", msec, ", _pTimerId:", pTimerId, ", _signo:", signo, ", _owner:",
             owner);
    if (pTimerId == nullptr) {
        timerLog(DLT_LOG_ERROR, __func__, "@@@ ERR. ", " (_pTimerId == nullptr) is true! Return!");
        return false;
    }
    if (!setTimer_l(handler, msec, pTimerId, signo)) {
        timerLog(DLT_LOG_ERROR, __func__, "@@@ ERR. ", " setTimer_l() failed! Return!");
        return false;
    }
    if (!addTimerInfo_l(pTimerId, owner)) {
        // The timer armed above stays armed and unregistered: nothing is rolled back.
        timerLog(DLT_LOG_ERROR, __func__, "@@@ ERR. ", " addTimerInfo_l() failed! Return!");
        return false;
    }
    return true;
}

bool VelTimer::erase(void*& timerId, bool log)
{
    timerLog(DLT_LOG_INFO, __func__, ", _timerId:", timerId, ", &_timerId:", static_cast<const void*>(&timerId),
             ", _log:", log);
    if (mTimerInfoList.empty()) {
        // Nothing registered counts as erased; the variable is left as it is.
        timerLog(DLT_LOG_WARN, __func__, "@@@ WARN. ", "mTimerInfoList is empty! Return!");
        return true;
    }
    if (log) {
        logTimerIdInfo();
    }
    if (!removeTimerInfo_l(timerId)) {
        timerLog(DLT_LOG_ERROR, __func__, "@@@ ERR. ", "removeTimerInfo_l() failed! Return!");
        return false;
    }
    if (timer_delete(static_cast<timer_t>(timerId)) < 0) {
        const int error = errno;
        // The record is gone already and is not put back.
        timerLog(DLT_LOG_ERROR, __func__, "@@@ ERR. ", "timer_delete() failed! errno:", error);
        return false;
    }
    timerId = nullptr;
    return true;
}

void VelTimer::logTimerIdInfo()
{
    timerLog(DLT_LOG_INFO, __func__, "mTimerInfoList.size():", mTimerInfoList.size());
    for (const TIMER_INFO& info : mTimerInfoList) {
        timerLog(DLT_LOG_INFO, __func__, "Function:", info.mOwner, ", mpTimerId:", info.mpTimerId,
                 ", *mpTimerId:", *info.mpTimerId, ", StartTime:", info.mStartSec, ".", info.mStartFrac);
    }
}

bool VelTimer::addTimerInfo_l(void** pTimerId, const std::string& owner)
{
    const void* content = pTimerId != nullptr ? *pTimerId : nullptr;
    timerLog(DLT_LOG_INFO, __func__, "_pTimerId:", pTimerId, "*_pTimerId:", content, ", _owner:", owner);
    if (pTimerId == nullptr) {
        timerLog(DLT_LOG_ERROR, __func__, "@@@ ERR. ", "_pTimerId is nullptr! Return!");
        return false;
    }
    for (const TIMER_INFO& info : mTimerInfoList) {
        if (info.mpTimerId == pTimerId) {
            timerLog(DLT_LOG_ERROR, __func__, "@@@ ERR. ", "The same _pTimerId was already registered! Return!");
            return false;
        }
    }
    const uint32_t now = getClockTime_l();
    mTimerInfoList.push_back(TIMER_INFO{pTimerId, owner, now, now / 10000U, now % 10000U});
    return true;
}

bool VelTimer::removeTimerInfo_l(void* const& timerId)
{
    if (mTimerInfoList.empty()) {
        timerLog(DLT_LOG_ERROR, __func__, "@@@ ERR. ", "mTimerInfoList is empty! Return!");
        return false;
    }
    // Records are keyed by where the id is kept, never by the id itself.
    for (auto it = mTimerInfoList.begin(); it != mTimerInfoList.end(); ++it) {
        if (it->mpTimerId == &timerId) {
            timerLog(DLT_LOG_INFO, __func__, "Found. Remove this.", " it->mpTimerId:", it->mpTimerId,
                     ", Function:", it->mOwner);
            mTimerInfoList.erase(it);
            return true;
        }
    }
    timerLog(DLT_LOG_ERROR, __func__, "@@@ ERR. ", "Not found!");
    return false;
}
