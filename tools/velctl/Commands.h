// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include "CommandLine.h"

namespace velctl {

// Each runs one command of its kind and never returns: it finishes the
// process with the command's exit status.
[[noreturn]] void runApp(const CommandLine& line);
[[noreturn]] void runCore(const CommandLine& line);
[[noreturn]] void runController(const CommandLine& line);
// Recordings of the service's interface: the file or files come as the
// command and its argument.
[[noreturn]] void runRecord(const CommandLine& line);
[[noreturn]] void runReplayDiff(const CommandLine& line);

} // namespace velctl
