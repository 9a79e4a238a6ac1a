// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// vel-bench: libvel against raw GDBus, side by side in one run, against the
// simulator on the bus named by DBUS_SYSTEM_BUS_ADDRESS (scripts/bench sets
// both up). Writes results.md (the table), results.json (every figure and
// target by name), benchmark.json (Google Benchmark's raw output) and, when
// the scale benchmark ran, scale.dat (its figures by number of clients, for the
// plot) into the output directory.
//
//   vel-bench [--smoke] [--out-dir=DIR] [Google Benchmark flags]

#include <benchmark/benchmark.h>
#include <gio/gio.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "BenchOptions.h"
#include "BenchRegistry.h"
#include "Report.h"
#include "Results.h"
#include "ResultsJson.h"
#include "ScaleReport.h"
#include "SimControl.h"

namespace {

constexpr unsigned kKnownDevices = 10;

// The known list every device-list benchmark reads: ten records.
bool publishKnownList()
{
    GError* error = nullptr;
    GDBusConnection* connection = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, &error);
    if (connection == nullptr) {
        std::fprintf(stderr, "vel-bench: no system bus: %s\n", error->message);
        g_error_free(error);
        return false;
    }
    std::vector<std::string> ids;
    for (unsigned index = 0; index < kKnownDevices; ++index) {
        ids.push_back("bench-known-" + std::to_string(index));
    }
    velbench::SimControl sim(connection);
    const bool published = sim.publishKnown(ids);
    g_object_unref(connection);
    if (!published) {
        std::fprintf(stderr, "vel-bench: the simulator did not publish the known list (is its store on?)\n");
    }
    return published;
}

} // namespace

int main(int argc, char** argv)
{
    velbench::BenchOptions chosen;
    std::string outDir = chosen.outDir;
    std::vector<char*> benchmarkArgs = {argv[0]};
    bool outGiven = false;
    bool smoke = false;
    for (int index = 1; index < argc; ++index) {
        if (std::strcmp(argv[index], "--smoke") == 0) {
            smoke = true;
        } else if (std::strncmp(argv[index], "--out-dir=", 10) == 0) {
            outDir = argv[index] + 10;
        } else {
            outGiven = outGiven || std::strncmp(argv[index], "--benchmark_out=", 16) == 0;
            benchmarkArgs.push_back(argv[index]);
        }
    }
    if (smoke) {
        chosen = velbench::BenchOptions::smokeRun();
    }
    chosen.outDir = outDir;
    chosen.childPath = VEL_BENCH_CHILD_PATH;
    chosen.stderrLogPath = VEL_BENCH_STDERR_LOG_PATH;
    chosen.dltLogPath = VEL_BENCH_DLT_LOG_PATH;
    velbench::setOptions(chosen);

    // Google Benchmark's own output, next to results.json, which holds the
    // figures and the targets by name.
    std::string outFlag = "--benchmark_out=" + outDir + "/benchmark.json";
    std::string formatFlag = "--benchmark_out_format=json";
    if (!outGiven) {
        benchmarkArgs.push_back(outFlag.data());
        benchmarkArgs.push_back(formatFlag.data());
    }
    int benchmarkArgc = static_cast<int>(benchmarkArgs.size());
    benchmarkArgs.push_back(nullptr);
    benchmark::Initialize(&benchmarkArgc, benchmarkArgs.data());
    if (benchmark::ReportUnrecognizedArguments(benchmarkArgc, benchmarkArgs.data())) {
        return 2;
    }

    velbench::MachineInfo machine = velbench::describeMachine();
    if (!publishKnownList()) {
        return 1;
    }
    // Run order: costs without the bus, then processes of their own (many at
    // once last), then the requests, whose clients stay in this process until
    // it ends.
    velbench::registerMicroBenchmarks();
    velbench::registerProcessBenchmarks();
    velbench::registerLatencyBenchmarks();
    velbench::registerScaleBenchmarks();
    velbench::registerRequestBenchmarks();
    benchmark::RunSpecifiedBenchmarks();
    machine.loadAtEnd = velbench::loadAverage();

    const std::string report = velbench::markdownReport(machine, smoke);
    std::ofstream(outDir + "/results.md") << report;
    std::ofstream(outDir + "/results.json") << velbench::resultsJson(machine, smoke);
    // scripts/bench plots it; a run without the scale benchmark leaves none.
    std::remove((outDir + "/scale.dat").c_str());
    velbench::writeScaleData(outDir + "/scale.dat");
    std::printf("\n%s", report.c_str());
    benchmark::Shutdown();
    std::fflush(stdout);
    const int failures = velbench::Results::instance().failures();
    // Leaves without static destructors: the facades' would remove the
    // service's semaphore name on the way out.
    _exit(failures == 0 ? 0 : 1);
}
