// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

// The figures that need a process of their own, one function per mode of
// vel-bench-child. Each prints its results as "key value" lines on stdout and
// returns the process's exit status.

namespace velbench {

enum class SignalClient {
    Library,     // the application facade
    Raw,         // a bare GDBus subscription
    // The same, plus what the protocol asks of any client besides the library's
    // own work: a proxy made the way the library makes its own, and the
    // acknowledgement of each device list (informFromApp) that the library sends.
    RawAndProxy
};

// Backlogs of `completionCount` completions and of `noticeCount` known-list
// notices drained (best of several), then `noticeCount` notices at
// `noticeRate` with their latency from emission.
int runSignalsChild(SignalClient client, unsigned completionCount, unsigned noticeCount, unsigned noticeRate);

// Prints "listening" once subscribed, then records the arrival of
// `completions` completions emitted by someone else and prints
// "c <sent ns> <arrival ns>" lines.
int runListenChild(SignalClient client, unsigned completions);

// One of many clients on the bus at once: prints "rss_kib" and "ready" once
// subscribed, "notices-done" after `notices` known lists and
// "completions-done" after `completions` completions have reached its
// callbacks; once its stdin closes, "clock_cpu_us" (its CPU time from ready to
// the last completion; "clock_cpu_lists_us" and "clock_cpu_flood_us" split it
// at the last list), an "n <arrival ns>" line per list and a
// "c <sent ns> <arrival ns>" line per completion.
int runScaleChild(SignalClient client, unsigned notices, unsigned completions);

// getInstance + doInitialize until onRcvMVELReady(true).
int runReadyChild();

// The same bus steps without the library, in the same order, until the
// registration's reply (the floor under time to ready).
int runReadyFloorChild();

// Resident memory after ready ("lib"), or with only a connection and a proxy.
int runMemoryChild(bool library);

// Context switches of every thread but the main one over `seconds` of quiet.
int runIdleChild(unsigned seconds);

} // namespace velbench
