// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// vw_log_print for hosts that log to DLT, and the level check the log wrapper
// asks before it builds a line.
#include <dlfcn.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "dlt_levels.h"
#include "dlt_registry.h"
#include "vel/LogBackend.h"
#include "vel/VelDlt.h"

namespace veldlt {

namespace {

std::atomic<bool> gActive{true};

bool isLevelEnabled(const DltContext* context, DltLogLevelType level)
{
    ContextSlot* slot = slotFor(context);
    return slot != nullptr && wants(*slot, levelOfLine(level));
}

const orna::LogBackend kDltLevels{&isLevelEnabled};

// Loaded means wanted: the host linked this library to log to DLT.
__attribute__((constructor)) void installOnLoad()
{
    orna::setLogBackend(&kDltLevels);
}

using LogPrint = void (*)(const char*, const char*, int, int, int, int, const char*, ...);

// The sink that this library's vw_log_print shadows, if any.
LogPrint nextSink()
{
    static const LogPrint next = reinterpret_cast<LogPrint>(dlsym(RTLD_NEXT, "vw_log_print"));
    return next;
}

// The text of one vw_log_print call; the wrapper always passes "%s" and the line.
std::string formatLine(const char* format, va_list args)
{
    if (format == nullptr) {
        return std::string();
    }
    if (std::strcmp(format, "%s") == 0) {
        const char* text = va_arg(args, const char*);
        return text != nullptr ? std::string(text) : std::string();
    }
    va_list copy;
    va_copy(copy, args);
    const int length = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    if (length <= 0) {
        return std::string();
    }
    std::string text(static_cast<std::size_t>(length), '\0');
    std::vsnprintf(&text[0], text.size() + 1, format, args);
    return text;
}

} // namespace

void setActive(bool active)
{
    gActive.store(active);
    orna::setLogBackend(active ? &kDltLevels : nullptr);
}

bool isActive()
{
    return gActive.load();
}

void forward(int severity, const char* text)
{
    DltUse use;
    if (!use.open()) {
        return;
    }
    ContextSlot* slot = slotFor(orna::currentLogContext());
    if (slot != nullptr) {
        emit(*slot, levelForSeverity(severity), text != nullptr ? text : "");
    }
}

} // namespace veldlt

extern "C" VELDLT_API void vw_log_print(const char* file, const char* function, int line, int severity, int module,
                             int option, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    const std::string text = veldlt::formatLine(format, args);
    va_end(args);
    if (veldlt::isActive()) {
        veldlt::forward(severity, text.c_str());
    } else if (veldlt::LogPrint next = veldlt::nextSink()) {
        next(file, function, line, severity, module, option, "%s", text.c_str());
    }
}
