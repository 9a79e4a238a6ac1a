// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// Figures of a whole application process: time to ready, resident memory and
// wake-ups while nothing happens.

#include <time.h>

#include <cstdio>
#include <map>

#include "BenchCallbacks.h"
#include "BenchClock.h"
#include "ChildModes.h"
#include "NullLogSink.h"
#include "ProcStatus.h"
#include "RawClient.h"
#include "vel/VelComProxyApp.h"

namespace velbench {

namespace {

constexpr int kReadyTimeoutMs = 20000;

void sleepMs(unsigned ms)
{
    struct timespec delay = {static_cast<time_t>(ms / 1000), static_cast<long>(ms % 1000) * 1000000L};
    while (nanosleep(&delay, &delay) != 0) {
    }
}

BenchAppCallback& callback()
{
    static BenchAppCallback instance;
    return instance;
}

bool startApplication(const char* name)
{
    VelComProxyApp* app = VelComProxyApp::getInstance(CLIENT_TYPE_APPLICATION_FIRST, name, &callback());
    app->doInitialize();
    if (!callback().ready.waitFor(kReadyTimeoutMs)) {
        std::fprintf(stderr, "vel-bench-child: the library never became ready\n");
        return false;
    }
    return true;
}

void printMemory()
{
    std::printf("rss_kib %ld\n", statusKiB("VmRSS"));
    std::printf("rss_anon_kib %ld\n", statusKiB("RssAnon"));
    std::printf("rss_file_kib %ld\n", statusKiB("RssFile"));
    std::printf("threads %ld\n", statusKiB("Threads"));
}

} // namespace

int runReadyChild()
{
    // The stated pause sits between the subscriptions and registerMe; the
    // first line of registerMe marks its end. The other steps of start-up
    // are marked by their first lines, named like the floor's steps.
    static const char* const kSteps[] = {"Watching mvel D-Bus service name", "OnDBusNameAppeared()",
                                         "[openProxy] openProxy()", "[checkProxyAvailable] "};
    static const char* const kStepNames[] = {"watching_ms", "appeared_ms", "present_ms", "proxy_ms"};
    watchTimeline(kSteps, sizeof(kSteps) / sizeof(kSteps[0]));
    startTimeline("[registerMe] ");
    const std::uint64_t start = nowNs();
    if (!startApplication("bench-ready")) {
        return 1;
    }
    const std::uint64_t ready = nowNs();
    const TimelineMark registerMe = timelineMark();
    std::printf("ready_ms %.3f\n", static_cast<double>(ready - start) / 1e6);
    if (registerMe.markNs != 0 && registerMe.previousNs != 0) {
        std::printf("before_pause_ms %.3f\n", static_cast<double>(registerMe.previousNs - start) / 1e6);
        std::printf("pause_ms %.3f\n", static_cast<double>(registerMe.markNs - registerMe.previousNs) / 1e6);
        std::printf("after_pause_ms %.3f\n", static_cast<double>(ready - registerMe.markNs) / 1e6);
    }
    for (std::size_t step = 0; step < sizeof(kSteps) / sizeof(kSteps[0]); ++step) {
        if (timelineTimeOf(step) != 0) {
            std::printf("%s %.3f\n", kStepNames[step], static_cast<double>(timelineTimeOf(step) - start) / 1e6);
        }
    }
    return 0;
}

int runMemoryChild(bool library)
{
    if (library) {
        if (!startApplication("bench-memory")) {
            return 1;
        }
    } else {
        GError* error = nullptr;
        GDBusConnection* connection = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, &error);
        if (connection == nullptr) {
            std::fprintf(stderr, "vel-bench-child: no system bus: %s\n", error->message);
            g_error_free(error);
            return 1;
        }
        if (makeRawProxy() == nullptr) {
            return 1;
        }
    }
    // Lets late replies and their allocations settle.
    sleepMs(300);
    printMemory();
    return 0;
}

int runIdleChild(unsigned seconds)
{
    if (!startApplication("bench-idle")) {
        return 1;
    }
    sleepMs(500);
    const std::map<int, std::uint64_t> before = contextSwitchesOfOtherThreads();
    sleepMs(seconds * 1000);
    const std::map<int, std::uint64_t> after = contextSwitchesOfOtherThreads();
    std::uint64_t total = 0;
    for (const auto& [tid, switches] : after) {
        const auto earlier = before.find(tid);
        const std::uint64_t delta = earlier != before.end() ? switches - earlier->second : switches;
        total += delta;
        std::printf("thread_%d_%s %llu\n", tid, threadName(tid).c_str(), static_cast<unsigned long long>(delta));
    }
    std::printf("idle_threads %zu\n", after.size());
    std::printf("idle_switches %llu\n", static_cast<unsigned long long>(total));
    std::printf("idle_wakeups_per_s %.3f\n", static_cast<double>(total) / static_cast<double>(seconds));
    return 0;
}

} // namespace velbench
