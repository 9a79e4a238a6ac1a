// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <string>
#include <vector>

namespace velbench {

// Sizes of one run. A smoke run (CI) does one iteration of everything with
// tiny samples: it proves the benchmarks work, not how fast anything is.
struct BenchOptions {
    bool smoke = false;
    std::string outDir = "build/bench";
    std::string childPath;
    std::string stderrLogPath;
    std::string dltLogPath;

    int microSamples = 20000;
    int syncPairs = 6000;
    int corePairs = 4000;
    int asyncRounds = 24;
    int asyncCalls = 1500;
    int signalRounds = 6;
    int drainCount = 5000;
    int latencySessions = 4;
    int calibrationSessions = 2;
    int latencyCount = 1000;
    int latencyRate = 1000;
    int noticeCount = 500;
    int noticeRate = 500;
    int readyRuns = 15;
    int memoryPairs = 3;
    int idleSeconds = 10;
    int stderrBatches = 5000;
    int dltBatches = 5000;
    // Many clients on one bus: the numbers of processes, alternating rounds
    // of a library pass and a baseline pass, and the load of each pass. The
    // notices are paced so that all clients together get at most
    // scaleDeliveriesPerSecond known lists a second (and each at most
    // scaleMaxNoticeRate): every notice is through before the next one.
    std::vector<int> scaleClients = {1, 4, 16, 32};
    int scaleRounds = 5;
    int scaleWarmNotices = 5;
    int scaleNotices = 200;
    int scaleMaxNoticeRate = 200;
    int scaleDeliveriesPerSecond = 1600;
    int scaleCompletions = 300;

    static BenchOptions smokeRun();
};

const BenchOptions& options();
void setOptions(const BenchOptions& chosen);

} // namespace velbench
