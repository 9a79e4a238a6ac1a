// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// One of many application processes on the bus at once (the scale benchmark):
// records when each known-list notice and each completion reached its
// callback while vel-bench drives the simulator, and hands the times over
// once vel-bench has read what it needs of this process from outside.

#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <vector>

#include "BenchClock.h"
#include "ChildModes.h"
#include "ProcStatus.h"
#include "SignalClientSetup.h"

namespace velbench {

namespace {

// Every client waits here for its siblings to start up and for a paced
// stream; vel-bench keeps its own, shorter deadlines and stops a late child
// by its PID.
constexpr int kPhaseTimeoutMs = 300000;
// Lets late replies of the start-up and their allocations settle before the
// resident memory is read, as the memory figure does.
constexpr unsigned kSettleMs = 300;

void sleepMs(unsigned ms)
{
    struct timespec delay = {static_cast<time_t>(ms / 1000), static_cast<long>(ms % 1000) * 1000000L};
    while (nanosleep(&delay, &delay) != 0) {
    }
}

void say(const char* line)
{
    std::printf("%s\n", line);
    std::fflush(stdout);
}

// vel-bench closes this process's input once it has read its CPU time.
void waitForInputToClose()
{
    char byte;
    for (;;) {
        const ssize_t got = read(STDIN_FILENO, &byte, 1);
        if (got == 0 || (got < 0 && errno != EINTR)) {
            return;
        }
    }
}

} // namespace

int runScaleChild(SignalClient client, unsigned notices, unsigned completions)
{
    SignalClientSetup setup;
    if (!setUpSignalClient(client, setup)) {
        return 1;
    }
    setup.notices->reset(notices);
    setup.completions->reset(completions);
    sleepMs(kSettleMs);
    std::printf("rss_kib %ld\n", statusKiB("VmRSS"));
    // The process is idle from here until the first notice, so its CPU time
    // from here on is what the signals cost it.
    const std::uint64_t cpuAtReady = processCpuNs();
    say("ready");
    if (!setup.notices->waitFor(notices, kPhaseTimeoutMs)) {
        std::fprintf(stderr, "vel-bench-child: %zu of %u known-list notices delivered\n", setup.notices->count(),
                     notices);
        return 1;
    }
    const std::uint64_t cpuAtNoticesDone = processCpuNs();
    say("notices-done");
    if (!setup.completions->waitFor(completions, kPhaseTimeoutMs)) {
        std::fprintf(stderr, "vel-bench-child: %zu of %u completions delivered\n", setup.completions->count(),
                     completions);
        return 1;
    }
    // The acknowledgement of the last list and GDBus's bookkeeping may still
    // be on their way; the CPU clock is read once every thread is idle.
    sleepMs(20);
    const std::uint64_t cpuAtEnd = processCpuNs();
    say("completions-done");
    waitForInputToClose();

    std::printf("clock_cpu_us %.1f\n", nsToUs(static_cast<double>(cpuAtEnd - cpuAtReady)));
    std::printf("clock_cpu_lists_us %.1f\n", nsToUs(static_cast<double>(cpuAtNoticesDone - cpuAtReady)));
    std::printf("clock_cpu_flood_us %.1f\n", nsToUs(static_cast<double>(cpuAtEnd - cpuAtNoticesDone)));
    for (const std::uint64_t arrival : setup.notices->arrivalTimes()) {
        std::printf("n %llu\n", static_cast<unsigned long long>(arrival));
    }
    const std::vector<std::uint64_t> sent = setup.completions->sentTimes();
    const std::vector<std::uint64_t> arrived = setup.completions->arrivalTimes();
    for (std::size_t index = 0; index < sent.size() && index < arrived.size(); ++index) {
        std::printf("c %llu %llu\n", static_cast<unsigned long long>(sent[index]),
                    static_cast<unsigned long long>(arrived[index]));
    }
    return 0;
}

} // namespace velbench
