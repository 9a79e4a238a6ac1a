#pragma once

// The figures that need a process of their own, one function per mode of
// vel-bench-child. Each prints its results as "key value" lines on stdout and
// returns the process's exit status.

namespace velbench {

// Signals to callbacks, through the library ("lib") or a bare GDBus
// subscription ("raw"): a flood, a paced stream with latencies, and device
// list notices.
int runSignalsChild(bool library, unsigned floodCount, unsigned latencyCount, unsigned latencyRate,
                    unsigned noticeCount, unsigned noticeRate);

// getInstance + doInitialize until onRcvMVELReady(true).
int runReadyChild();

// Resident memory after ready ("lib"), or with only a connection and a proxy.
int runMemoryChild(bool library);

// Context switches of every thread but the main one over `seconds` of quiet.
int runIdleChild(unsigned seconds);

} // namespace velbench
