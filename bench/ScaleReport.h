// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <string>

namespace velbench {

// The scale benchmark's table for results.md; empty when it did not run.
std::string scaleReportSection(bool smoke);

// One line per number of clients, for scripts/bench's plot (gnuplot);
// false, and no file, when the scale benchmark did not run.
bool writeScaleData(const std::string& path);

} // namespace velbench
