// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <cstdint>
#include <list>
#include <string>

/// @file
/// One-shot POSIX timers that raise a signal.

/// Registry of one-shot POSIX timers that raise a signal when they expire. The
/// registry never calls a handler itself; expiry reaches the process only as the
/// signal. Records are keyed by the address of the caller's timer-id variable,
/// so that variable must stay where it is while its timer is registered.
///
/// No lock is taken: the caller serialises every call on one instance.
class VelTimer {
public:
    /// One registered timer.
    struct TIMER_INFO {
        /// The key: the address of the caller's variable that holds the timer id.
        void** mpTimerId;
        /// The owner name given to start(), for the log.
        std::string mOwner;
        /// Registration moment in 100-microsecond units of the monotonic clock.
        uint32_t mStartTime;
        /// mStartTime in whole seconds.
        uint32_t mStartSec;
        /// The rest of mStartTime, in 100-microsecond units.
        uint32_t mStartFrac;
    };

    /// Registers the class's log context.
    VelTimer();
    /// Leaves every registered timer armed and every handler installed.
    virtual ~VelTimer();

    /// Arms a one-shot timer that raises signo after msec milliseconds,
    /// installs handler for signo (after arming) and registers the timer.
    /// @param handler  the signal handler; runs in signal context
    /// @param msec     delay in milliseconds
    /// @param pTimerId the caller's variable that receives the timer id; the
    ///                 registry's key, so it must not move while registered
    /// @param signo    the signal to raise
    /// @param owner    a name for the log
    /// @return false when pTimerId is null, a platform call fails or pTimerId
    ///         is already registered (a timer armed by then stays armed)
    bool start(void (*handler)(int), int msec, void** pTimerId, int signo, std::string owner);
    /// Unregisters and deletes the timer whose id timerId holds, and sets
    /// timerId to null.
    /// @param timerId the variable given to start() (matched by its address)
    /// @param log     write the registry to the log first
    /// @return false when it is not registered or cannot be deleted
    bool erase(void*& timerId, bool log);
    /// Writes every registered timer to the log.
    void logTimerIdInfo();

    /// Not copyable: records are keyed by addresses.
    VelTimer(const VelTimer&) = delete;
    /// Not copyable: records are keyed by addresses.
    VelTimer& operator=(const VelTimer&) = delete;

protected:
    /// Creates and arms the timer, then installs the handler. Step of start().
    /// @return false when a platform call fails
    bool setTimer_l(void (*handler)(int), int msec, void** pTimerId, int signo);
    /// Appends the record of a started timer. Step of start().
    /// @return false when pTimerId is null or already registered
    bool addTimerInfo_l(void** pTimerId, const std::string& owner);
    /// Removes the record whose key is the address of timerId. Step of erase().
    /// @return false when there is no such record
    bool removeTimerInfo_l(void* const& timerId);
    /// The monotonic clock in 100-microsecond units, truncated to 32 bits.
    uint32_t getClockTime_l();

private:
    std::list<TIMER_INFO> mTimerInfoList;
};
