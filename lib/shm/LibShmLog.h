// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include "log_contexts.h"
#include "vel/OrnaLogWrapper.h"

// Every line of the device list reader starts with "[VELLIBSHM]"; the pieces
// carry their own blanks.
namespace libshm {

template <typename... Pieces>
void logLine(DltLogLevelType _level, const Pieces&... _pieces)
{
    orna::log(&VELLIBSHM, _level, "[VELLIBSHM]", _pieces...);
}

} // namespace libshm
