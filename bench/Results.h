// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <map>
#include <string>

namespace velbench {

// Every figure of one run, by key ("sync.ratio_p50", "copy.aligned_us", ...),
// filled by the benchmarks and read by the report.
class Results {
public:
    static Results& instance();

    void set(const std::string& key, double value);
    bool has(const std::string& key) const;
    // NaN when the figure is missing.
    double get(const std::string& key) const;
    const std::map<std::string, double>& values() const;

    void recordFailure(const std::string& what);
    int failures() const;

private:
    std::map<std::string, double> mValues;
    int mFailures = 0;
};

} // namespace velbench
