#pragma once

#include <string>

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

} // namespace velbench
