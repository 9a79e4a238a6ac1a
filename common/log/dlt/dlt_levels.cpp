// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "dlt_levels.h"

namespace veldlt {

DltLogLevelType levelForSeverity(int severity)
{
    switch (severity) {
    case 0xE0: return DLT_LOG_FATAL;
    case 0xC0: return DLT_LOG_ERROR;
    case 0xA0: return DLT_LOG_WARN;
    case 0x80: return DLT_LOG_INFO;
    case 0x40: return DLT_LOG_DEBUG;
    case 0x20: return DLT_LOG_VERBOSE;
    default: return DLT_LOG_INFO;
    }
}

DltLogLevelType levelOfLine(DltLogLevelType level)
{
    // The wrapper gives every level outside 1..6 one shared severity code.
    if (level >= DLT_LOG_FATAL && level <= DLT_LOG_VERBOSE) {
        return level;
    }
    return DLT_LOG_INFO;
}

} // namespace veldlt
