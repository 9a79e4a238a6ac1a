// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace velbench {

// utime + stime of a whole process from /proc/<pid>/stat, in nanoseconds
// (counted by the kernel in clock ticks, 10 ms here); -1 if unreadable.
std::int64_t processCpuNsOf(int pid);

// A field of /proc/self/status in kB (VmRSS, RssAnon, RssFile...); -1 if absent.
long statusKiB(const char* field);

// voluntary + nonvoluntary context switches of every thread of this process
// except the calling one, by thread id.
std::map<int, std::uint64_t> contextSwitchesOfOtherThreads();

// The name of a thread of this process (/proc/self/task/<tid>/comm).
std::string threadName(int tid);

} // namespace velbench
