// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "LogCapture.h"
#include "TimeScale.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <condition_variable>
#include <mutex>

namespace veltest {

namespace {

std::mutex gMutex;
std::condition_variable gChanged;
// Never destroyed: libvel's main-loop thread may still log while the process
// runs its exit handlers.
std::vector<LogLine>& gLines = *new std::vector<LogLine>();
bool gEcho = std::getenv("VEL_TEST_ECHO_LOG") != nullptr;

} // namespace

void LogCapture::clear()
{
    std::lock_guard<std::mutex> lock(gMutex);
    gLines.clear();
}

std::vector<LogLine> LogCapture::lines()
{
    std::lock_guard<std::mutex> lock(gMutex);
    return gLines;
}

std::vector<std::string> LogCapture::texts()
{
    std::vector<std::string> result;
    for (const auto& line : lines()) {
        result.push_back(line.text);
    }
    return result;
}

std::vector<LogLine> LogCapture::matching(const std::string& fragment)
{
    std::vector<LogLine> result;
    for (const auto& line : lines()) {
        if (line.text.find(fragment) != std::string::npos) {
            result.push_back(line);
        }
    }
    return result;
}

std::size_t LogCapture::count(const std::string& fragment)
{
    return matching(fragment).size();
}

std::size_t LogCapture::count(const std::string& fragment, int severity)
{
    std::size_t n = 0;
    for (const auto& line : matching(fragment)) {
        n += line.severity == severity ? 1 : 0;
    }
    return n;
}

bool LogCapture::hasExact(const std::string& text)
{
    for (const auto& line : lines()) {
        if (line.text == text) {
            return true;
        }
    }
    return false;
}

bool LogCapture::hasExact(const std::string& text, int severity)
{
    for (const auto& line : lines()) {
        if (line.text == text && line.severity == severity) {
            return true;
        }
    }
    return false;
}

bool LogCapture::waitFor(const std::string& fragment, std::chrono::milliseconds timeout, std::size_t times)
{
    auto counted = [&] {
        std::size_t n = 0;
        for (const auto& line : gLines) {
            n += line.text.find(fragment) != std::string::npos ? 1 : 0;
        }
        return n >= times;
    };
    std::unique_lock<std::mutex> lock(gMutex);
    return gChanged.wait_for(lock, veltest::scaled(timeout), counted);
}

void LogCapture::dump()
{
    for (const auto& line : lines()) {
        std::fprintf(stderr, "[log %02X] %s\n", line.severity, line.text.c_str());
    }
}

void LogCapture::setEcho(bool echo)
{
    std::lock_guard<std::mutex> lock(gMutex);
    gEcho = echo;
}

} // namespace veltest

extern "C" void vw_log_print(const char* file, const char* function, int line, int severity, int module, int option,
                             const char* format, ...)
{
    va_list args;
    va_start(args, format);
    va_list copy;
    va_copy(copy, args);
    const int length = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    if (length > 0) {
        std::vsnprintf(&text[0], text.size() + 1, format, args);
    }
    va_end(args);

    veltest::LogLine entry{file ? file : "", function ? function : "", line, severity, module, option,
                           format ? format : "", text, orna::currentLogContext()};
    {
        std::lock_guard<std::mutex> lock(veltest::gMutex);
        if (veltest::gEcho) {
            std::fprintf(stderr, "[log %02X] %s\n", severity, text.c_str());
        }
        veltest::gLines.push_back(std::move(entry));
    }
    veltest::gChanged.notify_all();
}
