// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <string>

namespace velctl {

enum ExitStatus : int {
    kExitOk = 0,
    kExitFailed = 1,
    kExitUsage = 2,
    kExitUnreachable = 3,
};

// Leaves the process with the status, after flushing stdout and stderr.
// libvel's main-loop thread is never stopped and its facades are static
// objects, so the process ends without running exit-time destructors under it.
[[noreturn]] void finish(ExitStatus status);

// Prints "velctl: <reason>" on stderr and finishes with the status.
[[noreturn]] void fail(ExitStatus status, const std::string& reason);

} // namespace velctl
