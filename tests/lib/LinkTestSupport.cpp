// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

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

// Each flush takes a ticket and the idle marks it done. Both counters live
// for the whole process: they need no allocation that a timed-out wait would
// have to leave behind, and ThreadSanitizer, which cannot see the ordering
// GLib's own locks give, sees nothing written before the idle but these
// statically initialised atomics.
std::atomic<guint> gLastTicket{0};
std::atomic<guint> gLastTicketDone{0};

gboolean markDone(gpointer data)
{
    const guint ticket = GPOINTER_TO_UINT(data);
    guint done = gLastTicketDone.load();
    while (done < ticket && !gLastTicketDone.compare_exchange_weak(done, ticket)) {
    }
    return G_SOURCE_REMOVE;
}

} // namespace

bool flushDefaultContext(std::chrono::milliseconds timeout)
{
    const guint ticket = ++gLastTicket;
    g_idle_add(markDone, GUINT_TO_POINTER(ticket));
    return veltest::waitUntil([ticket] { return gLastTicketDone.load() >= ticket; }, timeout);
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
