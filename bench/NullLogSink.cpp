#include "NullLogSink.h"

#include <atomic>
#include <cstdarg>
#include <cstring>

#include "BenchClock.h"

namespace {

std::atomic<std::uint64_t> gLines{0};
std::atomic<bool> gTimeline{false};
// Written only inside vw_log_print, which the log wrapper calls under its
// own mutex, one line at a time.
const char* gMarker = nullptr;
std::uint64_t gPreviousLineNs = 0;
velbench::TimelineMark gMark;

void noteLine(const char* text)
{
    const std::uint64_t now = velbench::nowNs();
    if (gMark.markNs == 0 && text != nullptr && std::strstr(text, gMarker) != nullptr) {
        gMark.markNs = now;
        gMark.previousNs = gPreviousLineNs;
    }
    gPreviousLineNs = now;
}

} // namespace

extern "C" void vw_log_print(const char*, const char*, int, int, int, int, const char* format, ...)
{
    gLines.fetch_add(1, std::memory_order_relaxed);
    if (!gTimeline.load(std::memory_order_relaxed)) {
        return;
    }
    // The library always passes "%s" and the line.
    const char* text = nullptr;
    if (format != nullptr && std::strcmp(format, "%s") == 0) {
        va_list args;
        va_start(args, format);
        text = va_arg(args, const char*);
        va_end(args);
    }
    noteLine(text);
}

namespace velbench {

std::uint64_t loggedLines()
{
    return gLines.load(std::memory_order_relaxed);
}

void startTimeline(const char* marker)
{
    gMarker = marker;
    gTimeline.store(true);
}

TimelineMark timelineMark()
{
    return gMark;
}

} // namespace velbench
