// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "Report.h"

#include <gnu/libc-version.h>
#include <glib.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cmath>
#include <ctime>
#include <fstream>
#include <sstream>
#include <vector>

#include "BenchOptions.h"
#include "Results.h"
#include "ScaleReport.h"

namespace velbench {

std::vector<TargetCheck>& checkedTargets()
{
    static std::vector<TargetCheck> checks;
    return checks;
}

TargetCheck recordTarget(const std::string& key, double limit, bool atMost)
{
    const double value = Results::instance().get(key);
    const bool met = !std::isnan(value) && (atMost ? value <= limit : value >= limit);
    checkedTargets().push_back({key, limit, atMost ? "at_most" : "at_least", value, met});
    return checkedTargets().back();
}

std::string verdictWord(const TargetCheck& check)
{
    if (std::isnan(check.value)) {
        return "not measured";
    }
    return check.met ? "met" : "**missed**";
}

namespace {

std::string number(double value, int decimals)
{
    if (std::isnan(value)) {
        return "n/a";
    }
    std::ostringstream text;
    text.setf(std::ios::fixed);
    text.precision(decimals);
    text << value;
    return text.str();
}

std::string figure(const char* key, int decimals)
{
    return number(Results::instance().get(key), decimals);
}

enum class Bound { AtMost, AtLeast };

struct Row {
    std::string figure;
    std::string library;
    std::string baseline;
    std::string result;
    std::string target;
    std::string verdict;
};

// The first target a row misses decides its verdict.
std::string verdictFor(bool smoke, std::initializer_list<std::pair<const char*, double>> checks, Bound bound)
{
    std::string verdict = "met";
    for (const auto& [key, limit] : checks) {
        const TargetCheck check = recordTarget(key, limit, bound == Bound::AtMost);
        if (verdict == "met") {
            verdict = verdictWord(check);
        }
    }
    return smoke ? "smoke" : verdict;
}

// A rate measured by the wall clock swings with whatever else the machine
// runs; the CPU time the process spends per item does not. When the wall
// clock misses but the CPU time meets the target, the row says so.
std::string verdictWithCpu(bool smoke, const char* wallKey, const char* cpuKey, double limit)
{
    const std::string wall = verdictFor(smoke, {{wallKey, limit}}, Bound::AtLeast);
    if (wall != "**missed**") {
        return wall;
    }
    return verdictFor(smoke, {{cpuKey, limit}}, Bound::AtLeast) == "met" ? "met in CPU time; wall clock within noise"
                                                                        : wall;
}

std::vector<Row> targetRows(bool smoke)
{
    const Results& r = Results::instance();
    std::vector<Row> rows;
    rows.push_back({"sync request round trip: `checkPaired`",
                    "p50 " + figure("sync.lib_p50_us", 1) + " µs, p99 " + figure("sync.lib_p99_us", 1) + " µs",
                    "`call_action_from_app_sync`: p50 " + figure("sync.raw_p50_us", 1) + " µs, p99 " +
                        figure("sync.raw_p99_us", 1) + " µs",
                    "p50 ×" + figure("sync.ratio_p50", 3) + ", p99 ×" + figure("sync.ratio_p99", 3),
                    "≤ 1.05 (p50 and p99)",
                    verdictFor(smoke, {{"sync.ratio_p50", 1.05}, {"sync.ratio_p99", 1.05}}, Bound::AtMost)});
    rows.push_back({"async request rate: `doServiceConnect`", figure("async.lib_per_s", 0) + " calls/s",
                    "`call_action_from_app`: " + figure("async.raw_per_s", 0) + " calls/s",
                    "×" + figure("async.ratio", 3) + " (per round ×" + figure("async.ratio_min", 2) + " to ×" +
                        figure("async.ratio_max", 2) + ", median ×" + figure("async.ratio_median", 2) +
                        "); CPU time of the process per request " + figure("async.lib_cpu_us", 1) + " µs against " +
                        figure("async.raw_cpu_us", 1) + " µs: ×" + figure("async.cpu_ratio", 3),
                    "≥ 0.95", verdictWithCpu(smoke, "async.ratio", "async.cpu_ratio", 0.95)});
    rows.push_back({"signal to callback, flood: `appRequestDone` → `onRcvResponseConnectService`",
                    figure("drain.lib_drain_per_s", 0) + " signals/s",
                    "`g_dbus_connection_signal_subscribe`: " + figure("drain.raw_drain_per_s", 0) + " signals/s",
                    "×" + figure("drain.ratio", 3) + " (per round ×" + figure("drain.drain_ratio_round_min", 2) +
                        " to ×" + figure("drain.drain_ratio_round_max", 2) +
                        "); in CPU time per signal ×" + figure("drain.cpu_ratio", 3) +
                        "; against the baseline plus a proxy made like the library's (" +
                        figure("drain.proxy_drain_per_s", 0) + "/s): ×" + figure("drain.ratio_vs_proxy", 3) +
                        ", in CPU time ×" + figure("drain.cpu_ratio_vs_proxy", 3),
                    "against the baseline with the same proxy ≥ 0.95",
                    verdictWithCpu(smoke, "drain.ratio_vs_proxy", "drain.cpu_ratio_vs_proxy", 0.95)});
    rows.push_back({"signal to callback, latency at " + figure("lat.rate", 0) + "/s",
                    "p50 " + figure("lat.lib_p50_us", 1) + " µs, p99 " + figure("lat.lib_p99_us", 1) + " µs",
                    "p50 " + figure("lat.raw_p50_us", 1) + " µs, p99 " + figure("lat.raw_p99_us", 1) + " µs",
                    "p50 ×" + figure("lat.ratio_p50", 3) + "; signal by signal, library minus baseline " +
                        figure("lat.delta_p50_us", 1) + " µs (" + figure("lat.signals", 0) +
                        " signals; the daemon's order between two listeners alone: " +
                        figure("lat.order_effect_us", 1) + " µs)",
                    "p50 ≤ 1.10", verdictFor(smoke, {{"lat.ratio_p50", 1.10}}, Bound::AtMost)});
    rows.push_back({"device list delivery: `noticeToApp` 0 → `onRcvUpdateKnownDevices` (10 records)",
                    figure("drain.lib_notice_cpu_us", 1) + " µs of process CPU time per delivery; latency from " +
                        "emission, library minus the protocol baseline " + figure("list.own_us", 1) +
                        " µs (p50, median of " + figure("drain.rounds", 0) + " rounds)",
                    "the protocol baseline (a proxy made like the library's, and the acknowledgement): " +
                        figure("drain.proxy_notice_cpu_us", 1) + " µs; the contract's own copies, warm: " +
                        figure("list.floor_us", 2) + " µs",
                    "library minus baseline minus copies: " + figure("list.cpu_margin_us", 1) +
                        " µs (limit " + figure("list.cpu_target_us", 1) + " µs per delivery)",
                    "CPU ≤ baseline + copies + 3 µs; latency difference ≤ 15 µs",
                    verdictFor(smoke, {{"list.cpu_margin_us", 3.0}, {"list.own_us", 15.0}}, Bound::AtMost)});
    rows.push_back({"core-engine query: `sendReqGetWifiCredentialsSyncEx`, 3 records",
                    "p50 " + figure("core.lib_p50_us", 1) + " µs, p99 " + figure("core.lib_p99_us", 1) + " µs",
                    "`call_action_from_core_sync` + unpacking: p50 " + figure("core.raw_p50_us", 1) + " µs, p99 " +
                        figure("core.raw_p99_us", 1) + " µs",
                    "p50 ×" + figure("core.ratio_p50", 3) + " (p99 ×" + figure("core.ratio_p99", 3) + ")", "≤ 1.05",
                    verdictFor(smoke, {{"core.ratio_p50", 1.05}}, Bound::AtMost)});
    rows.push_back({"time to ready: `getInstance` + `doInitialize` → `onRcvMVELReady(true)`",
                    "median " + figure("ready.median_ms", 2) + " ms (min " + figure("ready.min_ms", 2) + ", p90 " +
                        figure("ready.p90_ms", 2) + "): " + figure("ready.before_pause_ms", 2) +
                        " ms to subscribed, pause " + figure("ready.pause_ms", 2) + " ms, " +
                        figure("ready.after_pause_ms", 2) + " ms registerMe to ready",
                    "the same bus steps without the library: median " + figure("ready.floor_ready_ms", 2) + " ms, " +
                        figure("ready.floor_subscribed_ms", 2) + " ms to subscribed",
                    figure("ready.median_ms", 2) + " ms; to subscribed, library minus floor " +
                        figure("ready.library_share_ms", 2) + " ms",
                    "≤ 12 ms median", verdictFor(smoke, {{"ready.median_ms", 12.0}}, Bound::AtMost)});
    rows.push_back({"idle cost: context switches of all library threads",
                    figure("idle.switches", 0) + " switches of " + figure("idle.threads", 0) + " threads in " +
                        figure("idle.seconds", 0) + " s",
                    "-", figure("idle.wakeups_per_s", 2) + " wake-ups/s", "0 wake-ups/s",
                    verdictFor(smoke, {{"idle.wakeups_per_s", 0.0}}, Bound::AtMost)});
    rows.push_back({"log line: `orna::log`, five pieces, null sink", figure("log.null_ns", 0) + " ns",
                    "snprintf of the same text: " + figure("log.snprintf_ns", 0) + " ns",
                    figure("log.null_ns", 0) + " ns per line", "≤ 1 µs per line",
                    verdictFor(smoke, {{"log.null_ns", 1000.0}}, Bound::AtMost)});
    rows.push_back({"log line suppressed by DLT's level: `orna::log`, five pieces, libvel-dlt",
                    figure("log.dlt_suppressed_ns", 1) + " ns (p99 " + figure("log.dlt_suppressed_p99_ns", 1) + " ns)",
                    "the same line sent to the daemon: " + figure("log.dlt_emitted_ns", 0) + " ns (p99 " +
                        figure("log.dlt_emitted_p99_ns", 0) + " ns)",
                    figure("log.dlt_suppressed_ns", 1) + " ns per line", "≤ 20 ns per line",
                    verdictFor(smoke, {{"log.dlt_suppressed_ns", 20.0}}, Bound::AtMost)});
    rows.push_back({"memory: RSS after ready", figure("memory.lib_rss_kib", 0) + " KiB",
                    "GDBus connection and proxy only: " + figure("memory.raw_rss_kib", 0) + " KiB",
                    "+" + number(r.get("memory.delta_kib") / 1024.0, 2) + " MiB", "≤ 2 MiB",
                    verdictFor(smoke, {{"memory.delta_kib", 2048.0}}, Bound::AtMost)});
    return rows;
}

std::vector<std::pair<std::string, std::string>> detailRows()
{
    return {
        {"memcpy 124920 bytes from the mapped store, destination page-aligned", figure("copy.aligned_us", 2) + " µs"},
        {"the same, destination at page offset 16", figure("copy.offset16_us", 2) + " µs"},
        {"known-list delivery, the contract's own work alone (zero the buffer, copy the list out, 10 list nodes, "
         "copy the valid records), warm, no bus, no log",
         figure("list.floor_us", 2) + " µs"},
        {"known-list delivery back to back (a backlog of notices drained), wall time per notice: library / raw",
         figure("drain.lib_notice_drain_us", 1) + " µs / " + figure("drain.raw_notice_drain_us", 1) + " µs"},
        {"the same, CPU time of the whole process per notice: library / raw (difference)",
         figure("drain.lib_notice_cpu_us", 1) + " µs / " + figure("drain.raw_notice_cpu_us", 1) + " µs (" +
             figure("list.extra_cpu_us", 1) + " µs)"},
        {"known-list notice latency p99: library / raw",
         figure("drain.lib_notice_p99_us", 1) + " µs / " + figure("drain.raw_notice_p99_us", 1) + " µs"},
        {"the same for the baseline that also keeps a proxy and acknowledges each list: wall / CPU per notice",
         figure("drain.proxy_notice_drain_us", 1) + " µs / " + figure("drain.proxy_notice_cpu_us", 1) + " µs"},
        {"CPU time of the whole process per completion in a backlog: library / baseline with proxy / raw",
         figure("drain.lib_drain_cpu_us", 2) + " µs / " + figure("drain.proxy_drain_cpu_us", 2) + " µs / " +
             figure("drain.raw_drain_cpu_us", 2) + " µs"},
        {"sync round trip p99 ratio in the first and in the second half of the pairs",
         "×" + figure("sync.ratio_p99_first_half", 3) + " / ×" + figure("sync.ratio_p99_second_half", 3)},
        {"log line with the library's default stderr sink (stderr to /dev/null)", figure("log.stderr_ns", 0) + " ns"},
        {"library log lines per `checkPaired`", figure("sync.log_lines_per_call", 1)},
        {"library log lines per `sendReqGetWifiCredentialsSyncEx`", figure("core.log_lines_per_call", 1)},
        {"library log lines per `appRequestDone` delivered", figure("drain.lib_log_lines_per_completion", 1)},
        {"library log lines per known-list notice delivered", figure("drain.lib_log_lines_per_notice", 1)},
        {"caller's thread per async request, best round: library / raw",
         figure("async.lib_issue_us", 2) + " µs / " + figure("async.raw_issue_us", 2) + " µs"},
        {"memory delta, anonymous / file-backed",
         figure("memory.delta_anon_kib", 0) + " KiB / " + figure("memory.delta_file_kib", 0) + " KiB"},
        {"start-up, median ms from the start to: watch set up / name appeared / presence checked / proxy made / "
         "subscribed, library",
         figure("ready.watching_ms", 2) + " / " + figure("ready.appeared_ms", 2) + " / " + figure("ready.present_ms", 2) +
             " / " + figure("ready.proxy_ms", 2) + " / " + figure("ready.before_pause_ms", 2)},
        {"the same steps without the library (the floor)",
         figure("ready.floor_connected_ms", 2) + " / " + figure("ready.floor_appeared_ms", 2) + " / " +
             figure("ready.floor_present_ms", 2) + " / " + figure("ready.floor_proxy_ms", 2) + " / " +
             figure("ready.floor_subscribed_ms", 2)},
        {"threads after ready: library process / raw process",
         figure("memory.lib_threads", 0) + " / " + figure("memory.raw_threads", 0)},
    };
}

std::string firstLineWith(const char* path, const std::string& prefix)
{
    std::ifstream file(path);
    std::string line;
    while (std::getline(file, line)) {
        if (line.rfind(prefix, 0) == 0) {
            const std::size_t colon = line.find(':');
            return colon == std::string::npos ? line : line.substr(colon + 2);
        }
    }
    return "unknown";
}

} // namespace

std::string loadAverage()
{
    std::ifstream file("/proc/loadavg");
    std::string one;
    std::string five;
    std::string fifteen;
    file >> one >> five >> fifteen;
    return one + " " + five + " " + fifteen;
}

MachineInfo describeMachine()
{
    MachineInfo machine;
    machine.cpuModel = firstLineWith("/proc/cpuinfo", "model name");
    machine.cores = sysconf(_SC_NPROCESSORS_ONLN);
    struct utsname name;
    machine.kernel = uname(&name) == 0 ? std::string(name.release) : "unknown";
    machine.glibc = gnu_get_libc_version();
    machine.glib = std::to_string(glib_major_version) + "." + std::to_string(glib_minor_version) + "." +
                   std::to_string(glib_micro_version);
    machine.loadAtStart = loadAverage();
    char date[64];
    const std::time_t now = std::time(nullptr);
    std::strftime(date, sizeof(date), "%Y-%m-%d %H:%M UTC", std::gmtime(&now));
    machine.date = date;
    return machine;
}

std::string markdownReport(const MachineInfo& machine, bool smoke)
{
    Results& results = Results::instance();
    if (results.has("list.extra_us") && results.has("copy.aligned_us")) {
        results.set("list.ratio", results.get("list.extra_us") / results.get("copy.aligned_us"));
    }
    const double copy = results.get("copy.aligned_us");
    results.set("list.cpu_ratio", results.get("list.extra_cpu_us") / copy);
    results.set("list.own_ratio", results.get("list.own_us") / copy);
    results.set("list.own_cpu_ratio", results.get("list.own_cpu_us") / copy);
    results.set("lat.rate", options().latencyRate);
    if (results.has("list.floor_us") && results.has("copy.aligned_us")) {
        results.set("list.floor_ratio", results.get("list.floor_us") / results.get("copy.aligned_us"));
    }
    // What a delivery may cost: what the protocol asks of any client, plus
    // the copies the contract makes, plus 3 µs.
    results.set("list.cpu_target_us", results.get("drain.proxy_notice_cpu_us") + results.get("list.floor_us") + 3.0);
    results.set("list.cpu_margin_us", results.get("drain.lib_notice_cpu_us") - results.get("drain.proxy_notice_cpu_us") -
                                          results.get("list.floor_us"));
    results.set("ready.library_share_ms",
                results.get("ready.before_pause_ms") - results.get("ready.floor_subscribed_ms"));

    std::ostringstream out;
    out << "## libvel benchmarks, " << machine.date << (smoke ? " (smoke run: one iteration each, not timings)" : "")
        << "\n\n";
    out << "Machine: " << machine.cores << " cores (nproc), " << machine.cpuModel << ", Linux " << machine.kernel
        << ", glibc " << machine.glibc << ", GLib " << machine.glib << ". Load average at start " << machine.loadAtStart
        << ", at end " << machine.loadAtEnd << ".\n\n";
    const BenchOptions& run = options();
    out << "How the figures are taken: request round trips over " << run.syncPairs << " (core engine "
        << run.corePairs << ") pairs, library and baseline call alternating in one loop; rates and signal figures "
           "as each side's best of alternating rounds ("
        << run.asyncRounds << " request rounds, " << run.signalRounds
        << " rounds of draining processes), since noise from other processes only ever slows a side down, with the "
           "spread of the per-round ratios beside them; latencies from "
        << run.latencySessions << " sessions in which a library process and a baseline process listen at the same "
           "time to the same signals, paired signal by signal; time to ready as the median of "
        << run.readyRuns << " fresh processes.\n\n";
    out << "| figure | library | baseline in the same run | result | target | |\n";
    out << "|---|---|---|---|---|---|\n";
    for (const Row& row : targetRows(smoke)) {
        out << "| " << row.figure << " | " << row.library << " | " << row.baseline << " | " << row.result << " | "
            << row.target << " | " << row.verdict << " |\n";
    }
    out << "\n| detail | value |\n|---|---|\n";
    for (const auto& [label, value] : detailRows()) {
        out << "| " << label << " | " << value << " |\n";
    }
    out << scaleReportSection(smoke);
    return out.str();
}

} // namespace velbench
