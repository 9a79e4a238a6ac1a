#pragma once

#include <cstdint>
#include <list>
#include <string>

// Registry of one-shot POSIX timers that raise a signal when they expire. The
// registry never calls a handler itself; expiry reaches the process only as the
// signal. Records are keyed by the address of the caller's timer-id variable,
// so that variable must stay where it is while its timer is registered.
//
// No lock is taken: the caller serialises every call on one instance.
class VelTimer {
public:
    struct TIMER_INFO {
        void** mpTimerId;
        std::string mOwner;
        // Registration moment in 100-microsecond units of the monotonic clock.
        uint32_t mStartTime;
        uint32_t mStartSec;
        uint32_t mStartFrac;
    };

    VelTimer();
    // Leaves every registered timer armed and every handler installed.
    virtual ~VelTimer();

    bool start(void (*handler)(int), int msec, void** pTimerId, int signo, std::string owner);
    bool erase(void*& timerId, bool log);
    void logTimerIdInfo();

    VelTimer(const VelTimer&) = delete;
    VelTimer& operator=(const VelTimer&) = delete;

protected:
    bool setTimer_l(void (*handler)(int), int msec, void** pTimerId, int signo);
    bool addTimerInfo_l(void** pTimerId, const std::string& owner);
    bool removeTimerInfo_l(void* const& timerId);
    uint32_t getClockTime_l();

private:
    std::list<TIMER_INFO> mTimerInfoList;
};
