// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <dlt/dlt_user.h>

namespace veldlt {

// The DLT level of a line, from the severity code that vw_log_print receives.
// A code outside the table is shown at info level.
DltLogLevelType levelForSeverity(int severity);

// The DLT level at which a line written at `level` will arrive; the same
// answer as levelForSeverity gives for the code the wrapper makes of it.
DltLogLevelType levelOfLine(DltLogLevelType level);

} // namespace veldlt
