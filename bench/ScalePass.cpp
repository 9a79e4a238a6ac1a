// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// One pass of the scale benchmark: N application processes of one kind on
// the private bus, a paced stream of known-list notices and then a flood of
// completions from the simulator, and for each signal the moment the last of
// the N callbacks had run.

#include "ScalePass.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <memory>
#include <sstream>

#include "BenchClock.h"
#include "BenchOptions.h"
#include "ChildRun.h"
#include "ProcStatus.h"
#include "SignalPayloads.h"
#include "SimControl.h"

namespace velbench {

namespace {

// Generous: 32 library processes start together on two cores that other
// work may be using too.
constexpr int kReadyTimeoutMs = 120000;
// Beyond the time a stream takes at its rate.
constexpr int kPhaseSlackMs = 60000;
constexpr int kFinishTimeoutMs = 30000;

using Clients = std::vector<std::unique_ptr<ChildRun>>;

SimControl& passSim()
{
    static SimControl* sim = [] {
        GDBusConnection* connection = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
        return new SimControl(connection);
    }();
    return *sim;
}

// scripts/bench exports the PID of the dbus-daemon it started.
int busPid()
{
    const char* text = std::getenv("VEL_BENCH_BUS_PID");
    return text != nullptr ? std::atoi(text) : 0;
}

std::uint64_t deadlineAfterMs(std::uint64_t ms)
{
    return nowNs() + ms * 1000000ull;
}

int remainingMs(std::uint64_t deadlineNs)
{
    const std::uint64_t now = nowNs();
    return now >= deadlineNs ? 0 : static_cast<int>((deadlineNs - now) / 1000000ull);
}

bool everyClientSays(Clients& clients, const std::string& line, std::uint64_t deadlineNs, std::string& failure)
{
    for (std::size_t index = 0; index < clients.size(); ++index) {
        if (!clients[index]->waitForLine(line, remainingMs(deadlineNs))) {
            failure = "client " + std::to_string(index + 1) + " of " + std::to_string(clients.size()) +
                      " never said '" + line + "'";
            return false;
        }
    }
    return true;
}

std::vector<std::int64_t> cpuNsOf(const Clients& clients)
{
    std::vector<std::int64_t> cpu;
    for (const auto& client : clients) {
        cpu.push_back(processCpuNsOf(client->pid()));
    }
    return cpu;
}

// A client's "n <arrival>" and "c <sent> <arrival>" lines.
struct Heard {
    std::vector<std::uint64_t> lists;
    std::map<std::uint64_t, std::uint64_t> completions;
};

Heard parseHeard(const std::string& output)
{
    Heard heard;
    std::istringstream lines(output);
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream fields(line);
        std::string kind;
        fields >> kind;
        if (kind == "n") {
            std::uint64_t arrival = 0;
            fields >> arrival;
            heard.lists.push_back(arrival);
        } else if (kind == "c") {
            std::uint64_t sent = 0;
            std::uint64_t arrival = 0;
            fields >> sent >> arrival;
            heard.completions[sent] = arrival;
        }
    }
    return heard;
}

// Signals keep their order on the bus, so every client's i-th list belongs
// to the i-th emission; completions carry their emission time.
bool lastClientLatencies(const std::vector<Heard>& heard, const std::vector<std::uint64_t>& emitted,
                         const ScaleLoad& load, ScalePassFigures& figures, std::string& failure)
{
    const std::size_t lists = load.warmNotices + load.notices;
    std::map<std::uint64_t, std::uint64_t> lastCompletion;
    for (const Heard& client : heard) {
        if (client.lists.size() != lists || client.completions.size() != load.completions) {
            failure = "a client reported " + std::to_string(client.lists.size()) + " lists and " +
                      std::to_string(client.completions.size()) + " completions";
            return false;
        }
        for (const auto& [sent, arrival] : client.completions) {
            std::uint64_t& last = lastCompletion[sent];
            last = std::max(last, arrival);
        }
    }
    for (std::size_t index = load.warmNotices; index < lists; ++index) {
        std::uint64_t last = 0;
        for (const Heard& client : heard) {
            last = std::max(last, client.lists[index]);
        }
        figures.listLastUs.push_back(nsToUs(static_cast<double>(last) - static_cast<double>(emitted[index])));
    }
    for (const auto& [sent, last] : lastCompletion) {
        figures.floodLastUs.push_back(nsToUs(static_cast<double>(last) - static_cast<double>(sent)));
    }
    return true;
}

} // namespace

bool runScalePass(const std::string& mode, const ScaleLoad& load, ScalePassFigures& figures, std::string& failure)
{
    figures = ScalePassFigures();
    const unsigned lists = load.warmNotices + load.notices;
    Clients clients;
    for (unsigned index = 0; index < load.clients; ++index) {
        clients.push_back(std::make_unique<ChildRun>(
            std::vector<std::string>{options().childPath, "scale", mode, std::to_string(lists),
                                     std::to_string(load.completions)},
            false, true));
        if (!clients.back()->started()) {
            failure = "client " + std::to_string(index + 1) + " did not start";
            return false;
        }
    }
    // Leaving early destroys `clients`: each is stopped and reaped by its PID.
    if (!everyClientSays(clients, "ready", deadlineAfterMs(kReadyTimeoutMs), failure)) {
        return false;
    }

    const int bus = busPid();
    const std::int64_t busCpuStart = bus > 0 ? processCpuNsOf(bus) : -1;
    const std::vector<std::int64_t> cpuStart = cpuNsOf(clients);
    const std::uint64_t passStart = nowNs();

    SimControl& sim = passSim();
    const std::uint64_t streamMs = lists * 1000ull / load.noticeRate;
    if (!sim.emitMany("noticeToApp", knownListNotice(), lists, load.noticeRate)) {
        failure = "the simulator did not start the notices";
        return false;
    }
    if (!everyClientSays(clients, "notices-done", deadlineAfterMs(streamMs + kPhaseSlackMs), failure)) {
        return false;
    }
    const std::vector<std::uint64_t> emitted = sim.emitTimes();
    if (emitted.size() != lists) {
        failure = "the simulator reported " + std::to_string(emitted.size()) + " emission times";
        return false;
    }
    if (!sim.emitMany("appRequestDone", completionParams(), load.completions, 0) ||
        !everyClientSays(clients, "completions-done", deadlineAfterMs(kPhaseSlackMs), failure)) {
        if (failure.empty()) {
            failure = "the simulator did not start the flood";
        }
        return false;
    }

    const std::vector<std::int64_t> cpuEnd = cpuNsOf(clients);
    const std::int64_t busCpuEnd = bus > 0 ? processCpuNsOf(bus) : -1;
    figures.seconds = static_cast<double>(nowNs() - passStart) / 1e9;
    figures.busCpuMs = busCpuStart >= 0 && busCpuEnd >= 0 ? static_cast<double>(busCpuEnd - busCpuStart) / 1e6
                                                          : std::nan("");

    // All told at once, so that they print their times side by side.
    for (auto& client : clients) {
        client->closeInput();
    }
    std::vector<Heard> heard;
    double cpuSumUs = 0.0;
    double clockCpuSumUs = 0.0;
    double clockListsSumUs = 0.0;
    double clockFloodSumUs = 0.0;
    double rssSumKiB = 0.0;
    for (std::size_t index = 0; index < clients.size(); ++index) {
        ChildResult result = clients[index]->finish(kFinishTimeoutMs);
        if (!result.finished || cpuStart[index] < 0 || cpuEnd[index] < 0) {
            failure = "client " + std::to_string(index + 1) + " did not finish";
            return false;
        }
        heard.push_back(parseHeard(result.output));
        cpuSumUs += nsToUs(static_cast<double>(cpuEnd[index] - cpuStart[index]));
        clockCpuSumUs += result.values["clock_cpu_us"];
        clockListsSumUs += result.values["clock_cpu_lists_us"];
        clockFloodSumUs += result.values["clock_cpu_flood_us"];
        rssSumKiB += result.values["rss_kib"];
    }
    const double count = static_cast<double>(clients.size());
    figures.cpuPerClientUs = cpuSumUs / count;
    figures.clockCpuPerClientUs = clockCpuSumUs / count;
    figures.clockCpuPerListUs = clockListsSumUs / count / lists;
    figures.clockCpuPerCompletionUs = load.completions > 0 ? clockFloodSumUs / count / load.completions : 0.0;
    figures.rssKiB = rssSumKiB / count;
    return lastClientLatencies(heard, emitted, load, figures, failure);
}

} // namespace velbench
