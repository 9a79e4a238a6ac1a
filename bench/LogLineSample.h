// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

#include "log_contexts.h"
#include "vel/OrnaLogWrapper.h"

namespace velbench {

// A typical library line of five pieces (tag, object name, function, label,
// number), and the same text through snprintf as the baseline.
constexpr const char* kSampleName = "[vel-bench.bench-app]";

inline void logSampleLine(const std::string& name, unsigned value)
{
    orna::log(&VELLIBAPP, DLT_LOG_INFO, "[VELLIBAPP]", name, "[sendActionFromApp] ", "_action:", value);
}

inline int formatSampleLine(char* buffer, std::size_t size, const std::string& name, unsigned value)
{
    return std::snprintf(buffer, size, "%s%s%s%s%u", "[VELLIBAPP]", name.c_str(), "[sendActionFromApp] ", "_action:",
                         value);
}

// Lines per timed batch: one clock read per line would weigh on a line.
constexpr int kLinesPerBatch = 16;

} // namespace velbench
