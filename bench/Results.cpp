// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "Results.h"

#include <cmath>
#include <cstdio>

namespace velbench {

Results& Results::instance()
{
    static Results results;
    return results;
}

void Results::set(const std::string& key, double value)
{
    mValues[key] = value;
}

bool Results::has(const std::string& key) const
{
    return mValues.count(key) > 0;
}

double Results::get(const std::string& key) const
{
    const auto found = mValues.find(key);
    return found != mValues.end() ? found->second : std::nan("");
}

const std::map<std::string, double>& Results::values() const
{
    return mValues;
}

void Results::recordFailure(const std::string& what)
{
    std::fprintf(stderr, "vel-bench: %s\n", what.c_str());
    ++mFailures;
}

int Results::failures() const
{
    return mFailures;
}

} // namespace velbench
