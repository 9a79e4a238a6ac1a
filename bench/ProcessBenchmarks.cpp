// Figures measured in child processes started and reaped here: the log sink
// of the library's own, time to ready, memory, idle wake-ups, and signals to
// callbacks (library and baseline children alternating, same simulator, same
// bus).

#include <benchmark/benchmark.h>

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

void timeToReady(benchmark::State& state)
{
    std::vector<double> readyMs;
    for (auto _ : state) {
        for (int run = 0; run < options().readyRuns; ++run) {
            ChildResult result;
            if (!runFigureChild(state, {options().childPath, "ready"}, result)) {
                return;
            }
            readyMs.push_back(result.values["ready_ms"]);
        }
    }
    Results::instance().set("ready.median_ms", median(readyMs));
    Results::instance().set("ready.min_ms", percentile(readyMs, 0));
    Results::instance().set("ready.p90_ms", percentile(readyMs, 90));
    state.counters["median_ms"] = median(readyMs);
    state.counters["p90_ms"] = percentile(readyMs, 90);
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

void signalsToCallbacks(benchmark::State& state)
{
    const BenchOptions& run = options();
    const std::vector<std::string> sizes = {std::to_string(run.floodCount),  std::to_string(run.latencyCount),
                                            std::to_string(run.latencyRate), std::to_string(run.noticeCount),
                                            std::to_string(run.noticeRate)};
    std::map<std::string, std::vector<double>> values;
    bool libraryFirst = false;
    for (auto _ : state) {
        std::map<std::string, ChildResult> round;
        for (int turn = 0; turn < 2; ++turn) {
            const std::string side = (turn == 0) == libraryFirst ? "lib" : "raw";
            std::vector<std::string> argv = {run.childPath, "signals", side};
            argv.insert(argv.end(), sizes.begin(), sizes.end());
            if (!runFigureChild(state, argv, round[side])) {
                return;
            }
        }
        for (const auto& [side, result] : round) {
            for (const auto& [key, value] : result.values) {
                values[side + "_" + key].push_back(value);
            }
        }
        ChildResult& library = round["lib"];
        ChildResult& raw = round["raw"];
        values["flood_ratio"].push_back(library.values["flood_per_s"] / raw.values["flood_per_s"]);
        values["latency_ratio_p50"].push_back(library.values["latency_p50_us"] / raw.values["latency_p50_us"]);
        values["latency_ratio_p99"].push_back(library.values["latency_p99_us"] / raw.values["latency_p99_us"]);
        values["list_extra_us"].push_back(library.values["notice_p50_us"] - raw.values["notice_p50_us"]);
        libraryFirst = !libraryFirst;
    }
    Results& results = Results::instance();
    for (const auto& [key, samples] : values) {
        results.set("sig." + key, median(samples));
    }
    results.set("sig.rate", run.latencyRate);
    for (const char* counter : {"lib_flood_per_s", "raw_flood_per_s", "flood_ratio", "lib_latency_p50_us",
                                "raw_latency_p50_us", "latency_ratio_p50", "list_extra_us"}) {
        state.counters[counter] = results.get(std::string("sig.") + counter);
    }
}

} // namespace

void registerProcessBenchmarks()
{
    benchmark::RegisterBenchmark("log_line_stderr_sink", logLineStderrSink)->Iterations(1)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("time_to_ready", timeToReady)->Iterations(1)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("memory", memory)->Iterations(1)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("idle_cost", idleCost)->Iterations(1)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("signal_to_callback", signalsToCallbacks)
        ->Iterations(options().signalRounds)
        ->Unit(benchmark::kMillisecond);
}

} // namespace velbench
