// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// vel-bench-child: the benchmark processes that need library singletons of
// their own, started and reaped by vel-bench.
//   vel-bench-child signals lib|raw|raw+proxy COMPLETIONS NOTICES NOTICE_RATE
//   vel-bench-child listen lib|raw|raw+proxy COMPLETIONS
//   vel-bench-child scale lib|raw|raw+proxy NOTICES COMPLETIONS
//   vel-bench-child ready
//   vel-bench-child memory lib|raw
//   vel-bench-child idle SECONDS
// It links the discarding log sink, like vel-bench.

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "ChildModes.h"

namespace {

unsigned argument(char** argv, int index)
{
    return static_cast<unsigned>(std::strtoul(argv[index], nullptr, 10));
}

velbench::SignalClient signalClient(const char* name)
{
    if (std::strcmp(name, "lib") == 0) {
        return velbench::SignalClient::Library;
    }
    return std::strcmp(name, "raw+proxy") == 0 ? velbench::SignalClient::RawAndProxy : velbench::SignalClient::Raw;
}

int usage()
{
    std::fprintf(stderr, "usage: vel-bench-child signals lib|raw|raw+proxy COMPLETIONS NOTICES NOTICE_RATE\n"
                         "       vel-bench-child listen lib|raw|raw+proxy COMPLETIONS\n"
                         "       vel-bench-child scale lib|raw|raw+proxy NOTICES COMPLETIONS\n"
                         "       vel-bench-child ready\n"
                         "       vel-bench-child memory lib|raw\n"
                         "       vel-bench-child idle SECONDS\n");
    return 2;
}

int run(int argc, char** argv)
{
    if (argc == 6 && std::strcmp(argv[1], "signals") == 0) {
        return velbench::runSignalsChild(signalClient(argv[2]), argument(argv, 3), argument(argv, 4),
                                         argument(argv, 5));
    }
    if (argc == 4 && std::strcmp(argv[1], "listen") == 0) {
        return velbench::runListenChild(signalClient(argv[2]), argument(argv, 3));
    }
    if (argc == 2 && std::strcmp(argv[1], "ready-floor") == 0) {
        return velbench::runReadyFloorChild();
    }
    if (argc == 5 && std::strcmp(argv[1], "scale") == 0) {
        return velbench::runScaleChild(signalClient(argv[2]), argument(argv, 3), argument(argv, 4));
    }
    if (argc == 2 && std::strcmp(argv[1], "ready") == 0) {
        return velbench::runReadyChild();
    }
    if (argc == 3 && std::strcmp(argv[1], "memory") == 0) {
        return velbench::runMemoryChild(std::strcmp(argv[2], "lib") == 0);
    }
    if (argc == 3 && std::strcmp(argv[1], "idle") == 0) {
        return velbench::runIdleChild(argument(argv, 2));
    }
    return usage();
}

} // namespace

int main(int argc, char** argv)
{
    const int status = run(argc, argv);
    std::fflush(stdout);
    // The facades' static destructors would tear down the device-store reader,
    // which removes the service's semaphore name; the next benchmark process
    // needs it, so this process leaves without running them.
    _exit(status);
}
