// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include "log_contexts.h"
#include "vel/OrnaLogWrapper.h"

// Every line of the application facade: "[VELLIBAPP]" + object name +
// "[function] " + the pieces. `name` is the adjusted client name, which
// carries its own brackets, or a bracketed class name in static functions.
#define VEL_APP_LOG(level, name, ...) \
    orna::log(&VELLIBAPP, level, "[VELLIBAPP]", name, "[", __func__, "] ", __VA_ARGS__)
