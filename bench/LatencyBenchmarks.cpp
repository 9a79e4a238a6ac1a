// Signal latency, library against baseline, paired signal by signal: two
// listening processes are up at the same time and hear the very same signals
// from the simulator, so whatever else the machine does meets both alike. The
// bus daemon writes a broadcast to one listener before the other, so the
// order in which the two subscribe alternates from session to session, and
// sessions of two baseline listeners show how large that ordering effect is.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "BenchClock.h"
#include "BenchOptions.h"
#include "BenchRegistry.h"
#include "ChildRun.h"
#include "Results.h"
#include "SignalPayloads.h"
#include "SimControl.h"
#include "Stats.h"

namespace velbench {

namespace {

constexpr int kListenTimeoutMs = 30000;
constexpr int kFinishTimeoutMs = 60000;

struct Heard {
    std::map<std::uint64_t, std::uint64_t> completions;  // send time -> arrival
    std::vector<std::uint64_t> notices;                  // arrivals, in order
};

Heard parseHeard(const std::string& output)
{
    Heard heard;
    std::istringstream lines(output);
    std::string kind;
    while (lines >> kind) {
        if (kind == "c") {
            std::uint64_t sent = 0;
            std::uint64_t arrival = 0;
            lines >> sent >> arrival;
            heard.completions[sent] = arrival;
        } else if (kind == "n") {
            std::uint64_t arrival = 0;
            lines >> arrival;
            heard.notices.push_back(arrival);
        } else {
            std::string rest;
            std::getline(lines, rest);
        }
    }
    return heard;
}

// Latencies in µs, each list in the same signal order.
struct Paired {
    std::vector<double> first;
    std::vector<double> second;
    std::vector<double> delta;  // first minus second, signal by signal
};

struct SessionFigures {
    Paired completions;
    Paired notices;
};

SimControl& driverSim()
{
    static SimControl* sim = [] {
        GDBusConnection* connection = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
        return new SimControl(connection);
    }();
    return *sim;
}

// Emission times of the stream just started, once it has been sent whole.
std::vector<std::uint64_t> waitForStream(SimControl& sim, unsigned count, unsigned rate)
{
    const std::uint64_t deadline = nowNs() + (count * 1000ull / rate + 10000ull) * 1000000ull;
    std::vector<std::uint64_t> times;
    while (nowNs() < deadline) {
        times = sim.emitTimes();
        if (times.size() >= count) {
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return times;
}

bool runSession(const std::string& firstMode, const std::string& secondMode, unsigned warmCompletions,
                unsigned warmNotices, SessionFigures& figures)
{
    const BenchOptions& run = options();
    const unsigned completions = warmCompletions + static_cast<unsigned>(run.latencyCount);
    const unsigned notices = warmNotices + static_cast<unsigned>(run.noticeCount);
    const std::vector<std::string> counts = {std::to_string(completions), std::to_string(notices)};
    ChildRun first({run.childPath, "listen", firstMode, counts[0], counts[1]}, false);
    if (!first.waitForLine("listening", kListenTimeoutMs)) {
        return false;
    }
    ChildRun second({run.childPath, "listen", secondMode, counts[0], counts[1]}, false);
    if (!second.waitForLine("listening", kListenTimeoutMs)) {
        return false;
    }
    SimControl& sim = driverSim();
    if (!sim.emitMany("appRequestDone", completionParams(), completions, static_cast<unsigned>(run.latencyRate)) ||
        waitForStream(sim, completions, static_cast<unsigned>(run.latencyRate)).size() < completions ||
        !sim.emitMany("noticeToApp", knownListNotice(), notices, static_cast<unsigned>(run.noticeRate))) {
        return false;
    }
    const std::vector<std::uint64_t> noticeTimes = waitForStream(sim, notices, static_cast<unsigned>(run.noticeRate));
    const ChildResult firstResult = first.finish(kFinishTimeoutMs);
    const ChildResult secondResult = second.finish(kFinishTimeoutMs);
    if (!firstResult.finished || !secondResult.finished || noticeTimes.size() < notices) {
        return false;
    }
    const Heard a = parseHeard(firstResult.output);
    const Heard b = parseHeard(secondResult.output);
    if (a.completions.size() < completions || b.completions.size() < completions || a.notices.size() < notices ||
        b.notices.size() < notices) {
        return false;
    }
    // The send times are the emission order; the first ones only warm up.
    unsigned index = 0;
    for (const auto& [sent, arrivalA] : a.completions) {
        const auto other = b.completions.find(sent);
        if (index++ < warmCompletions || other == b.completions.end()) {
            continue;
        }
        figures.completions.first.push_back(nsToUs(static_cast<double>(arrivalA - sent)));
        figures.completions.second.push_back(nsToUs(static_cast<double>(other->second - sent)));
        figures.completions.delta.push_back(
            nsToUs(static_cast<double>(arrivalA) - static_cast<double>(other->second)));
    }
    // Signals keep their order on the bus: the n-th arrival is the n-th emission.
    for (unsigned notice = warmNotices; notice < notices; ++notice) {
        figures.notices.first.push_back(nsToUs(static_cast<double>(a.notices[notice] - noticeTimes[notice])));
        figures.notices.second.push_back(nsToUs(static_cast<double>(b.notices[notice] - noticeTimes[notice])));
        figures.notices.delta.push_back(
            nsToUs(static_cast<double>(a.notices[notice]) - static_cast<double>(b.notices[notice])));
    }
    return true;
}

void append(std::vector<double>& to, const std::vector<double>& from, bool negate = false)
{
    for (double value : from) {
        to.push_back(negate ? -value : value);
    }
}

void pairedLatency(benchmark::State& state)
{
    const BenchOptions& run = options();
    const unsigned warmCompletions = run.smoke ? 2 : 100;
    const unsigned warmNotices = run.smoke ? 1 : 10;
    // library and baseline, lined up as "library minus baseline"
    SessionFigures paired;
    SessionFigures calibration;
    for (auto _ : state) {
        for (int session = 0; session < run.latencySessions; ++session) {
            const bool libraryFirst = session % 2 == 0;
            SessionFigures figures;
            if (!runSession(libraryFirst ? "lib" : "raw", libraryFirst ? "raw" : "lib", warmCompletions, warmNotices,
                            figures)) {
                Results::instance().recordFailure("signal latency: a listening session failed");
                state.SkipWithError("listening session failed");
                return;
            }
            append(paired.completions.first, libraryFirst ? figures.completions.first : figures.completions.second);
            append(paired.completions.second, libraryFirst ? figures.completions.second : figures.completions.first);
            append(paired.completions.delta, figures.completions.delta, !libraryFirst);
            append(paired.notices.first, libraryFirst ? figures.notices.first : figures.notices.second);
            append(paired.notices.second, libraryFirst ? figures.notices.second : figures.notices.first);
            append(paired.notices.delta, figures.notices.delta, !libraryFirst);
        }
        for (int session = 0; session < run.calibrationSessions; ++session) {
            if (!runSession("raw", "raw", warmCompletions, warmNotices, calibration)) {
                Results::instance().recordFailure("signal latency: a calibration session failed");
                state.SkipWithError("calibration session failed");
                return;
            }
        }
    }
    Results& results = Results::instance();
    const double libraryP50 = percentile(paired.completions.first, 50);
    const double rawP50 = percentile(paired.completions.second, 50);
    results.set("lat.lib_p50_us", libraryP50);
    results.set("lat.raw_p50_us", rawP50);
    results.set("lat.lib_p99_us", percentile(paired.completions.first, 99));
    results.set("lat.raw_p99_us", percentile(paired.completions.second, 99));
    results.set("lat.ratio_p50", libraryP50 / rawP50);
    results.set("lat.delta_p50_us", percentile(paired.completions.delta, 50));
    results.set("lat.signals", static_cast<double>(paired.completions.delta.size()));
    results.set("lat.order_effect_us", percentile(calibration.completions.delta, 50));
    results.set("list.lib_p50_us", percentile(paired.notices.first, 50));
    results.set("list.raw_p50_us", percentile(paired.notices.second, 50));
    results.set("list.lib_p99_us", percentile(paired.notices.first, 99));
    results.set("list.raw_p99_us", percentile(paired.notices.second, 99));
    results.set("list.extra_us", percentile(paired.notices.delta, 50));
    results.set("list.notices", static_cast<double>(paired.notices.delta.size()));
    results.set("list.order_effect_us", percentile(calibration.notices.delta, 50));
    state.counters["lib_p50_us"] = libraryP50;
    state.counters["raw_p50_us"] = rawP50;
    state.counters["ratio_p50"] = libraryP50 / rawP50;
    state.counters["delta_p50_us"] = results.get("lat.delta_p50_us");
    state.counters["list_extra_us"] = results.get("list.extra_us");
}

} // namespace

void registerLatencyBenchmarks()
{
    benchmark::RegisterBenchmark("signal_latency_paired", pairedLatency)->Iterations(1)->Unit(benchmark::kMillisecond);
}

} // namespace velbench
