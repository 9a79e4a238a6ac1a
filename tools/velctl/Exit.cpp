// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "Exit.h"

#include <unistd.h>

#include <cstdio>

#ifdef VEL_COVERAGE
#include <fcntl.h>

extern "C" void __gcov_dump(void);
#endif

namespace velctl {

void finish(ExitStatus status)
{
    std::fflush(stdout);
    std::fflush(stderr);
#ifdef VEL_COVERAGE
    // _exit() skips the exit-time writer of the coverage counters. Counters a
    // run under another user cannot write are complained about on stderr,
    // which is the program's output: that goes nowhere.
    const int quiet = ::open("/dev/null", O_WRONLY);
    if (quiet >= 0) {
        ::dup2(quiet, STDERR_FILENO);
    }
    __gcov_dump();
#endif
    ::_exit(status);
}

void fail(ExitStatus status, const std::string& reason)
{
    std::fprintf(stderr, "velctl: %s\n", reason.c_str());
    finish(status);
}

} // namespace velctl
