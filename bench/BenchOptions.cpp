// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "BenchOptions.h"

namespace velbench {

namespace {
BenchOptions gOptions;
}

BenchOptions BenchOptions::smokeRun()
{
    BenchOptions smoke;
    smoke.smoke = true;
    smoke.microSamples = 1;
    smoke.syncPairs = 1;
    smoke.corePairs = 1;
    smoke.asyncRounds = 1;
    smoke.asyncCalls = 10;
    smoke.signalRounds = 1;
    smoke.drainCount = 50;
    smoke.latencySessions = 1;
    smoke.calibrationSessions = 1;
    smoke.latencyCount = 20;
    smoke.noticeCount = 10;
    smoke.readyRuns = 1;
    smoke.memoryPairs = 1;
    smoke.idleSeconds = 1;
    smoke.stderrBatches = 10;
    smoke.dltBatches = 10;
    smoke.scaleClients = {1, 2};
    smoke.scaleRounds = 1;
    smoke.scaleWarmNotices = 1;
    smoke.scaleNotices = 5;
    smoke.scaleCompletions = 20;
    return smoke;
}

const BenchOptions& options()
{
    return gOptions;
}

void setOptions(const BenchOptions& chosen)
{
    gOptions = chosen;
}

} // namespace velbench
