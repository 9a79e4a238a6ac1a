// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <cstddef>
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

// Further markers for the same timeline, set before startTimeline(): when the
// first line containing each arrived (0 if none did).
void watchTimeline(const char* const* markers, std::size_t count);
std::uint64_t timelineTimeOf(std::size_t index);

} // namespace velbench
