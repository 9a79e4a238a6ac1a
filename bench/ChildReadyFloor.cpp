// The floor under time to ready: the bus steps that the library's start-up is
// bound to, made directly against GDBus and libdbus in the same order and on
// the same threads, with none of the library around them. Time to ready minus
// this is what the library itself adds.

#include <dbus/dbus.h>
#include <time.h>

#include <condition_variable>
#include <cstdio>
#include <mutex>

#include "BenchClock.h"
#include "ChildModes.h"
#include "RawClient.h"
#include "vel/VelTypes.h"

namespace velbench {

namespace {

constexpr const char* kServiceName = "com.qor.vel_communicator";
constexpr int kTimeoutMs = 20000;

struct FloorRun {
    std::mutex mutex;
    std::condition_variable changed;
    bool done = false;
    bool ok = false;
    std::uint64_t connectedNs = 0;
    std::uint64_t appearedNs = 0;
    std::uint64_t presentNs = 0;
    std::uint64_t proxyNs = 0;
    std::uint64_t subscribedNs = 0;
    std::uint64_t readyNs = 0;
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
    const std::uint64_t appearedNs = nowNs();
    bool ok = false;
    std::uint64_t presentNs = 0;
    std::uint64_t proxyNs = 0;
    std::uint64_t subscribedNs = 0;
    std::uint64_t readyNs = 0;
    ComQorVel_communicator* proxy = nullptr;
    const bool present = presenceCheck();
    presentNs = nowNs();
    if (present && (proxy = makeRawProxy()) != nullptr) {
        proxyNs = nowNs();
        GDBusConnection* connection = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
        for (const char* member : {"appRequestDone", "checkFuncOpModeDone", "noticeToApp", "noticeTechActiveInfo"}) {
            g_dbus_connection_signal_subscribe(connection, nullptr, kServiceName, member, "/com/qor/vel_communicator",
                                               nullptr, G_DBUS_SIGNAL_FLAGS_NONE, &ignoreSignal, nullptr, nullptr);
        }
        subscribedNs = nowNs();
        const struct timespec pause = {0, 10000000L};
        nanosleep(&pause, nullptr);
        gboolean registered = FALSE;
        ok = com_qor_vel_communicator_call_register_me_sync(proxy, CLIENT_TYPE_APPLICATION_FIRST, "bench-floor",
                                                            &registered, nullptr, nullptr) != FALSE;
        readyNs = nowNs();
    }
    std::lock_guard<std::mutex> lock(run->mutex);
    if (!run->done) {
        run->done = true;
        run->ok = ok;
        run->appearedNs = appearedNs;
        run->presentNs = presentNs;
        run->proxyNs = proxyNs;
        run->subscribedNs = subscribedNs;
        run->readyNs = readyNs;
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
    const auto sinceStart = [start](std::uint64_t ns) { return static_cast<double>(ns - start) / 1e6; };
    std::printf("floor_connected_ms %.3f\n", sinceStart(run.connectedNs));
    std::printf("floor_appeared_ms %.3f\n", sinceStart(run.appearedNs));
    std::printf("floor_present_ms %.3f\n", sinceStart(run.presentNs));
    std::printf("floor_proxy_ms %.3f\n", sinceStart(run.proxyNs));
    std::printf("floor_subscribed_ms %.3f\n", static_cast<double>(run.subscribedNs - start) / 1e6);
    std::printf("floor_ready_ms %.3f\n", static_cast<double>(run.readyNs - start) / 1e6);
    return 0;
}

} // namespace velbench
