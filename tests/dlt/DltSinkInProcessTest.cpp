// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// libvel-dlt's own vw_log_print, called the way a host without a sink of its
// own has it called. What it hands to libdlt is caught at libdlt's writers,
// which this executable defines ahead of libdlt's own (it exports its symbols).
#include <dlfcn.h>

#include <gtest/gtest.h>

#include <dlt/dlt_user.h>

#include <mutex>
#include <string>
#include <vector>

#include "FaultInjection.h"
#include "LogCapture.h"
#include "vel/OrnaLogWrapper.h"

namespace {

struct Written {
    DltLogLevelType level;
    std::string text;
};

std::mutex gMutex;
std::vector<Written> gWritten;
thread_local DltLogLevelType tStartedLevel = DLT_LOG_DEFAULT;

using Sink = void (*)(const char*, const char*, int, int, int, int, const char*, ...);

Sink libvelDltSink()
{
    void* library = dlopen("libvel-dlt.so.1", RTLD_NOW | RTLD_NOLOAD);
    return library != nullptr ? reinterpret_cast<Sink>(dlsym(library, "vw_log_print")) : nullptr;
}

std::vector<Written> written()
{
    std::lock_guard<std::mutex> lock(gMutex);
    return gWritten;
}

} // namespace

// Every line is taken, whatever level libdlt holds for the context; none of
// the three calls reaches libdlt, so it allocates nothing for them.
extern "C" DltReturnValue dlt_user_log_write_start(DltContext*, DltContextData*, DltLogLevelType level)
{
    tStartedLevel = level;
    return DLT_RETURN_TRUE;
}

extern "C" DltReturnValue dlt_user_log_write_string(DltContextData*, const char* text)
{
    std::lock_guard<std::mutex> lock(gMutex);
    gWritten.push_back({tStartedLevel, text != nullptr ? text : ""});
    return DLT_RETURN_OK;
}

extern "C" DltReturnValue dlt_user_log_write_finish(DltContextData*)
{
    return DLT_RETURN_OK;
}

TEST(TheDltSink, FormatsWhatIsNotAPlainTextLineAndTakesANullFormatAsAnEmptyLine)
{
    const Sink sink = libvelDltSink();
    ASSERT_NE(sink, nullptr);

    sink("file.cpp", "function", 1, 0xC0, 0, 0, "%s-%d-%s", "one", 2, "three");
    sink("file.cpp", "function", 2, 0xC0, 0, 0, nullptr);
    sink("file.cpp", "function", 3, 0xC0, 0, 0, "%s", "plain");
    sink("file.cpp", "function", 4, 0xC0, 0, 0, "%s", static_cast<const char*>(nullptr));
    sink("file.cpp", "function", 5, 0xC0, 0, 0, "");

    const std::vector<Written> lines = written();
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_EQ(lines[0].text, "one-2-three");
    EXPECT_EQ(lines[1].text, "");
    EXPECT_EQ(lines[2].text, "plain");
    EXPECT_EQ(lines[3].text, "");
    EXPECT_EQ(lines[4].text, "");
}

TEST(TheDltSink, MapsEverySeverityCodeToItsDltLevelAndAnUnknownOneToInfo)
{
    const Sink sink = libvelDltSink();
    ASSERT_NE(sink, nullptr);

    for (int severity : {0xE0, 0xC0, 0xA0, 0x80, 0x40, 0x20, 0x60}) {
        sink("file.cpp", "function", 1, severity, 0, 0, "%s", "line");
    }

    std::vector<DltLogLevelType> levels;
    for (const Written& line : written()) {
        levels.push_back(line.level);
    }
    EXPECT_EQ(levels, (std::vector<DltLogLevelType>{DLT_LOG_FATAL, DLT_LOG_ERROR, DLT_LOG_WARN, DLT_LOG_INFO,
                                                     DLT_LOG_DEBUG, DLT_LOG_VERBOSE, DLT_LOG_INFO}));
}

namespace {

DltContext gInfoContext;

} // namespace

TEST(TheDltLevels, LetThroughWhatTheContextsLevelCoversAndCountAnUnknownLevelAsInfo)
{
    // libdlt starts every context at info when nothing else is configured.
    orna::OrnaLogWrapper::instance(true)->registerContext(gInfoContext, "TSTI", "at info");
    veltest::LogCapture::clear();

    orna::log(&gInfoContext, DLT_LOG_VERBOSE, "verbose line");
    orna::log(&gInfoContext, DLT_LOG_DEBUG, "debug line");
    orna::log(&gInfoContext, DLT_LOG_INFO, "info line");
    orna::log(&gInfoContext, static_cast<DltLogLevelType>(7), "line of no level");
    orna::log(&gInfoContext, DLT_LOG_OFF, "line of level off");

    EXPECT_EQ(veltest::LogCapture::texts(),
              (std::vector<std::string>{"info line", "line of no level", "line of level off"}));
}

TEST(TheDltSink, WritesNothingForLinesOfAContextDltRefused)
{
    const Sink sink = libvelDltSink();
    ASSERT_NE(sink, nullptr);

    // Outside a message of the wrapper the sink's lines go to its own context.
    veltest::failNextCalls(veltest::FaultyCall::DltRegisterContext, 0, 1);
    sink("file.cpp", "function", 1, 0xC0, 0, 0, "%s", "refused");
    sink("file.cpp", "function", 2, 0xC0, 0, 0, "%s", "refused again");
    veltest::clearFaults();

    EXPECT_EQ(veltest::injectedFailures(veltest::FaultyCall::DltRegisterContext), 1u);
    EXPECT_TRUE(written().empty());
}
