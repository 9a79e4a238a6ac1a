// Fallback sink for hosts without the platform logger: one line per message on
// stderr, prefixed with its level. A host that defines vw_log_print itself
// takes precedence over this one.
#include <cstdarg>
#include <cstdio>
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

} // namespace

extern "C" __attribute__((weak)) void vw_log_print(const char*, const char*, int, int severity, int, int,
                                                   const char* format, ...)
{
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
