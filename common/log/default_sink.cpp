// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// Fallback sink for hosts without the platform logger: one line per message on
// stderr, prefixed with its level. A host that defines vw_log_print itself
// takes precedence over this one.
//
// VEL_LOG_LEVEL=debug|info|warn|error|off sets the lowest level printed; the
// default is warn, so that a short run shows its problems, not its trace.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

namespace {

const char* levelName(int severity)
{
    switch (severity) {
    case 0xE0: return "FATAL";
    case 0xC0: return "ERROR";
    case 0xA0: return "WARN";
    case 0x80: return "INFO";
    case 0x40: return "DEBUG";
    case 0x20: return "VERBOSE";
    default: return "DEFAULT";
    }
}

constexpr int kNothing = 0x100;

int thresholdFrom(const char* setting)
{
    if (setting == nullptr) {
        return 0xA0;
    }
    // debug lets every line through, verbose ones included.
    static const struct {
        const char* name;
        int threshold;
    } kLevels[] = {{"debug", 0}, {"info", 0x80}, {"warn", 0xA0}, {"error", 0xC0}, {"off", kNothing}};
    for (const auto& level : kLevels) {
        if (std::strcmp(setting, level.name) == 0) {
            return level.threshold;
        }
    }
    return 0xA0;
}

// Read once: the environment of a running process does not change its logging.
int threshold()
{
    static const int value = thresholdFrom(std::getenv("VEL_LOG_LEVEL"));
    return value;
}

// Lines of no known level count as information.
int effectiveSeverity(int severity)
{
    switch (severity) {
    case 0xE0:
    case 0xC0:
    case 0xA0:
    case 0x80:
    case 0x40:
    case 0x20:
        return severity;
    default:
        return 0x80;
    }
}

} // namespace

extern "C" __attribute__((weak)) void vw_log_print(const char*, const char*, int, int severity, int, int,
                                                   const char* format, ...)
{
    if (effectiveSeverity(severity) < threshold()) {
        return;
    }
    char body[2048];
    va_list args;
    va_start(args, format);
    const int length = std::vsnprintf(body, sizeof(body), format, args);
    va_end(args);
    if (length < 0) {
        return;
    }
    std::string line = std::string("vel ") + levelName(severity) + " " + body;
    if (static_cast<size_t>(length) >= sizeof(body)) {
        line += "...";
    }
    line += '\n';
    // One write per line keeps lines of concurrent processes whole.
    ssize_t ignored = ::write(STDERR_FILENO, line.data(), line.size());
    (void)ignored;
}
