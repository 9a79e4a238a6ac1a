// Signals from the simulator to callbacks, through the library or through the
// baseline: backlogs drained (cost per signal in this process) and arrivals
// recorded for a stream someone else emits (latency, paired with another
// process listening at the same time).

#include <cstdio>
#include <vector>

#include "ChildDrain.h"
#include "ChildModes.h"
#include "NullLogSink.h"
#include "SignalClientSetup.h"
#include "SimControl.h"

namespace velbench {

namespace {

constexpr unsigned kWarmUpSignals = 500;
constexpr unsigned kWarmUpNotices = 20;
// Noise from other processes only ever slows a drain down, so the best of
// several is this process's own cost per signal.
constexpr unsigned kDrains = 5;
constexpr int kListenTimeoutMs = 60000;

double bestDrain(SimControl& sim, Arrivals& arrivals, const char* signal, GVariant* (*params)(), unsigned count)
{
    double best = 0.0;
    for (unsigned drain = 0; drain < kDrains; ++drain) {
        const double drained = drainBacklog(sim, arrivals, signal, params(), count);
        if (drained <= 0.0) {
            return 0.0;
        }
        best = drained > best ? drained : best;
    }
    return best;
}

} // namespace

int runDrainChild(SignalClient client, unsigned completionCount, unsigned noticeCount)
{
    SignalClientSetup setup;
    if (!setUpSignalClient(client, setup)) {
        return 1;
    }
    SimControl sim(setup.connection);
    if (drainBacklog(sim, *setup.completions, "appRequestDone", completionParams(), kWarmUpSignals) <= 0.0 ||
        drainBacklog(sim, *setup.notices, "noticeToApp", knownListNotice(), kWarmUpNotices) <= 0.0) {
        return 1;
    }

    const std::uint64_t linesAtStart = loggedLines();
    const double completions = bestDrain(sim, *setup.completions, "appRequestDone", completionParams, completionCount);
    const std::uint64_t linesAfterCompletions = loggedLines();
    const double notices = bestDrain(sim, *setup.notices, "noticeToApp", knownListNotice, noticeCount);
    const std::uint64_t linesAfterNotices = loggedLines();
    if (completions <= 0.0 || notices <= 0.0) {
        return 1;
    }
    std::printf("drain_per_s %.1f\n", completions);
    std::printf("notice_drain_us %.3f\n", 1e6 / notices);
    if (setup.library) {
        std::printf("log_lines_per_completion %.2f\n",
                    static_cast<double>(linesAfterCompletions - linesAtStart) / (kDrains * completionCount));
        std::printf("log_lines_per_notice %.2f\n",
                    static_cast<double>(linesAfterNotices - linesAfterCompletions) / (kDrains * noticeCount));
    }
    return 0;
}

int runListenChild(SignalClient client, unsigned completions, unsigned notices)
{
    SignalClientSetup setup;
    if (!setUpSignalClient(client, setup)) {
        return 1;
    }
    setup.completions->reset(completions);
    setup.notices->reset(notices);
    const std::uint64_t linesBefore = loggedLines();
    std::printf("listening\n");
    std::fflush(stdout);
    if (!setup.completions->waitFor(completions, kListenTimeoutMs) ||
        !setup.notices->waitFor(notices, kListenTimeoutMs)) {
        std::fprintf(stderr, "vel-bench-child: heard %zu of %u completions and %zu of %u notices\n",
                     setup.completions->count(), completions, setup.notices->count(), notices);
        return 1;
    }
    if (setup.library) {
        std::printf("log_lines_per_signal %.2f\n",
                    static_cast<double>(loggedLines() - linesBefore) / static_cast<double>(completions + notices));
    }
    const std::vector<std::uint64_t> sent = setup.completions->sentTimes();
    const std::vector<std::uint64_t> arrived = setup.completions->arrivalTimes();
    for (std::size_t index = 0; index < sent.size(); ++index) {
        std::printf("c %llu %llu\n", static_cast<unsigned long long>(sent[index]),
                    static_cast<unsigned long long>(arrived[index]));
    }
    for (std::uint64_t arrival : setup.notices->arrivalTimes()) {
        std::printf("n %llu\n", static_cast<unsigned long long>(arrival));
    }
    return 0;
}

} // namespace velbench
