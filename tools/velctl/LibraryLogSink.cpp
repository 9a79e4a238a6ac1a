// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// velctl's own vw_log_print: it shadows libvel-dlt's, and sends each line
// where --log chose.
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <string>

#include <glib.h>

#include "LibraryLogSink.h"
#include "Secrets.h"
#include "vel/VelDlt.h"

namespace velctl {

namespace {

enum class Mode { Quiet, Stderr, Dlt };

std::atomic<Mode> gMode{Mode::Quiet};

} // namespace

bool isLibraryLogMode(const std::string& mode)
{
    return mode == "quiet" || mode == "stderr" || mode == "dlt";
}

void setLibraryLogMode(const std::string& mode)
{
    const Mode chosen = mode == "stderr" ? Mode::Stderr : mode == "dlt" ? Mode::Dlt : Mode::Quiet;
    // DLT's levels decide which lines are built only when DLT shows them.
    veldlt::setActive(chosen == Mode::Dlt);
    gMode = chosen;
}

} // namespace velctl

extern "C" void vw_log_print(const char*, const char*, int, int severity, int, int, const char* format, ...)
{
    const velctl::Mode mode = velctl::gMode;
    if (mode == velctl::Mode::Quiet) {
        return;
    }
    va_list args;
    va_start(args, format);
    gchar* printed = g_strdup_vprintf(format, args);
    va_end(args);
    // The library logs what it receives, credentials included.
    const std::string text = velctl::maskSecretFields(printed);
    g_free(printed);
    if (mode == velctl::Mode::Dlt) {
        veldlt::forward(severity, text.c_str());
    } else {
        std::fprintf(stderr, "libvel[%02X] %s\n", static_cast<unsigned int>(severity), text.c_str());
    }
}
