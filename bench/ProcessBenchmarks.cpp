// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// Figures measured in child processes started and reaped here: the log sink
// of the library's own, time to ready, memory, idle wake-ups, and signals to
// callbacks (library and baseline children alternating, same simulator, same
// bus).

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "BenchOptions.h"
#include "BenchRegistry.h"
#include "ChildRun.h"
#include "Results.h"
#include "Stats.h"

namespace velbench {

namespace {

constexpr int kChildTimeoutMs = 120000;

bool runFigureChild(benchmark::State& state, const std::vector<std::string>& argv, ChildResult& result,
                    bool discardStderr = false)
{
    result = runChild(argv, kChildTimeoutMs, discardStderr);
    if (!result.finished) {
        // A machine shared with other work can starve a child; one more try,
        // and the first failure stays on stderr.
        std::fprintf(stderr, "vel-bench: %s %s failed; running it once more\n", argv[0].c_str(), argv[1].c_str());
        result = runChild(argv, kChildTimeoutMs, discardStderr);
    }
    if (!result.finished) {
        Results::instance().recordFailure(argv[0] + " " + argv[1] + " failed:\n" + result.output);
        state.SkipWithError("child failed");
        return false;
    }
    return true;
}

void logLineStderrSink(benchmark::State& state)
{
    ChildResult result;
    for (auto _ : state) {
        if (!runFigureChild(state, {options().stderrLogPath, std::to_string(options().stderrBatches)}, result,
                            true)) {
            return;
        }
    }
    Results::instance().set("log.stderr_ns", result.values["ns_per_line"]);
    state.counters["ns_per_line"] = result.values["ns_per_line"];
}

// libvel-dlt as the sink, with a private daemon: a line DLT's level
// suppresses before it is built, and a line sent to the daemon.
void logLineDltSink(benchmark::State& state)
{
    ChildResult result;
    for (auto _ : state) {
        if (!runFigureChild(state, {options().dltLogPath, std::to_string(options().dltBatches)}, result, true)) {
            return;
        }
    }
    for (const char* key : {"suppressed_ns", "suppressed_p99_ns", "emitted_ns", "emitted_p99_ns", "with_daemon"}) {
        Results::instance().set(std::string("log.dlt_") + key, result.values[key]);
        state.counters[key] = result.values[key];
    }
}

void timeToReady(benchmark::State& state)
{
    // Library runs and floor runs take turns, so that both see the same
    // noise. Every step either reports becomes "ready.<step>", a median.
    std::map<std::string, std::vector<double>> steps;
    for (auto _ : state) {
        for (int run = 0; run < options().readyRuns; ++run) {
            for (const char* mode : {"ready", "ready-floor"}) {
                ChildResult result;
                if (!runFigureChild(state, {options().childPath, mode}, result)) {
                    return;
                }
                for (const auto& [step, value] : result.values) {
                    steps[step].push_back(value);
                }
            }
        }
    }
    for (const auto& [step, samples] : steps) {
        Results::instance().set("ready." + step, median(samples));
    }
    const std::vector<double>& readyMs = steps["ready_ms"];
    Results::instance().set("ready.median_ms", median(readyMs));
    Results::instance().set("ready.min_ms", percentile(readyMs, 0));
    Results::instance().set("ready.p90_ms", percentile(readyMs, 90));
    Results::instance().set("ready.floor_median_ms", median(steps["floor_ready_ms"]));
    state.counters["median_ms"] = median(readyMs);
    state.counters["p90_ms"] = percentile(readyMs, 90);
    state.counters["floor_median_ms"] = median(steps["floor_ready_ms"]);
}

void memory(benchmark::State& state)
{
    std::map<std::string, std::vector<double>> values;
    for (auto _ : state) {
        for (int pair = 0; pair < options().memoryPairs; ++pair) {
            for (const char* side : {"raw", "lib"}) {
                ChildResult result;
                if (!runFigureChild(state, {options().childPath, "memory", side}, result)) {
                    return;
                }
                for (const char* field : {"rss_kib", "rss_anon_kib", "rss_file_kib", "threads"}) {
                    values[std::string(side) + "_" + field].push_back(result.values[field]);
                }
            }
        }
    }
    Results& results = Results::instance();
    for (const auto& [key, samples] : values) {
        results.set("memory." + key, median(samples));
    }
    const double delta = results.get("memory.lib_rss_kib") - results.get("memory.raw_rss_kib");
    results.set("memory.delta_kib", delta);
    results.set("memory.delta_anon_kib",
                results.get("memory.lib_rss_anon_kib") - results.get("memory.raw_rss_anon_kib"));
    results.set("memory.delta_file_kib",
                results.get("memory.lib_rss_file_kib") - results.get("memory.raw_rss_file_kib"));
    state.counters["lib_rss_kib"] = results.get("memory.lib_rss_kib");
    state.counters["raw_rss_kib"] = results.get("memory.raw_rss_kib");
    state.counters["delta_kib"] = delta;
}

void idleCost(benchmark::State& state)
{
    ChildResult result;
    for (auto _ : state) {
        if (!runFigureChild(state, {options().childPath, "idle", std::to_string(options().idleSeconds)}, result)) {
            return;
        }
    }
    Results& results = Results::instance();
    results.set("idle.wakeups_per_s", result.values["idle_wakeups_per_s"]);
    results.set("idle.switches", result.values["idle_switches"]);
    results.set("idle.threads", result.values["idle_threads"]);
    results.set("idle.seconds", options().idleSeconds);
    state.counters["wakeups_per_s"] = result.values["idle_wakeups_per_s"];
    state.counters["threads"] = result.values["idle_threads"];
}

bool endsWith(const std::string& text, const std::string& suffix)
{
    return text.size() >= suffix.size() && text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

// Backlogs of completions and of known-list notices drained, and a paced
// stream of notices, by the library, by the bare baseline and by the
// baseline that also does what the protocol asks of any client (a proxy made
// the way the library makes its own, an acknowledgement per device list), one
// process each, in a rotating order.
void signalDrain(benchmark::State& state)
{
    const BenchOptions& run = options();
    const std::vector<std::pair<std::string, std::string>> sides = {
        {"lib", "lib"}, {"raw", "raw"}, {"proxy", "raw+proxy"}};
    std::map<std::string, std::vector<double>> values;
    std::vector<double> listExtra;
    std::vector<double> listOwn;
    std::size_t rotation = 0;
    for (auto _ : state) {
        std::map<std::string, ChildResult> round;
        for (std::size_t turn = 0; turn < sides.size(); ++turn) {
            const auto& [side, mode] = sides[(turn + rotation) % sides.size()];
            if (!runFigureChild(state,
                                {run.childPath, "signals", mode, std::to_string(run.drainCount),
                                 std::to_string(run.noticeCount), std::to_string(run.noticeRate)},
                                round[side])) {
                return;
            }
        }
        for (const auto& [side, result] : round) {
            for (const auto& [key, value] : result.values) {
                values[side + "_" + key].push_back(value);
            }
        }
        values["drain_ratio_round"].push_back(round["lib"].values["drain_per_s"] / round["raw"].values["drain_per_s"]);
        // Latency differences are taken within a round, whose processes ran
        // a few seconds apart, and their median over the rounds is kept.
        listExtra.push_back(round["lib"].values["notice_p50_us"] - round["raw"].values["notice_p50_us"]);
        listOwn.push_back(round["lib"].values["notice_p50_us"] - round["proxy"].values["notice_p50_us"]);
        ++rotation;
    }
    // Noise from the rest of the machine only ever lowers a rate or raises a
    // time, so each side is represented by its best round; the spread of the
    // per-round ratios shows how noisy the run was.
    Results& results = Results::instance();
    for (const auto& [key, samples] : values) {
        if (endsWith(key, "_round")) {
            results.set("drain." + key + "_min", percentile(samples, 0));
            results.set("drain." + key + "_max", percentile(samples, 100));
        } else if (endsWith(key, "_per_s")) {
            results.set("drain." + key, percentile(samples, 100));
        } else if (endsWith(key, "_us")) {
            results.set("drain." + key, percentile(samples, 0));
        } else {
            results.set("drain." + key, median(samples));
        }
    }
    results.set("drain.ratio", results.get("drain.lib_drain_per_s") / results.get("drain.raw_drain_per_s"));
    // Requests per CPU-second: what the dispatching thread can take at most,
    // and far less shaken by the rest of the machine than the wall clock.
    results.set("drain.cpu_ratio", results.get("drain.raw_drain_cpu_us") / results.get("drain.lib_drain_cpu_us"));
    results.set("drain.cpu_ratio_vs_proxy",
                results.get("drain.proxy_drain_cpu_us") / results.get("drain.lib_drain_cpu_us"));
    results.set("drain.ratio_vs_proxy", results.get("drain.lib_drain_per_s") / results.get("drain.proxy_drain_per_s"));
    results.set("list.extra_us", median(listExtra));
    results.set("drain.rounds", static_cast<double>(rotation));
    results.set("list.extra_drained_us",
                results.get("drain.lib_notice_drain_us") - results.get("drain.raw_notice_drain_us"));
    results.set("list.extra_cpu_us", results.get("drain.lib_notice_cpu_us") - results.get("drain.raw_notice_cpu_us"));
    // What is left once the proxy and the acknowledgement, which the protocol
    // asks of any client, are on both sides: the library's own assembly.
    results.set("list.own_us", median(listOwn));
    results.set("list.own_cpu_us",
                results.get("drain.lib_notice_cpu_us") - results.get("drain.proxy_notice_cpu_us"));
    for (const char* counter : {"lib_drain_per_s", "raw_drain_per_s", "proxy_drain_per_s", "ratio", "ratio_vs_proxy",
                                "lib_notice_drain_us", "raw_notice_drain_us"}) {
        state.counters[counter] = results.get(std::string("drain.") + counter);
    }
}

} // namespace

void registerProcessBenchmarks()
{
    benchmark::RegisterBenchmark("log_line_stderr_sink", logLineStderrSink)->Iterations(1)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("log_line_dlt_sink", logLineDltSink)->Iterations(1)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("time_to_ready", timeToReady)->Iterations(1)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("memory", memory)->Iterations(1)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("idle_cost", idleCost)->Iterations(1)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("signal_drain", signalDrain)
        ->Iterations(options().signalRounds)
        ->Unit(benchmark::kMillisecond);
}

} // namespace velbench
