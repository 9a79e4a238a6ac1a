// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// Writes one library log line at each level through the library's own
// fallback sink (this program provides no vw_log_print of its own).
#include "vel/OrnaLogWrapper.h"

int main()
{
    static DltContext context;
    orna::log(&context, DLT_LOG_FATAL, "probe fatal");
    orna::log(&context, DLT_LOG_ERROR, "probe error");
    orna::log(&context, DLT_LOG_WARN, "probe warn");
    orna::log(&context, DLT_LOG_INFO, "probe info");
    orna::log(&context, DLT_LOG_DEBUG, "probe debug");
    orna::log(&context, DLT_LOG_VERBOSE, "probe verbose");
    return 0;
}
