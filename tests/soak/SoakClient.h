// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <functional>
#include <map>
#include <string>

// The common part of the soak clients: small processes that hold one facade
// of the library connected to the service while the soak driver restarts
// the service (or kills the bus) around them.
//
// A client prints what happens to it on stdout, one line each:
//   ready 1 | ready 0                  onRcvMVELReady
//   stats fds=N threads=N pool_threads=N rss_kb=N heap_bytes=N timers=N  (threads: not GLib's pool)
//   request ok=0|1 ms=N [detail]       the answer to the command "request"
//   log <severity> <text>              library lines of warning level and above
//   vanished | appeared                the library saw the service's name go or come
// and takes commands, one a line, from the FIFO named by its first argument:
//   stats, request, quit.
namespace soak {

// Prints one line on stdout at once, from any thread.
void say(const char* format, ...) __attribute__((format(printf, 1, 2)));

// "stats ..." of this process.
void sayStats();

// Milliseconds on the monotonic clock.
long long nowMs();

// Reads commands from the FIFO and runs the handler named by each; "stats"
// and "quit" are built in. Returns when "quit" arrives (or the FIFO fails).
int runCommands(const char* fifoPath, const std::map<std::string, std::function<void()>>& handlers);

} // namespace soak
