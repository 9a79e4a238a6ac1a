// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include "vel/LogBackend.h"

namespace orna {

// Set by the wrapper around each delivery to vw_log_print, on the delivering
// thread; read back through currentLogContext().
void setCurrentLogContext(const DltContext* context);

} // namespace orna
