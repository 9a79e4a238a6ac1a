// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include "log_contexts.h"
#include "vel/OrnaLogWrapper.h"

// Every line of the shared-memory layer reads "[VSHM][operation] text".
namespace vshm {

template <typename... Pieces>
void logLine(DltLogLevelType _level, const char* _function, const Pieces&... _pieces)
{
    orna::log(&ORNA_SHM, _level, "[VSHM][", _function, "] ", _pieces...);
}

template <typename... Pieces>
void logError(const char* _function, const Pieces&... _pieces)
{
    orna::log(&ORNA_SHM, DLT_LOG_ERROR, "[VSHM][", _function, "] ", "@@@ ERR. ", _pieces...);
}

} // namespace vshm
