// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "Stats.h"

#include <algorithm>
#include <cmath>

namespace velbench {

double percentile(std::vector<double> samples, double p)
{
    if (samples.empty()) {
        return 0.0;
    }
    std::sort(samples.begin(), samples.end());
    const double rank = std::ceil(p / 100.0 * static_cast<double>(samples.size()));
    std::size_t index = rank < 1.0 ? 0 : static_cast<std::size_t>(rank) - 1;
    if (index >= samples.size()) {
        index = samples.size() - 1;
    }
    return samples[index];
}

double median(const std::vector<double>& samples)
{
    return percentile(samples, 50.0);
}

} // namespace velbench
