// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include "log_contexts.h"
#include "vel/OrnaLogWrapper.h"

namespace vel_core {

// Every line of the core engine facade reads "[VELLIBCORE][<function>] <text>".
template <typename... Pieces>
void log(DltLogLevelType level, const char* function, const Pieces&... pieces)
{
    orna::log(&VELLIBCORE, level, "[VELLIBCORE][", function, "] ", pieces...);
}

} // namespace vel_core
