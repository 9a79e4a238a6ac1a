// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// Requests, each library call timed next to its baseline call in the same
// loop, alternating which goes first, against the same simulator on the same
// connection.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <chrono>
#include <list>
#include <thread>
#include <string>
#include <vector>

#include "BenchClock.h"
#include "BenchOptions.h"
#include "BenchRegistry.h"
#include "NullLogSink.h"
#include "RequestWorld.h"
#include "Results.h"
#include "Stats.h"

namespace velbench {

namespace {

constexpr int kWarmUpPairs = 200;

struct PairedSamples {
    std::vector<double> library;
    std::vector<double> raw;
};

void publishPaired(benchmark::State& state, const std::string& prefix, const PairedSamples& samples)
{
    Results& results = Results::instance();
    const double libP50 = nsToUs(percentile(samples.library, 50));
    const double rawP50 = nsToUs(percentile(samples.raw, 50));
    const double libP99 = nsToUs(percentile(samples.library, 99));
    const double rawP99 = nsToUs(percentile(samples.raw, 99));
    results.set(prefix + ".lib_p50_us", libP50);
    results.set(prefix + ".raw_p50_us", rawP50);
    results.set(prefix + ".lib_p99_us", libP99);
    results.set(prefix + ".raw_p99_us", rawP99);
    results.set(prefix + ".ratio_p50", libP50 / rawP50);
    results.set(prefix + ".ratio_p99", libP99 / rawP99);
    state.counters["lib_p50_us"] = libP50;
    state.counters["raw_p50_us"] = rawP50;
    state.counters["lib_p99_us"] = libP99;
    state.counters["raw_p99_us"] = rawP99;
    state.counters["ratio_p50"] = libP50 / rawP50;
    state.counters["ratio_p99"] = libP99 / rawP99;
}

bool rawCheckPaired(ComQorVel_communicator* proxy)
{
    gboolean result = FALSE;
    GError* error = nullptr;
    if (!com_qor_vel_communicator_call_action_from_app_sync(proxy, APPREQ_CHECK_PAIRED, kPairedDeviceId,
                                                            TECHNOLOGY_NONE, "", &result, nullptr, &error)) {
        g_error_free(error);
        return false;
    }
    return result != FALSE;
}

template <typename LibraryCall, typename RawCall>
bool timePair(bool libraryFirst, LibraryCall&& libraryCall, RawCall&& rawCall, PairedSamples& samples)
{
    bool ok = true;
    for (int turn = 0; turn < 2; ++turn) {
        const bool library = (turn == 0) == libraryFirst;
        const std::uint64_t start = nowNs();
        ok = (library ? libraryCall() : rawCall()) && ok;
        const double elapsed = static_cast<double>(nowNs() - start);
        (library ? samples.library : samples.raw).push_back(elapsed);
    }
    return ok;
}

void syncRoundTrip(benchmark::State& state)
{
    RequestWorld* world = requestWorld();
    if (world == nullptr) {
        Results::instance().recordFailure("sync round trip: no clients");
        state.SkipWithError("no clients");
        return;
    }
    auto library = [world] { return world->app->checkPaired(kPairedDeviceId); };
    auto raw = [world] { return rawCheckPaired(world->raw); };
    PairedSamples warmUp;
    for (int pair = 0; pair < (options().smoke ? 1 : kWarmUpPairs); ++pair) {
        timePair(pair % 2 == 0, library, raw, warmUp);
    }
    PairedSamples samples;
    samples.library.reserve(static_cast<std::size_t>(state.max_iterations));
    samples.raw.reserve(static_cast<std::size_t>(state.max_iterations));
    const std::uint64_t linesBefore = loggedLines();
    bool ok = true;
    bool libraryFirst = true;
    for (auto _ : state) {
        ok = timePair(libraryFirst, library, raw, samples) && ok;
        libraryFirst = !libraryFirst;
    }
    if (!ok) {
        Results::instance().recordFailure("sync round trip: checkPaired did not answer true");
        state.SkipWithError("checkPaired did not answer true");
        return;
    }
    publishPaired(state, "sync", samples);
    // How far the tail moves within one run: the p99 ratio of each half.
    const std::size_t half = samples.library.size() / 2;
    for (int part = 0; part < 2 && half > 0; ++part) {
        const auto from = static_cast<std::ptrdiff_t>(part * half);
        const auto to = static_cast<std::ptrdiff_t>((part + 1) * half);
        const std::vector<double> library(samples.library.begin() + from, samples.library.begin() + to);
        const std::vector<double> raw(samples.raw.begin() + from, samples.raw.begin() + to);
        Results::instance().set(part == 0 ? "sync.ratio_p99_first_half" : "sync.ratio_p99_second_half",
                                percentile(library, 99) / percentile(raw, 99));
    }
    const double lines = static_cast<double>(loggedLines() - linesBefore) / static_cast<double>(state.iterations());
    Results::instance().set("sync.log_lines_per_call", lines);
    state.counters["log_lines_per_call"] = lines;
}

bool readCredentials(GVariant* credentials, std::list<WIFI_CREDENTIALS_s>& list)
{
    if (credentials == nullptr || !g_variant_is_of_type(credentials, G_VARIANT_TYPE("a(ssyuuss)"))) {
        return false;
    }
    GVariantIter iter;
    g_variant_iter_init(&iter, credentials);
    const gchar* ssid = nullptr;
    const gchar* password = nullptr;
    guint8 channel = 0;
    guint32 securityType = 0;
    guint32 port = 0;
    const gchar* ip = nullptr;
    const gchar* bssid = nullptr;
    while (g_variant_iter_next(&iter, "(&s&syuu&s&s)", &ssid, &password, &channel, &securityType, &port, &ip,
                               &bssid)) {
        WIFI_CREDENTIALS_s record;
        record.ssid = ssid;
        record.password = password;
        record.channel = channel;
        record.securityType = static_cast<SECURITY_TYPE_e>(securityType);
        record.port = port;
        record.ip = ip;
        record.bssid = bssid;
        list.push_back(std::move(record));
    }
    return !list.empty();
}

bool rawWifiCredentials(ComQorVel_communicator* proxy)
{
    gchar* information = nullptr;
    GVariant* credentials = nullptr;
    GError* error = nullptr;
    if (!com_qor_vel_communicator_call_action_from_core_sync(proxy, CLIENT_TYPE_CORE_ENGINE_FIRST,
                                                             COREREQ_GET_WIFI_CREDENTIALS, "", FALSE, "",
                                                             &information, &credentials, nullptr, &error)) {
        g_error_free(error);
        return false;
    }
    std::list<WIFI_CREDENTIALS_s> list;
    const bool ok = readCredentials(credentials, list) && list.size() == kCredentialRecords;
    g_free(information);
    g_variant_unref(credentials);
    return ok;
}

bool libraryWifiCredentials(VelComProxyCoreEngine* core)
{
    std::list<WIFI_CREDENTIALS_s> list;
    const CLIENT_TYPE_e clientType = CLIENT_TYPE_CORE_ENGINE_FIRST;
    const CORE_REQUEST_e request = COREREQ_GET_WIFI_CREDENTIALS;
    return core->sendReqGetWifiCredentialsSyncEx(clientType, request, list) && list.size() == kCredentialRecords;
}

void coreQuery(benchmark::State& state)
{
    RequestWorld* world = requestWorld();
    if (world == nullptr) {
        Results::instance().recordFailure("core-engine query: no clients");
        state.SkipWithError("no clients");
        return;
    }
    auto library = [world] { return libraryWifiCredentials(world->core); };
    auto raw = [world] { return rawWifiCredentials(world->raw); };
    PairedSamples warmUp;
    for (int pair = 0; pair < (options().smoke ? 1 : kWarmUpPairs); ++pair) {
        timePair(pair % 2 == 0, library, raw, warmUp);
    }
    PairedSamples samples;
    const std::uint64_t linesBefore = loggedLines();
    bool ok = true;
    bool libraryFirst = true;
    for (auto _ : state) {
        ok = timePair(libraryFirst, library, raw, samples) && ok;
        libraryFirst = !libraryFirst;
    }
    if (!ok) {
        Results::instance().recordFailure("core-engine query: credentials missing");
        state.SkipWithError("credentials missing");
        return;
    }
    publishPaired(state, "core", samples);
    const double lines = static_cast<double>(loggedLines() - linesBefore) / static_cast<double>(state.iterations());
    Results::instance().set("core.log_lines_per_call", lines);
    state.counters["log_lines_per_call"] = lines;
}

struct RatePhase {
    double callsPerSecond = 0.0;
    double issueUsPerCall = 0.0;
    // CPU time of this process per request, its completion included.
    double cpuUsPerCall = 0.0;
};

void settle()
{
    // Lets every thread of the process go idle, so that CPU readings are whole.
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

// Sends `calls` fire-and-forget requests and waits until the simulator has
// seen them all, then until their completions have come back, so that the
// next phase starts on a quiet bus.
template <typename Send>
bool runRatePhase(RequestWorld& world, int calls, std::size_t& completionsExpected, Send&& send, RatePhase& phase)
{
    if (!world.sim->resetCalls()) {
        return false;
    }
    settle();
    const std::uint64_t cpuStart = processCpuNs();
    const std::uint64_t start = nowNs();
    for (int call = 0; call < calls; ++call) {
        send();
    }
    const std::uint64_t issued = nowNs();
    const unsigned seen = world.sim->waitCalls("actionFromApp", static_cast<unsigned>(calls), 60000);
    const std::uint64_t end = nowNs();
    completionsExpected += static_cast<std::size_t>(calls);
    if (seen < static_cast<unsigned>(calls)) {
        std::fprintf(stderr, "vel-bench: the simulator saw %u of %d requests\n", seen, calls);
        return false;
    }
    phase.callsPerSecond = static_cast<double>(calls) * 1e9 / static_cast<double>(end - start);
    phase.issueUsPerCall = nsToUs(static_cast<double>(issued - start) / calls);
    if (!world.appCallback.completions.waitFor(completionsExpected, 60000)) {
        return false;
    }
    settle();
    // The two control calls to the simulator are in it too, alike for both sides.
    phase.cpuUsPerCall = nsToUs(static_cast<double>(processCpuNs() - cpuStart) / calls);
    return true;
}

void asyncRequestRate(benchmark::State& state)
{
    RequestWorld* world = requestWorld();
    if (world == nullptr) {
        Results::instance().recordFailure("async request rate: no clients");
        state.SkipWithError("no clients");
        return;
    }
    const int calls = options().asyncCalls;
    auto library = [world] {
        world->app->doServiceConnect(kPairedDeviceId, static_cast<TECHNOLOGY_e>(2), std::string());
    };
    auto raw = [world] {
        com_qor_vel_communicator_call_action_from_app(world->raw, APPREQ_CONNECT_SERVICE, kPairedDeviceId, 2, "",
                                                      nullptr, nullptr, nullptr);
    };
    // Completions are only counted here; nothing else arrives meanwhile.
    world->appCallback.completions.reset(0);
    std::size_t completionsExpected = 0;
    RatePhase warmUp;
    if (!runRatePhase(*world, calls / 5 + 1, completionsExpected, raw, warmUp) ||
        !runRatePhase(*world, calls / 5 + 1, completionsExpected, library, warmUp)) {
        Results::instance().recordFailure("async request rate: warm-up failed");
        state.SkipWithError("warm-up failed");
        return;
    }
    std::vector<double> libraryRates;
    std::vector<double> rawRates;
    std::vector<double> ratios;
    std::vector<double> libraryIssue;
    std::vector<double> rawIssue;
    std::vector<double> libraryCpu;
    std::vector<double> rawCpu;
    bool libraryFirst = false;
    for (auto _ : state) {
        RatePhase libraryPhase;
        RatePhase rawPhase;
        bool ok = true;
        for (int turn = 0; turn < 2 && ok; ++turn) {
            if ((turn == 0) == libraryFirst) {
                ok = runRatePhase(*world, calls, completionsExpected, library, libraryPhase);
            } else {
                ok = runRatePhase(*world, calls, completionsExpected, raw, rawPhase);
            }
        }
        if (!ok) {
            Results::instance().recordFailure("async request rate: requests or completions missing");
            state.SkipWithError("requests or completions missing");
            return;
        }
        libraryRates.push_back(libraryPhase.callsPerSecond);
        rawRates.push_back(rawPhase.callsPerSecond);
        ratios.push_back(libraryPhase.callsPerSecond / rawPhase.callsPerSecond);
        libraryIssue.push_back(libraryPhase.issueUsPerCall);
        rawIssue.push_back(rawPhase.issueUsPerCall);
        libraryCpu.push_back(libraryPhase.cpuUsPerCall);
        rawCpu.push_back(rawPhase.cpuUsPerCall);
        libraryFirst = !libraryFirst;
    }
    // The rate is the whole pipeline's (this process, the bus daemon and the
    // simulator on the same cores); noise only ever lowers it, so each side is
    // represented by its best round, and the per-round ratios show the noise.
    Results& results = Results::instance();
    const double libraryBest = percentile(libraryRates, 100);
    const double rawBest = percentile(rawRates, 100);
    results.set("async.lib_per_s", libraryBest);
    results.set("async.raw_per_s", rawBest);
    results.set("async.ratio", libraryBest / rawBest);
    results.set("async.ratio_min", percentile(ratios, 0));
    results.set("async.ratio_max", percentile(ratios, 100));
    results.set("async.ratio_median", median(ratios));
    results.set("async.lib_cpu_us", percentile(libraryCpu, 0));
    results.set("async.raw_cpu_us", percentile(rawCpu, 0));
    results.set("async.cpu_ratio", percentile(rawCpu, 0) / percentile(libraryCpu, 0));
    results.set("async.lib_issue_us", percentile(libraryIssue, 0));
    results.set("async.raw_issue_us", percentile(rawIssue, 0));
    state.counters["lib_per_s"] = libraryBest;
    state.counters["raw_per_s"] = rawBest;
    state.counters["ratio"] = libraryBest / rawBest;
    state.counters["ratio_median"] = median(ratios);
}

} // namespace

void registerRequestBenchmarks()
{
    const BenchOptions& run = options();
    benchmark::RegisterBenchmark("sync_request_round_trip", syncRoundTrip)
        ->Iterations(run.syncPairs)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("async_request_rate", asyncRequestRate)
        ->Iterations(run.asyncRounds)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("core_engine_query", coreQuery)->Iterations(run.corePairs)->Unit(benchmark::kMillisecond);
}

} // namespace velbench
