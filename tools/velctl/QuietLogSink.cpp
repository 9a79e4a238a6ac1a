// velctl's own log sink: libvel's lines would drown the answers, so they are
// printed on stderr only with --verbose.
#include <cstdarg>
#include <cstdio>

#include "QuietLogSink.h"

namespace velctl {

namespace {

bool gVerbose = false;

} // namespace

void setLibraryLogVisible(bool visible)
{
    gVerbose = visible;
}

} // namespace velctl

extern "C" void vw_log_print(const char*, const char*, int, int severity, int, int, const char* format, ...)
{
    if (!velctl::gVerbose) {
        return;
    }
    va_list args;
    va_start(args, format);
    std::fprintf(stderr, "libvel[%02X] ", static_cast<unsigned int>(severity));
    std::vfprintf(stderr, format, args);
    std::fputc('\n', stderr);
    va_end(args);
}
