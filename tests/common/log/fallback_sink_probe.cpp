// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// Writes one library log line at each level through the library's own
// fallback sink (this program provides no vw_log_print of its own). With the
// argument "odd": a line of no known level, a line too long for the sink and
// one it cannot format at all (a wide character beyond Unicode), which it drops.
#include <cstring>
#include <cwchar>
#include <string>

#include "vel/OrnaLogWrapper.h"

extern "C" void vw_log_print(const char*, const char*, int, int, int, int, const char*, ...);

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
        vw_log_print(__FILE__, __func__, __LINE__, 0xC0, 0, 0, "%lc", static_cast<wint_t>(0x110000));
    }
    return 0;
}
