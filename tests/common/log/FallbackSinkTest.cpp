// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#ifndef VEL_FALLBACK_SINK_PROBE
#error "VEL_FALLBACK_SINK_PROBE names the probe program"
#endif

namespace {

// The probe's stderr, one entry per line, with VEL_LOG_LEVEL set to `level`
// (or unset when level is null).
std::vector<std::string> probeLines(const char* level, const char* argument = "")
{
    std::string command = level != nullptr ? std::string("VEL_LOG_LEVEL=") + level + " " : "unset VEL_LOG_LEVEL; ";
    command += std::string("'") + VEL_FALLBACK_SINK_PROBE + "' " + argument + " 2>&1 >/dev/null";
    std::vector<std::string> lines;
    FILE* output = popen(command.c_str(), "r");
    if (output == nullptr) {
        return lines;
    }
    char buffer[4096];
    while (std::fgets(buffer, sizeof(buffer), output) != nullptr) {
        std::string line(buffer);
        if (!line.empty() && line.back() == '\n') {
            line.pop_back();
        }
        lines.push_back(line);
    }
    EXPECT_EQ(pclose(output), 0);
    return lines;
}

const std::vector<std::string> kErrors = {"vel FATAL probe fatal", "vel ERROR probe error"};

std::vector<std::string> plus(std::vector<std::string> lines, const std::vector<std::string>& more)
{
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

} // namespace

TEST(TheFallbackSink, PrintsWarningsAndAboveByDefault)
{
    EXPECT_EQ(probeLines(nullptr), plus(kErrors, {"vel WARN probe warn"}));
}

TEST(TheFallbackSink, PrintsOnlyErrorsAtLevelError)
{
    EXPECT_EQ(probeLines("error"), kErrors);
}

TEST(TheFallbackSink, PrintsWarningsAndAboveAtLevelWarn)
{
    EXPECT_EQ(probeLines("warn"), plus(kErrors, {"vel WARN probe warn"}));
}

TEST(TheFallbackSink, PrintsInformationAndAboveAtLevelInfo)
{
    // The wrapper's own start-up line is information too.
    EXPECT_EQ(probeLines("info"), plus({"vel INFO Running with TRACE"},
                                       plus(kErrors, {"vel WARN probe warn", "vel INFO probe info"})));
}

TEST(TheFallbackSink, PrintsEveryLineAtLevelDebug)
{
    const std::vector<std::string> lines = probeLines("debug");
    const std::vector<std::string> probe(lines.end() - std::min<std::size_t>(lines.size(), 6), lines.end());
    EXPECT_EQ(probe, plus(kErrors, {"vel WARN probe warn", "vel INFO probe info", "vel DEBUG probe debug",
                                    "vel VERBOSE probe verbose"}));
    EXPECT_EQ(lines.front(), "vel INFO Running with TRACE");
}

TEST(TheFallbackSink, PrintsNothingAtLevelOff)
{
    EXPECT_TRUE(probeLines("off").empty());
}

TEST(TheFallbackSink, TakesAnUnknownLevelForTheDefault)
{
    EXPECT_EQ(probeLines("loud"), plus(kErrors, {"vel WARN probe warn"}));
}

TEST(TheFallbackSink, PrintsALineOfNoKnownLevelAsInformationNamedDefault)
{
    const std::vector<std::string> lines = probeLines("info", "odd");
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines[lines.size() - 2], "vel DEFAULT probe of no level");
}

TEST(TheFallbackSink, CutsAnOverlongLineAndMarksTheCut)
{
    const std::vector<std::string> lines = probeLines("error", "odd");
    ASSERT_EQ(lines.size(), 3u);
    const std::string& cut = lines.back();
    EXPECT_EQ(cut.rfind("vel ERROR long:yyy", 0), 0u);
    EXPECT_EQ(cut.substr(cut.size() - 6), "yyy...");
    // The sink's buffer holds 2047 characters of the line and its terminator.
    EXPECT_EQ(cut.size(), std::string("vel ERROR ").size() + 2047 + 3);
}
