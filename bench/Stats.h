// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <vector>

namespace velbench {

// Nearest-rank percentile (p in 0..100) of the samples; 0 for no samples.
double percentile(std::vector<double> samples, double p);
double median(const std::vector<double>& samples);

} // namespace velbench
