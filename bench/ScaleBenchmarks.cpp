// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// Many application processes on one bus: for N clients, alternating passes of
// N library processes and N baseline processes (a proxy made like the
// library's, and an acknowledgement of each list, as the protocol asks of any
// client), each pass timing every signal until the last client's callback
// had run. Each side is represented by the median of its rounds.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "BenchClock.h"
#include "BenchOptions.h"
#include "BenchRegistry.h"
#include "Results.h"
#include "ScalePass.h"
#include "Stats.h"

namespace velbench {

namespace {

struct Side {
    const char* name;  // in the figures' keys
    const char* mode;  // vel-bench-child's client kind
};

constexpr Side kSides[] = {{"lib", "lib"}, {"raw", "raw+proxy"}};

ScaleLoad loadFor(unsigned clients)
{
    const BenchOptions& run = options();
    ScaleLoad load;
    load.clients = clients;
    load.warmNotices = static_cast<unsigned>(run.scaleWarmNotices);
    load.notices = static_cast<unsigned>(run.scaleNotices);
    const int rate = std::min(run.scaleMaxNoticeRate, run.scaleDeliveriesPerSecond / static_cast<int>(clients));
    load.noticeRate = static_cast<unsigned>(std::max(rate, 1));
    load.completions = static_cast<unsigned>(run.scaleCompletions);
    return load;
}

// The figures of one pass, by the name they carry in the results.
std::map<std::string, double> passFigures(const ScalePassFigures& pass)
{
    return {
        {"list.p50_us", percentile(pass.listLastUs, 50)},
        {"list.p99_us", percentile(pass.listLastUs, 99)},
        {"flood.p50_us", percentile(pass.floodLastUs, 50)},
        {"flood.p99_us", percentile(pass.floodLastUs, 99)},
        {"cpu_per_client_us", pass.cpuPerClientUs},
        {"clock_cpu_per_client_us", pass.clockCpuPerClientUs},
        {"clock_cpu_per_list_us", pass.clockCpuPerListUs},
        {"clock_cpu_per_completion_us", pass.clockCpuPerCompletionUs},
        {"bus_cpu_ms", pass.busCpuMs},
        {"rss_kib", pass.rssKiB},
        {"pass_s", pass.seconds},
    };
}

// "list.p50_us" for the library becomes "list.lib_p50_us"; figures without
// a signal kind become "rss_kib.lib".
std::string sideKey(const std::string& figure, const std::string& side)
{
    const std::size_t dot = figure.find('.');
    if (dot == std::string::npos) {
        return figure + "." + side;
    }
    return figure.substr(0, dot + 1) + side + "_" + figure.substr(dot + 1);
}

bool runPassWithRetry(const Side& side, const ScaleLoad& load, ScalePassFigures& pass)
{
    std::string failure;
    if (runScalePass(side.mode, load, pass, failure)) {
        return true;
    }
    // A machine shared with other work can starve a client; one more try,
    // and the first failure stays on stderr.
    std::fprintf(stderr, "vel-bench: scale pass of %u %s clients failed (%s); running it once more\n", load.clients,
                 side.name, failure.c_str());
    failure.clear();
    if (runScalePass(side.mode, load, pass, failure)) {
        return true;
    }
    Results::instance().recordFailure("scale pass of " + std::to_string(load.clients) + " " + side.name +
                                      " clients failed: " + failure);
    return false;
}

void scaleClients(benchmark::State& state, unsigned clients)
{
    const ScaleLoad load = loadFor(clients);
    const std::uint64_t start = nowNs();
    // figure -> side -> one value per round
    std::map<std::string, std::map<std::string, std::vector<double>>> rounds;
    for (auto _ : state) {
        for (int round = 0; round < options().scaleRounds; ++round) {
            for (const Side& side : kSides) {
                ScalePassFigures pass;
                if (!runPassWithRetry(side, load, pass)) {
                    state.SkipWithError("scale pass failed");
                    return;
                }
                for (const auto& [figure, value] : passFigures(pass)) {
                    rounds[figure][side.name].push_back(value);
                }
            }
        }
    }

    Results& results = Results::instance();
    const std::string prefix = "scale." + std::to_string(clients) + ".";
    for (auto& [figure, sides] : rounds) {
        for (auto& [side, values] : sides) {
            results.set(prefix + sideKey(figure, side), median(values));
        }
    }
    for (const char* kind : {"list", "flood"}) {
        for (const char* p : {"p50", "p99"}) {
            const std::string base = prefix + kind + ".";
            results.set(base + "ratio_" + p,
                        results.get(base + "lib_" + p + "_us") / results.get(base + "raw_" + p + "_us"));
            // Rounds run a few seconds apart; the spread of their ratios shows
            // how much the rest of the machine moved the figures.
            const std::vector<double>& library = rounds[std::string(kind) + "." + p + "_us"]["lib"];
            const std::vector<double>& raw = rounds[std::string(kind) + "." + p + "_us"]["raw"];
            std::vector<double> ratios;
            for (std::size_t index = 0; index < library.size() && index < raw.size(); ++index) {
                ratios.push_back(library[index] / raw[index]);
            }
            results.set(base + "ratio_" + p + "_min", percentile(ratios, 0));
            results.set(base + "ratio_" + p + "_max", percentile(ratios, 100));
        }
    }
    results.set(prefix + "notice_rate", load.noticeRate);
    results.set(prefix + "rounds", options().scaleRounds);
    results.set(prefix + "seconds", static_cast<double>(nowNs() - start) / 1e9);
    // Under their full names, so that benchmark.json carries the same keys as
    // results.json; a figure not taken (NaN) would not be JSON.
    for (const auto& [key, value] : results.values()) {
        if (key.compare(0, prefix.size(), prefix) == 0 && !std::isnan(value)) {
            state.counters[key] = value;
        }
    }
}

} // namespace

void registerScaleBenchmarks()
{
    for (const int clients : options().scaleClients) {
        const unsigned count = static_cast<unsigned>(clients);
        benchmark::RegisterBenchmark(("scale_clients/" + std::to_string(clients)).c_str(),
                                     [count](benchmark::State& state) { scaleClients(state, count); })
            ->Iterations(1)
            ->Unit(benchmark::kMillisecond);
    }
}

} // namespace velbench
