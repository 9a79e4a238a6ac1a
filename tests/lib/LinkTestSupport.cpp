#include "LinkTestSupport.h"

#include <gio/gio.h>

#include <atomic>
#include <fstream>

#include "WaitUntil.h"

namespace linktest {

std::string processName()
{
    std::ifstream in("/proc/self/comm");
    std::string name;
    std::getline(in, name);
    return name;
}

std::string proxyLine(const std::string& clientName, const std::string& function, const std::string& text)
{
    return "[VELLIB][" + processName() + "." + clientName + "][" + function + "] " + text;
}

namespace {

gboolean markDone(gpointer data)
{
    static_cast<std::atomic<bool>*>(data)->store(true);
    return G_SOURCE_REMOVE;
}

} // namespace

bool flushDefaultContext(std::chrono::milliseconds timeout)
{
    // Heap-held: if the wait times out the idle may still run later.
    auto* done = new std::atomic<bool>(false);
    g_idle_add(markDone, done);
    const bool ran = veltest::waitUntil([done] { return done->load(); }, timeout);
    if (ran) {
        delete done;
    }
    return ran;
}

int indexOfLine(const std::string& text, int from)
{
    const auto texts = veltest::LogCapture::texts();
    for (std::size_t i = static_cast<std::size_t>(from); i < texts.size(); ++i) {
        if (texts[i] == text) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

std::vector<veltest::LogLine> linesStartingWith(const std::string& prefix)
{
    std::vector<veltest::LogLine> result;
    for (const auto& line : veltest::LogCapture::lines()) {
        if (line.text.rfind(prefix, 0) == 0) {
            result.push_back(line);
        }
    }
    return result;
}

std::size_t countLinesAtSeverity(const std::string& fragment, int severity)
{
    return veltest::LogCapture::count(fragment, severity);
}

int countPosixTimers()
{
    std::ifstream in("/proc/self/timers");
    int count = 0;
    for (std::string text; std::getline(in, text);) {
        count += text.rfind("ID:", 0) == 0 ? 1 : 0;
    }
    return count;
}

} // namespace linktest
