// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "vel/LogBackend.h"

// Test sink: the test executables define vw_log_print, which takes precedence
// over the library's stderr sink, and every message lands here.
namespace veltest {

struct LogLine {
    std::string file;
    std::string function;
    int line;
    int severity;
    int module;
    int option;
    std::string format;
    std::string text;
    // The wrapper's current context while this line was delivered.
    const DltContext* context = nullptr;
};

// Severity codes of the sink, by DLT level.
constexpr int kSeverityFatal = 0xE0;
constexpr int kSeverityError = 0xC0;
constexpr int kSeverityWarn = 0xA0;
constexpr int kSeverityInfo = 0x80;
constexpr int kSeverityDebug = 0x40;
constexpr int kSeverityVerbose = 0x20;

class LogCapture {
public:
    static void clear();
    static std::vector<LogLine> lines();
    static std::vector<std::string> texts();
    // Lines whose text contains the fragment (any severity, or only the given one).
    static std::vector<LogLine> matching(const std::string& fragment);
    static std::size_t count(const std::string& fragment);
    static std::size_t count(const std::string& fragment, int severity);
    static bool hasExact(const std::string& text);
    static bool hasExact(const std::string& text, int severity);
    // Waits until a line containing the fragment has been logged `times` times.
    static bool waitFor(const std::string& fragment, std::chrono::milliseconds timeout, std::size_t times = 1);
    // Dumps everything captured so far to stderr (for failing tests).
    static void dump();
    // Echo captured lines to stderr as they arrive (VEL_TEST_ECHO_LOG=1 sets it too).
    static void setEcho(bool echo);
};

} // namespace veltest
