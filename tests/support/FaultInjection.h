// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

namespace veltest {

// Platform calls a test can make fail. Linking vel_fault_injection into a test
// executable puts its definitions of these functions ahead of the C library's
// and GLib's for the whole process (libvel included); each passes every call
// through to the real function until a failure is armed.
enum class FaultyCall {
    Ftruncate,
    Mremap,
    Munmap,
    Pwrite,
    TimerCreate,
    TimerDelete,
    BusGetSync,
    DltRegisterContext,
    Close,
    Unlink,
    Fstat,
    Read,
    SemPost,
    SemClose,
    Signal,
    ClockGettime,
    Count
};

// The next `times` calls of `call` after `passing` more calls that succeed
// fail with `error` (errno, or the GError's code for BusGetSync).
void failNextCalls(FaultyCall call, int error, unsigned times = 1, unsigned passing = 0);
// Every call of every kind passes through again.
void clearFaults();
// How many calls of `call` were made to fail so far.
unsigned injectedFailures(FaultyCall call);

// Arms a failure for the life of a scope.
class ScopedFault {
public:
    ScopedFault(FaultyCall call, int error, unsigned times = 1, unsigned passing = 0)
    {
        failNextCalls(call, error, times, passing);
    }
    ~ScopedFault() { clearFaults(); }
    ScopedFault(const ScopedFault&) = delete;
    ScopedFault& operator=(const ScopedFault&) = delete;
};

} // namespace veltest
