// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// The floor under time to ready: the bus steps that the library's start-up is
// bound to, made directly against GDBus and libdbus in the same order and on
// the same threads, with none of the library around them. Time to ready minus
// this is what the library itself adds.

#include <dbus/dbus.h>
#include <time.h>

#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <utility>

#include "BenchClock.h"
#include "ChildModes.h"
#include "RawClient.h"
#include "vel/VelTypes.h"

namespace velbench {

namespace {

constexpr const char* kServiceName = "com.qor.vel_communicator";
constexpr int kTimeoutMs = 20000;

// When each step ended, on the clock of nowNs(); 0 for a step not reached.
struct FloorSteps {
    std::uint64_t appearedNs = 0;
    std::uint64_t presentNs = 0;
    std::uint64_t proxyNs = 0;
    std::uint64_t subscribedNs = 0;
    std::uint64_t readyNs = 0;
};

struct FloorRun {
    std::mutex mutex;
    std::condition_variable changed;
    bool done = false;
    bool ok = false;
    std::uint64_t connectedNs = 0;
    FloorSteps steps;
};

void ignoreSignal(GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*, GVariant*, gpointer) {}

bool presenceCheck()
{
    DBusError error;
    dbus_error_init(&error);
    DBusConnection* connection = dbus_bus_get(DBUS_BUS_SYSTEM, &error);
    if (connection == nullptr) {
        dbus_error_free(&error);
        return false;
    }
    dbus_connection_set_exit_on_disconnect(connection, FALSE);
    const bool owned = dbus_bus_name_has_owner(connection, kServiceName, &error);
    dbus_error_free(&error);
    return owned;
}

// Runs on the main-loop thread, as the library's reaction to the name does.
void onAppeared(GDBusConnection*, const gchar*, const gchar*, gpointer data)
{
    auto* run = static_cast<FloorRun*>(data);
    FloorSteps steps;
    steps.appearedNs = nowNs();
    bool ok = false;
    const bool present = presenceCheck();
    steps.presentNs = nowNs();
    ComQorVel_communicator* proxy = present ? makeRawProxy() : nullptr;
    if (proxy != nullptr) {
        steps.proxyNs = nowNs();
        GDBusConnection* connection = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
        for (const char* member : {"appRequestDone", "checkFuncOpModeDone", "noticeToApp", "noticeTechActiveInfo"}) {
            g_dbus_connection_signal_subscribe(connection, nullptr, kServiceName, member, "/com/qor/vel_communicator",
                                               nullptr, G_DBUS_SIGNAL_FLAGS_NONE, &ignoreSignal, nullptr, nullptr);
        }
        steps.subscribedNs = nowNs();
        const struct timespec pause = {0, 10000000L};
        nanosleep(&pause, nullptr);
        gboolean registered = FALSE;
        ok = com_qor_vel_communicator_call_register_me_sync(proxy, CLIENT_TYPE_APPLICATION_FIRST, "bench-floor",
                                                            &registered, nullptr, nullptr) != FALSE;
        steps.readyNs = nowNs();
    }
    std::lock_guard<std::mutex> lock(run->mutex);
    if (!run->done) {
        run->done = true;
        run->ok = ok;
        run->steps = steps;
        run->changed.notify_all();
    }
}

void onVanished(GDBusConnection*, const gchar*, gpointer) {}

} // namespace

int runReadyFloorChild()
{
    static FloorRun run;
    startDefaultMainLoopThread();
    const std::uint64_t start = nowNs();
    GDBusConnection* connection = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
    if (connection == nullptr) {
        std::fprintf(stderr, "vel-bench-child: no system bus\n");
        return 1;
    }
    g_dbus_connection_set_exit_on_close(connection, FALSE);
    run.connectedNs = nowNs();
    g_bus_watch_name(G_BUS_TYPE_SYSTEM, kServiceName, G_BUS_NAME_WATCHER_FLAGS_NONE, &onAppeared, &onVanished, &run,
                     nullptr);
    std::unique_lock<std::mutex> lock(run.mutex);
    if (!run.changed.wait_for(lock, std::chrono::milliseconds(kTimeoutMs), [] { return run.done; }) || !run.ok) {
        std::fprintf(stderr, "vel-bench-child: the floor run never registered\n");
        return 1;
    }
    const std::pair<const char*, std::uint64_t> printed[] = {
        {"floor_connected_ms", run.connectedNs},
        {"floor_appeared_ms", run.steps.appearedNs},
        {"floor_present_ms", run.steps.presentNs},
        {"floor_proxy_ms", run.steps.proxyNs},
        {"floor_subscribed_ms", run.steps.subscribedNs},
        {"floor_ready_ms", run.steps.readyNs},
    };
    for (const auto& [name, ns] : printed) {
        std::printf("%s %.3f\n", name, static_cast<double>(ns - start) / 1e6);
    }
    return 0;
}

} // namespace velbench
