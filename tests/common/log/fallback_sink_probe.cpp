// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// Writes one library log line at each level through the library's own
// fallback sink (this program provides no vw_log_print of its own). With the
// argument "odd": a line of no known level and a line too long for the sink.
#include <cstring>
#include <string>

#include "vel/OrnaLogWrapper.h"

int main(int argc, char** argv)
{
    static DltContext context;
    orna::log(&context, DLT_LOG_FATAL, "probe fatal");
    orna::log(&context, DLT_LOG_ERROR, "probe error");
    orna::log(&context, DLT_LOG_WARN, "probe warn");
    orna::log(&context, DLT_LOG_INFO, "probe info");
    orna::log(&context, DLT_LOG_DEBUG, "probe debug");
    orna::log(&context, DLT_LOG_VERBOSE, "probe verbose");
    if (argc > 1 && std::strcmp(argv[1], "odd") == 0) {
        orna::log(&context, static_cast<DltLogLevelType>(7), "probe of no level");
        orna::log(&context, DLT_LOG_ERROR, "long:", std::string(3000, 'y'));
    }
    return 0;
}
