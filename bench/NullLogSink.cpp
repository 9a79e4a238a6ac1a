// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "NullLogSink.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
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
constexpr std::size_t kMaxWatched = 8;
const char* gWatched[kMaxWatched] = {};
std::uint64_t gWatchedNs[kMaxWatched] = {};
std::size_t gWatchedCount = 0;
std::uint64_t gTimelineStartNs = 0;

// VEL_BENCH_TRACE=1 prints every line with its time since startTimeline(),
// to see where a start-up spends its time.
bool tracing()
{
    static const bool enabled = std::getenv("VEL_BENCH_TRACE") != nullptr;
    return enabled;
}

void noteLine(const char* text)
{
    const std::uint64_t now = velbench::nowNs();
    if (tracing()) {
        std::fprintf(stderr, "%9.3f ms  %s\n", static_cast<double>(now - gTimelineStartNs) / 1e6,
                     text != nullptr ? text : "");
    }
    for (std::size_t i = 0; i < gWatchedCount && text != nullptr; ++i) {
        if (gWatchedNs[i] == 0 && std::strstr(text, gWatched[i]) != nullptr) {
            gWatchedNs[i] = now;
        }
    }
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
    gTimelineStartNs = nowNs();
    gTimeline.store(true);
}

TimelineMark timelineMark()
{
    return gMark;
}

void watchTimeline(const char* const* markers, std::size_t count)
{
    gWatchedCount = count < kMaxWatched ? count : kMaxWatched;
    for (std::size_t i = 0; i < gWatchedCount; ++i) {
        gWatched[i] = markers[i];
        gWatchedNs[i] = 0;
    }
}

std::uint64_t timelineTimeOf(std::size_t index)
{
    return index < gWatchedCount ? gWatchedNs[index] : 0;
}

} // namespace velbench
