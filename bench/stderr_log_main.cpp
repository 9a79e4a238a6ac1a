// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// vel-bench-stderr-log: the cost of a library log line with the library's own
// stderr sink, which this executable does not replace. vel-bench runs it with
// stderr sent to /dev/null and reads "ns_per_line <value>" from stdout.

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "BenchClock.h"
#include "LogLineSample.h"
#include "Stats.h"

int main(int argc, char** argv)
{
    // Every line printed: this measures a line the sink writes.
    setenv("VEL_LOG_LEVEL", "debug", 1);
    const int batches = argc > 1 ? std::atoi(argv[1]) : 5000;
    const std::string name = velbench::kSampleName;
    for (int warm = 0; warm < 1000; ++warm) {
        velbench::logSampleLine(name, static_cast<unsigned>(warm));
    }
    std::vector<double> perLine;
    perLine.reserve(static_cast<std::size_t>(batches));
    for (int batch = 0; batch < batches; ++batch) {
        const std::uint64_t start = velbench::nowNs();
        for (int line = 0; line < velbench::kLinesPerBatch; ++line) {
            velbench::logSampleLine(name, static_cast<unsigned>(line));
        }
        perLine.push_back(static_cast<double>(velbench::nowNs() - start) / velbench::kLinesPerBatch);
    }
    std::printf("ns_per_line %.1f\n", velbench::median(perLine));
    std::printf("ns_per_line_p99 %.1f\n", velbench::percentile(perLine, 99));
    std::fflush(stdout);
    return 0;
}
