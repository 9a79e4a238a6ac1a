// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// Signals from the simulator to callbacks, through the library or through the
// baseline: backlogs drained (cost per signal in this process), a paced
// stream of known-list notices (latency from emission), and arrivals of a
// stream someone else emits (latency, paired with another process listening
// at the same time).

#include <cstdio>
#include <vector>

#include "BenchClock.h"
#include "ChildDrain.h"
#include "ChildModes.h"
#include "NullLogSink.h"
#include "SignalClientSetup.h"
#include "SimControl.h"
#include "Stats.h"

namespace velbench {

namespace {

constexpr unsigned kWarmUpSignals = 500;
constexpr unsigned kWarmUpNotices = 20;
// Noise from other processes only ever slows a drain down, so the best of
// several is this process's own cost per signal.
constexpr unsigned kDrains = 5;
constexpr int kStreamTimeoutMs = 60000;

Drained bestDrain(SimControl& sim, Arrivals& arrivals, const char* signal, GVariant* (*params)(), unsigned count)
{
    Drained best;
    for (unsigned drain = 0; drain < kDrains; ++drain) {
        const Drained drained = drainBacklog(sim, arrivals, signal, params(), count);
        if (drained.perSecond <= 0.0) {
            return Drained();
        }
        if (drained.perSecond > best.perSecond) {
            best.perSecond = drained.perSecond;
        }
        if (best.cpuUsPerSignal == 0.0 || drained.cpuUsPerSignal < best.cpuUsPerSignal) {
            best.cpuUsPerSignal = drained.cpuUsPerSignal;
        }
    }
    return best;
}

// Latency of each notice from its emission; signals keep their order on the
// bus, so the n-th arrival belongs to the n-th emission.
bool pacedNotices(SimControl& sim, Arrivals& arrivals, unsigned count, unsigned rate)
{
    arrivals.reset(count);
    if (!sim.emitMany("noticeToApp", knownListNotice(), count, rate) ||
        !arrivals.waitFor(count, kStreamTimeoutMs + static_cast<int>(count * 1000ull / rate))) {
        std::fprintf(stderr, "vel-bench-child: %zu of %u paced notices arrived\n", arrivals.count(), count);
        return false;
    }
    const std::vector<std::uint64_t> emitted = sim.emitTimes();
    const std::vector<std::uint64_t> arrived = arrivals.arrivalTimes();
    std::vector<double> latencies;
    for (std::size_t index = 0; index < emitted.size() && index < arrived.size(); ++index) {
        latencies.push_back(nsToUs(static_cast<double>(arrived[index] - emitted[index])));
    }
    std::printf("notice_p50_us %.3f\n", percentile(latencies, 50));
    std::printf("notice_p99_us %.3f\n", percentile(latencies, 99));
    return true;
}

} // namespace

int runSignalsChild(SignalClient client, unsigned completionCount, unsigned noticeCount, unsigned noticeRate)
{
    SignalClientSetup setup;
    if (!setUpSignalClient(client, setup)) {
        return 1;
    }
    SimControl sim(setup.connection);
    if (drainBacklog(sim, *setup.completions, "appRequestDone", completionParams(), kWarmUpSignals).perSecond <= 0.0 ||
        drainBacklog(sim, *setup.notices, "noticeToApp", knownListNotice(), kWarmUpNotices).perSecond <= 0.0) {
        return 1;
    }

    const std::uint64_t linesAtStart = loggedLines();
    const Drained completions =
        bestDrain(sim, *setup.completions, "appRequestDone", completionParams, completionCount);
    const std::uint64_t linesAfterCompletions = loggedLines();
    const Drained notices = bestDrain(sim, *setup.notices, "noticeToApp", knownListNotice, noticeCount);
    const std::uint64_t linesAfterNotices = loggedLines();
    if (completions.perSecond <= 0.0 || notices.perSecond <= 0.0) {
        return 1;
    }
    std::printf("drain_per_s %.1f\n", completions.perSecond);
    std::printf("drain_cpu_us %.3f\n", completions.cpuUsPerSignal);
    std::printf("notice_drain_us %.3f\n", 1e6 / notices.perSecond);
    std::printf("notice_cpu_us %.3f\n", notices.cpuUsPerSignal);
    if (setup.library) {
        std::printf("log_lines_per_completion %.2f\n",
                    static_cast<double>(linesAfterCompletions - linesAtStart) / (kDrains * completionCount));
        std::printf("log_lines_per_notice %.2f\n",
                    static_cast<double>(linesAfterNotices - linesAfterCompletions) / (kDrains * noticeCount));
    }
    return pacedNotices(sim, *setup.notices, noticeCount, noticeRate) ? 0 : 1;
}

int runListenChild(SignalClient client, unsigned completions)
{
    SignalClientSetup setup;
    if (!setUpSignalClient(client, setup)) {
        return 1;
    }
    setup.completions->reset(completions);
    std::printf("listening\n");
    std::fflush(stdout);
    if (!setup.completions->waitFor(completions, kStreamTimeoutMs)) {
        std::fprintf(stderr, "vel-bench-child: heard %zu of %u completions\n", setup.completions->count(),
                     completions);
        return 1;
    }
    const std::vector<std::uint64_t> sent = setup.completions->sentTimes();
    const std::vector<std::uint64_t> arrived = setup.completions->arrivalTimes();
    for (std::size_t index = 0; index < sent.size(); ++index) {
        std::printf("c %llu %llu\n", static_cast<unsigned long long>(sent[index]),
                    static_cast<unsigned long long>(arrived[index]));
    }
    return 0;
}

} // namespace velbench
