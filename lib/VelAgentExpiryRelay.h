// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <functional>

// Carries a signal number from a signal handler to the thread that runs the
// default GLib main context. The handler side only writes to a pipe.
namespace VelAgentExpiryRelay {

// Creates the pipe and its watch on the default main context once per process;
// later calls keep the first receiver. Returns false when the pipe cannot be made.
bool install(void (*receiver)(int signum));

// Async-signal-safe: may be called from a signal handler. Does nothing before
// install() succeeded.
void post(int signum);

} // namespace VelAgentExpiryRelay
