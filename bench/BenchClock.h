// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <time.h>

#include <cstdint>

namespace velbench {

// CLOCK_MONOTONIC is shared by all processes of the machine, so a time taken
// in the simulator can be compared with one taken in a client.
inline std::uint64_t nowNs()
{
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1000000000ull + static_cast<std::uint64_t>(now.tv_nsec);
}

// CPU time of the whole process. The kernel brings a thread's share up to
// date when the thread stops running, so read it while the others are idle.
inline std::uint64_t processCpuNs()
{
    struct timespec used;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
    return static_cast<std::uint64_t>(used.tv_sec) * 1000000000ull + static_cast<std::uint64_t>(used.tv_nsec);
}

inline double nsToUs(double ns)
{
    return ns / 1000.0;
}

} // namespace velbench
