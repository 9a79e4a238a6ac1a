#pragma once

#include <string>

namespace velbench {

// Every figure of Results by its key, as {"figures": {"key": value, ...}}
// (null for a figure that could not be taken). Google Benchmark's
// results.json carries only each benchmark's counters; this file carries
// every figure the report is made of.
bool writeFiguresJson(const std::string& path);

} // namespace velbench
