// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <string>
#include <vector>

namespace velbench {

// What one pass asks of the simulator.
struct ScaleLoad {
    unsigned clients = 1;
    unsigned warmNotices = 0;  // delivered first and left out of the latencies
    unsigned notices = 0;      // measured known-list notices
    unsigned noticeRate = 1;   // notices per second
    unsigned completions = 0;  // one flood of completions after the notices
};

struct ScalePassFigures {
    // Per notice and per completion: from its emission until the last
    // client's callback had run, in µs.
    std::vector<double> listLastUs;
    std::vector<double> floodLastUs;
    double cpuPerClientUs = 0.0;       // mean, utime + stime from /proc/<pid>/stat
    double clockCpuPerClientUs = 0.0;  // mean, each client's own CPU clock
    // The same clock, per signal: over the notices (warm-up included) and
    // over the flood.
    double clockCpuPerListUs = 0.0;
    double clockCpuPerCompletionUs = 0.0;
    double busCpuMs = 0.0;             // NaN when the daemon's PID is unknown
    double rssKiB = 0.0;               // mean VmRSS after ready
    double seconds = 0.0;              // from all clients ready to the last completion
};

// Starts load.clients processes of one kind ("lib" or "raw+proxy"), sends
// them the notices and the flood, and reaps them by PID. False, with the
// reason in `failure`, when any client does not start or misses a signal.
bool runScalePass(const std::string& mode, const ScaleLoad& load, ScalePassFigures& figures, std::string& failure);

} // namespace velbench
