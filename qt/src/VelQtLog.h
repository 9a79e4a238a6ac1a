// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <dlt/dlt_user.h>

#include "vel/OrnaLogWrapper.h"

// libvel-qt's own log context ("LIBQ"), registered on first use; its lines go
// through libvel's log wrapper to the platform's sink like every other line.
DltContext& velQtLogContext();

// "[VELQT][class][function] " + the pieces.
#define VEL_QT_LOG(level, owner, ...) \
    orna::log(&velQtLogContext(), level, "[VELQT][", owner, "][", __func__, "] ", __VA_ARGS__)
