// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "ScaleReport.h"

#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <vector>

#include "BenchOptions.h"
#include "Report.h"
#include "Results.h"

namespace velbench {

namespace {

constexpr double kRatioTarget = 1.10;

// The numbers of clients the scale benchmark has figures for.
std::vector<int> measuredClients()
{
    std::vector<int> clients;
    for (const int count : options().scaleClients) {
        if (Results::instance().has("scale." + std::to_string(count) + ".rounds")) {
            clients.push_back(count);
        }
    }
    return clients;
}

std::string number(double value, int decimals)
{
    if (std::isnan(value)) {
        return "n/a";
    }
    char text[64];
    std::snprintf(text, sizeof(text), "%.*f", decimals, value);
    return text;
}

double scaleFigure(int clients, const std::string& key)
{
    return Results::instance().get("scale." + std::to_string(clients) + "." + key);
}

// "812.4 / 790.1 µs (×1.028)" for one signal kind and percentile.
std::string latencyCell(int clients, const char* kind, const char* p)
{
    const std::string base = std::string(kind) + ".";
    return number(scaleFigure(clients, base + "lib_" + p + "_us"), 0) + " / " +
           number(scaleFigure(clients, base + "raw_" + p + "_us"), 0) + " µs (×" +
           number(scaleFigure(clients, base + "ratio_" + p), 3) + "; rounds ×" +
           number(scaleFigure(clients, base + "ratio_" + p + "_min"), 2) + " to ×" +
           number(scaleFigure(clients, base + "ratio_" + p + "_max"), 2) + ")";
}

std::string pairCell(int clients, const char* figure, int decimals, const char* unit)
{
    return number(scaleFigure(clients, std::string(figure) + ".lib"), decimals) + " / " +
           number(scaleFigure(clients, std::string(figure) + ".raw"), decimals) + " " + unit;
}

std::string verdict(bool smoke, int clients)
{
    std::string text;
    for (const char* kind : {"list", "flood"}) {
        const TargetCheck check =
            recordTarget("scale." + std::to_string(clients) + "." + kind + ".ratio_p50", kRatioTarget, true);
        text += (text.empty() ? "" : ", ") + std::string(kind) + " " + verdictWord(check);
    }
    return smoke ? "smoke" : text;
}

} // namespace

std::string scaleReportSection(bool smoke)
{
    const std::vector<int> clients = measuredClients();
    if (clients.empty()) {
        return "";
    }
    const BenchOptions& run = options();
    std::ostringstream out;
    out << "\n### Many clients on one bus\n\n";
    out << "N application processes on the private bus at once; a library pass and a baseline pass alternate, "
        << "rounds: " << run.scaleRounds << " (each side's median round). The baseline is a GDBus subscription on a "
        << "thread running the default main context, with a proxy made like the library's and an `informFromApp` "
           "acknowledgement of each list. Per pass: "
        << run.scaleNotices << " known-list notices (after " << run.scaleWarmNotices
        << " left out) paced at most " << run.scaleMaxNoticeRate << "/s and " << run.scaleDeliveriesPerSecond
        << " deliveries/s over all clients, then a flood of " << run.scaleCompletions
        << " completions; each latency runs from the simulator's emission until the last client's callback had "
           "run. CPU per client is utime + stime from /proc/<pid>/stat over the pass (10 ms ticks; the clients' "
           "own CPU clock in brackets), the bus daemon's likewise; RSS is VmRSS after ready.\n\n";
    out << "| clients | notices/s | known list, last client p50: library / baseline | p99 | completion flood, last "
           "client p50 | p99 | CPU per client | bus daemon CPU | RSS per client | p50 ratio ≤ 1.10 |\n";
    out << "|---|---|---|---|---|---|---|---|---|---|\n";
    for (const int count : clients) {
        out << "| " << count << " | " << number(scaleFigure(count, "notice_rate"), 0) << " | "
            << latencyCell(count, "list", "p50") << " | " << latencyCell(count, "list", "p99") << " | "
            << latencyCell(count, "flood", "p50") << " | " << latencyCell(count, "flood", "p99") << " | "
            << pairCell(count, "cpu_per_client_us", 0, "µs") << " ("
            << pairCell(count, "clock_cpu_per_client_us", 0, "µs") << ") | " << pairCell(count, "bus_cpu_ms", 0, "ms")
            << " | " << pairCell(count, "rss_kib", 0, "KiB") << " | " << verdict(smoke, count) << " |\n";
    }
    out << "\n| clients | CPU per known list per client (own clock, warm-up included): library / baseline | CPU per "
           "completion of the flood per client | pass, ready to last completion |\n|---|---|---|---|\n";
    for (const int count : clients) {
        out << "| " << count << " | " << pairCell(count, "clock_cpu_per_list_us", 1, "µs") << " | "
            << pairCell(count, "clock_cpu_per_completion_us", 1, "µs") << " | " << pairCell(count, "pass_s", 2, "s")
            << " |\n";
    }
    double seconds = 0.0;
    for (const int count : clients) {
        seconds += scaleFigure(count, "seconds");
    }
    out << "\nThe scale benchmark took " << number(seconds, 1) << " s in all.\n";
    return out.str();
}

bool writeScaleData(const std::string& path)
{
    const std::vector<int> clients = measuredClients();
    if (clients.empty()) {
        return false;
    }
    std::ofstream out(path);
    out << "# clients";
    const std::vector<std::string> columns = {
        "list.lib_p50_us",  "list.raw_p50_us",  "list.lib_p99_us", "list.raw_p99_us",
        "flood.lib_p50_us", "flood.raw_p50_us", "flood.lib_p99_us", "flood.raw_p99_us",
        "rss_kib.lib",      "rss_kib.raw",      "cpu_per_client_us.lib", "cpu_per_client_us.raw",
        "clock_cpu_per_client_us.lib", "clock_cpu_per_client_us.raw"};
    for (const std::string& column : columns) {
        out << " " << column;
    }
    out << "\n";
    for (const int count : clients) {
        out << count;
        for (const std::string& column : columns) {
            const double value = scaleFigure(count, column);
            out << " " << (std::isnan(value) ? std::string("NaN") : number(value, 3));
        }
        out << "\n";
    }
    return static_cast<bool>(out);
}

} // namespace velbench
