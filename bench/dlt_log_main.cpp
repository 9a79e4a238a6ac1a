// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// vel-bench-dlt-log: the cost of a library log line with libvel-dlt as the
// sink, against a private dlt-daemon: a line that DLT's level for its context
// suppresses (never built), and a line that goes out to the daemon. vel-bench
// reads "key value" lines from stdout.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <thread>
#include <cstdlib>
#include <vector>

#include "BenchClock.h"
#include "LogLineSample.h"
#include "DltDaemon.h"
#include "Stats.h"

namespace {

// The sample line of LogLineSample.h at debug level: below the daemon's
// default level for every context (info).
void logSuppressedLine(const std::string& name, unsigned value)
{
    orna::log(&VELLIBAPP, DLT_LOG_DEBUG, "[VELLIBAPP]", name, "[sendActionFromApp] ", "_action:", value);
}

template <typename Line>
std::vector<double> perLineNs(int batches, const std::string& name, Line line,
                              std::chrono::microseconds pause = std::chrono::microseconds(0))
{
    std::vector<double> perLine;
    perLine.reserve(static_cast<std::size_t>(batches));
    for (int batch = 0; batch < batches; ++batch) {
        const std::uint64_t start = velbench::nowNs();
        for (int index = 0; index < velbench::kLinesPerBatch; ++index) {
            line(name, static_cast<unsigned>(index));
        }
        perLine.push_back(static_cast<double>(velbench::nowNs() - start) / velbench::kLinesPerBatch);
        if (pause.count() > 0) {
            std::this_thread::sleep_for(pause);
        }
    }
    return perLine;
}

} // namespace

int main(int argc, char** argv)
{
    const int batches = argc > 1 ? std::atoi(argv[1]) : 5000;
    // The daemon of the DLT tests: private pipes, no viewer connected, as a
    // head unit's daemon runs while nobody watches. Set before the first line.
    veltest::DltDaemon daemon;
    const bool withDaemon = daemon.start();
    ::setenv("DLT_PIPE_DIR", daemon.pipeDir().c_str(), 1);
    orna::OrnaLogWrapper::instance(true)->registerContext(VELLIBAPP, "LIBA", "vel_library_application");
    const std::string name = velbench::kSampleName;

    for (int warm = 0; warm < 1000; ++warm) {
        logSuppressedLine(name, static_cast<unsigned>(warm));
    }
    const std::vector<double> suppressed = perLineNs(batches * 10, name, logSuppressedLine);

    // Emitted lines in paced batches, as a busy client logs: a burst of tens
    // of thousands outruns the daemon, and libdlt then buffers or drops lines
    // instead of sending them. The pause lets the registration settle first.
    for (int warm = 0; warm < 16; ++warm) {
        velbench::logSampleLine(name, static_cast<unsigned>(warm));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const std::vector<double> emitted =
        perLineNs(std::min(batches / 5 + 1, 1000), name, velbench::logSampleLine, std::chrono::microseconds(200));

    std::printf("with_daemon %d\n", withDaemon ? 1 : 0);
    std::printf("suppressed_ns %.1f\n", velbench::median(suppressed));
    std::printf("suppressed_p99_ns %.1f\n", velbench::percentile(suppressed, 99));
    std::printf("emitted_ns %.1f\n", velbench::median(emitted));
    std::printf("emitted_p99_ns %.1f\n", velbench::percentile(emitted, 99));
    std::fflush(stdout);
    return 0;
}
