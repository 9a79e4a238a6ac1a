// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "FuzzSupport.h"

#include <glib.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace {

// Never destroyed: library objects log from exit handlers, after the
// static objects of this file would be gone.
std::string& lastText()
{
    static std::string* text = new std::string();
    return *text;
}

int gLastSeverity = 0;
unsigned long gLineCount = 0;

void abortingHandler(const gchar* domain, GLogLevelFlags level, const gchar* message, gpointer)
{
    std::fprintf(stderr, "GLib %s from %s: %s\n", (level & G_LOG_LEVEL_CRITICAL) ? "critical" : "warning",
                 domain != nullptr ? domain : "(no domain)", message);
    std::abort();
}

} // namespace

// The platform sink: formats each line like the real one would and keeps
// the last, so that a target can check what the library wrote.
extern "C" void vw_log_print(const char*, const char*, int, int severity, int, int, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    gchar* text = g_strdup_vprintf(format, args);
    va_end(args);
    lastText().assign(text);
    g_free(text);
    gLastSeverity = severity;
    ++gLineCount;
}

namespace velfuzz {

void abortOnGLibWarnings()
{
    g_log_set_default_handler(
        [](const gchar* domain, GLogLevelFlags level, const gchar* message, gpointer data) {
            if (level & (G_LOG_LEVEL_ERROR | G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING)) {
                abortingHandler(domain, level, message, data);
            }
        },
        nullptr);
    g_log_set_always_fatal(static_cast<GLogLevelFlags>(G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING));
}

const std::string& lastLogText()
{
    return lastText();
}

int lastLogSeverity()
{
    return gLastSeverity;
}

unsigned long logLineCount()
{
    return gLineCount;
}

} // namespace velfuzz
