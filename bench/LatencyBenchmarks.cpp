// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// Completion latency, library against baseline, paired signal by signal: two
// listening processes are up at the same time and hear the very same signals
// from the simulator, so whatever else the machine does meets both alike. The
// bus daemon writes a broadcast to one listener before the other, so the
// order in which the two subscribe alternates from session to session, and
// sessions of two baseline listeners show how large that ordering effect is.
// (Known-list notices are not paired this way: the library's reading of the
// list takes enough CPU to delay the other listener on a two-core machine.)

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

// Send time -> arrival, from a listener's "c <sent> <arrival>" lines.
std::map<std::uint64_t, std::uint64_t> parseHeard(const std::string& output)
{
    std::map<std::uint64_t, std::uint64_t> heard;
    std::istringstream lines(output);
    std::string kind;
    while (lines >> kind) {
        if (kind == "c") {
            std::uint64_t sent = 0;
            std::uint64_t arrival = 0;
            lines >> sent >> arrival;
            heard[sent] = arrival;
        } else {
            std::string rest;
            std::getline(lines, rest);
        }
    }
    return heard;
}

// Latencies in µs of the listener that subscribed first and of the second,
// in the same signal order, and their difference signal by signal.
struct Paired {
    std::vector<double> first;
    std::vector<double> second;
    std::vector<double> delta;
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
                Paired& paired)
{
    const BenchOptions& run = options();
    const unsigned completions = warmCompletions + static_cast<unsigned>(run.latencyCount);
    ChildRun first({run.childPath, "listen", firstMode, std::to_string(completions)}, false);
    if (!first.waitForLine("listening", kListenTimeoutMs)) {
        return false;
    }
    ChildRun second({run.childPath, "listen", secondMode, std::to_string(completions)}, false);
    if (!second.waitForLine("listening", kListenTimeoutMs)) {
        return false;
    }
    SimControl& sim = driverSim();
    if (!sim.emitMany("appRequestDone", completionParams(), completions, static_cast<unsigned>(run.latencyRate)) ||
        waitForStream(sim, completions, static_cast<unsigned>(run.latencyRate)).size() < completions) {
        return false;
    }
    const ChildResult firstResult = first.finish(kFinishTimeoutMs);
    const ChildResult secondResult = second.finish(kFinishTimeoutMs);
    if (!firstResult.finished || !secondResult.finished) {
        return false;
    }
    const std::map<std::uint64_t, std::uint64_t> a = parseHeard(firstResult.output);
    const std::map<std::uint64_t, std::uint64_t> b = parseHeard(secondResult.output);
    if (a.size() < completions || b.size() < completions) {
        return false;
    }
    // The send times are the emission order; the first ones only warm up.
    unsigned index = 0;
    for (const auto& [sent, arrivalA] : a) {
        const auto other = b.find(sent);
        if (index++ < warmCompletions || other == b.end()) {
            continue;
        }
        paired.first.push_back(nsToUs(static_cast<double>(arrivalA - sent)));
        paired.second.push_back(nsToUs(static_cast<double>(other->second - sent)));
        paired.delta.push_back(nsToUs(static_cast<double>(arrivalA) - static_cast<double>(other->second)));
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
    std::vector<double> library;
    std::vector<double> raw;
    // Library minus baseline, signal by signal, kept apart by which of the two
    // subscribed first: the daemon's order shifts one group up and the other
    // down by the same amount, so their medians are averaged.
    std::vector<double> deltaLibraryFirst;
    std::vector<double> deltaRawFirst;
    std::vector<double> orderEffect;
    for (auto _ : state) {
        for (int session = 0; session < run.latencySessions; ++session) {
            const bool libraryFirst = session % 2 == 0;
            Paired paired;
            if (!runSession(libraryFirst ? "lib" : "raw", libraryFirst ? "raw" : "lib", warmCompletions, paired)) {
                Results::instance().recordFailure("signal latency: a listening session failed");
                state.SkipWithError("listening session failed");
                return;
            }
            append(library, libraryFirst ? paired.first : paired.second);
            append(raw, libraryFirst ? paired.second : paired.first);
            append(libraryFirst ? deltaLibraryFirst : deltaRawFirst, paired.delta, !libraryFirst);
        }
        for (int session = 0; session < run.calibrationSessions; ++session) {
            Paired paired;
            if (!runSession("raw", "raw", warmCompletions, paired)) {
                Results::instance().recordFailure("signal latency: a calibration session failed");
                state.SkipWithError("calibration session failed");
                return;
            }
            append(orderEffect, paired.delta);
        }
    }
    Results& results = Results::instance();
    const double libraryP50 = percentile(library, 50);
    const double rawP50 = percentile(raw, 50);
    double delta = percentile(deltaLibraryFirst, 50);
    if (!deltaRawFirst.empty()) {
        delta = (delta + percentile(deltaRawFirst, 50)) / 2.0;
    }
    results.set("lat.lib_p50_us", libraryP50);
    results.set("lat.raw_p50_us", rawP50);
    results.set("lat.lib_p99_us", percentile(library, 99));
    results.set("lat.raw_p99_us", percentile(raw, 99));
    results.set("lat.ratio_p50", libraryP50 / rawP50);
    results.set("lat.delta_p50_us", delta);
    results.set("lat.signals", static_cast<double>(library.size()));
    results.set("lat.order_effect_us", percentile(orderEffect, 50));
    state.counters["lib_p50_us"] = libraryP50;
    state.counters["raw_p50_us"] = rawP50;
    state.counters["ratio_p50"] = libraryP50 / rawP50;
    state.counters["delta_p50_us"] = delta;
}

} // namespace

void registerLatencyBenchmarks()
{
    benchmark::RegisterBenchmark("signal_latency_paired", pairedLatency)->Iterations(1)->Unit(benchmark::kMillisecond);
}

} // namespace velbench
