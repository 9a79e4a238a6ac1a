// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <string>

#include "Report.h"

namespace velbench {

// results.json: every figure of the run as one named number ("figures"),
// and every target with its limit and verdict ("targets"), so that a script
// checks a target without reading the table. Call after markdownReport().
std::string resultsJson(const MachineInfo& machine, bool smoke);

} // namespace velbench
