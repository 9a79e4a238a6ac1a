// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include "log_contexts.h"
#include "vel/OrnaLogWrapper.h"

// Every line of the timer registry: "[VELT][VelTimer][<function>] " + pieces.
template <typename... Pieces>
void timerLog(DltLogLevelType level, const char* function, const Pieces&... pieces)
{
    orna::log(&VEL_TIMER, level, "[VELT]", "[VelTimer]", "[", function, "] ", pieces...);
}
