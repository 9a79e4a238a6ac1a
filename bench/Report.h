// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <string>
#include <vector>

namespace velbench {

// What the machine looked like when a run started; the report prints it
// next to the figures.
struct MachineInfo {
    std::string cpuModel;
    long cores = 0;
    std::string kernel;
    std::string glibc;
    std::string glib;
    std::string loadAtStart;
    std::string loadAtEnd;
    std::string date;
};

MachineInfo describeMachine();
std::string loadAverage();

// The Markdown table of all figures with their targets, from Results.
std::string markdownReport(const MachineInfo& machine, bool smoke);

// One target as the report checked it: figure `key` against `limit`.
struct TargetCheck {
    std::string key;
    double limit = 0;
    std::string bound;  // "at_most" or "at_least"
    double value = 0;   // NaN when not measured
    bool met = false;
};

// Every target checked by markdownReport(), in the order of the table.
std::vector<TargetCheck>& checkedTargets();

// Checks figure `key` against `limit` (at most, or at least) and keeps the
// check for results.json.
TargetCheck recordTarget(const std::string& key, double limit, bool atMost);

// "met", "**missed**" or "not measured", as the table writes a verdict.
std::string verdictWord(const TargetCheck& check);

} // namespace velbench
