// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "Exit.h"

#include <unistd.h>

#include <cstdio>

namespace velctl {

void finish(ExitStatus status)
{
    std::fflush(stdout);
    std::fflush(stderr);
    ::_exit(status);
}

void fail(ExitStatus status, const std::string& reason)
{
    std::fprintf(stderr, "velctl: %s\n", reason.c_str());
    finish(status);
}

} // namespace velctl
