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

inline double nsToUs(double ns)
{
    return ns / 1000.0;
}

} // namespace velbench
