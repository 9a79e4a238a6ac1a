#pragma once

#include <cstdint>

namespace velbench {

// Lines the library has handed to the sink of this process so far. The
// benchmark executables define vw_log_print themselves, which discards every
// line and only counts it, so the figures show the library and not a console.
std::uint64_t loggedLines();

// When the first line containing `marker` arrived, and when the line before
// it did, once startTimeline() has been called; 0 until then. Lets a
// benchmark see where the library spends its time without printing anything.
struct TimelineMark {
    std::uint64_t markNs = 0;
    std::uint64_t previousNs = 0;
};
void startTimeline(const char* marker);
TimelineMark timelineMark();

} // namespace velbench
