#pragma once

// The figures that need a process of their own, one function per mode of
// vel-bench-child. Each prints its results as "key value" lines on stdout and
// returns the process's exit status.

namespace velbench {

enum class SignalClient {
    Library,     // the application facade
    Raw,         // a bare GDBus subscription
    RawAndProxy  // the same, plus a proxy made the way the library makes its own
};

// The rate at which the process works through backlogs of `completionCount`
// completions and `noticeCount` known-list notices, best of several drains.
int runDrainChild(SignalClient client, unsigned completionCount, unsigned noticeCount);

// Prints "listening" once subscribed, then records the arrival of `completions`
// completions and `notices` known-list notices (or lists) emitted by someone
// else, and prints "c <sent ns> <arrival ns>" and "n <arrival ns>" lines.
int runListenChild(SignalClient client, unsigned completions, unsigned notices);

// getInstance + doInitialize until onRcvMVELReady(true).
int runReadyChild();

// Resident memory after ready ("lib"), or with only a connection and a proxy.
int runMemoryChild(bool library);

// Context switches of every thread but the main one over `seconds` of quiet.
int runIdleChild(unsigned seconds);

} // namespace velbench
