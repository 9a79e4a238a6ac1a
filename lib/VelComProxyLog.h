// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <string>

#include "log_contexts.h"
#include "vel/OrnaLogWrapper.h"

// Every line of the proxy base: "[VELLIB]" + adjusted name + "[<function>] " + pieces.
template <typename... Pieces>
void proxyLog(DltLogLevelType level, const std::string& name, const char* function, const Pieces&... pieces)
{
    orna::log(&VELLIB, level, "[VELLIB]", name, "[", function, "] ", pieces...);
}
