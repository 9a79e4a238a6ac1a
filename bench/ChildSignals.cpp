// Signals from the simulator to a callback, through the library or through a
// bare GDBus subscription on the same kind of connection (the shared system
// bus connection, dispatched on a thread that runs the default main context).

#include <gio/gio.h>

#include <cstdio>
#include <vector>

#include "Arrivals.h"
#include "BenchCallbacks.h"
#include "BenchClock.h"
#include "ChildModes.h"
#include "NullLogSink.h"
#include "RawClient.h"
#include "SimControl.h"
#include "Stats.h"
#include "vel/VelComProxyApp.h"

namespace velbench {

namespace {

constexpr const char* kInterface = "com.qor.vel_communicator";
constexpr const char* kObjectPath = "/com/qor/vel_communicator";
constexpr unsigned kWarmUpSignals = 500;
constexpr unsigned kWarmUpNotices = 20;
constexpr int kReadyTimeoutMs = 20000;

// The baseline's handlers do what any careful GDBus client does: check the
// type, unpack, hand the values on.
void onRawAppRequestDone(GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*,
                         GVariant* parameters, gpointer userData)
{
    if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(uusu)"))) {
        return;
    }
    guint32 request = 0;
    guint32 result = 0;
    const gchar* deviceId = nullptr;
    guint32 technology = 0;
    g_variant_get(parameters, "(uu&su)", &request, &result, &deviceId, &technology);
    static_cast<Arrivals*>(userData)->record(parseTimestamp(deviceId));
}

void onRawNoticeToApp(GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*, GVariant* parameters,
                      gpointer userData)
{
    if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(usi)"))) {
        return;
    }
    guint32 notice = 0;
    const gchar* info1 = nullptr;
    gint32 info2 = 0;
    g_variant_get(parameters, "(u&si)", &notice, &info1, &info2);
    static_cast<Arrivals*>(userData)->record(0);
}

struct Receivers {
    Arrivals* completions = nullptr;
    Arrivals* notices = nullptr;
};

GVariant* completionParams()
{
    // appRequestDone(APPREQ_CONNECT_SERVICE, result 0, deviceId = send time, technology 2)
    return g_variant_new("(uusu)", 0u, 0u, "@now", 2u);
}

GVariant* knownListNotice()
{
    // noticeToApp(NOTICE_KNOWN_DEVICES_UPDATED, "10", 0)
    return g_variant_new("(usi)", 0u, "10", 0);
}

bool runStream(SimControl& sim, Arrivals& arrivals, const char* signal, GVariant* params, unsigned count,
               unsigned rate)
{
    arrivals.reset(count);
    if (!sim.emitMany(signal, params, count, rate)) {
        return false;
    }
    const int timeoutMs = 30000 + (rate > 0 ? static_cast<int>(count * 1000ull / rate) : 0);
    if (!arrivals.waitFor(count, timeoutMs)) {
        std::fprintf(stderr, "vel-bench-child: %u of %u %s arrived\n", static_cast<unsigned>(arrivals.count()),
                     count, signal);
        return false;
    }
    return true;
}

void printLatencies(const char* prefix, const std::vector<std::uint64_t>& sent,
                    const std::vector<std::uint64_t>& arrived)
{
    std::vector<double> latencies;
    for (std::size_t index = 0; index < sent.size() && index < arrived.size(); ++index) {
        if (sent[index] != 0 && arrived[index] >= sent[index]) {
            latencies.push_back(static_cast<double>(arrived[index] - sent[index]));
        }
    }
    std::printf("%s_p50_us %.3f\n", prefix, nsToUs(percentile(latencies, 50)));
    std::printf("%s_p99_us %.3f\n", prefix, nsToUs(percentile(latencies, 99)));
    std::printf("%s_samples %zu\n", prefix, latencies.size());
}

} // namespace

int runSignalsChild(bool library, unsigned floodCount, unsigned latencyCount, unsigned latencyRate,
                    unsigned noticeCount, unsigned noticeRate)
{
    static BenchAppCallback callback;
    static Arrivals rawCompletions;
    static Arrivals rawNotices;
    Receivers receivers;

    if (library) {
        VelComProxyApp* app = VelComProxyApp::getInstance(CLIENT_TYPE_APPLICATION_FIRST, "bench-signals", &callback);
        app->doInitialize();
        if (!callback.ready.waitFor(kReadyTimeoutMs)) {
            std::fprintf(stderr, "vel-bench-child: the library never became ready\n");
            return 1;
        }
        receivers = {&callback.completions, &callback.knownLists};
    } else {
        startDefaultMainLoopThread();
        receivers = {&rawCompletions, &rawNotices};
    }

    GError* error = nullptr;
    GDBusConnection* connection = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, &error);
    if (connection == nullptr) {
        std::fprintf(stderr, "vel-bench-child: no system bus: %s\n", error->message);
        g_error_free(error);
        return 1;
    }
    if (!library) {
        g_dbus_connection_signal_subscribe(connection, nullptr, kInterface, "appRequestDone", kObjectPath, nullptr,
                                           G_DBUS_SIGNAL_FLAGS_NONE, onRawAppRequestDone, &rawCompletions, nullptr);
        g_dbus_connection_signal_subscribe(connection, nullptr, kInterface, "noticeToApp", kObjectPath, nullptr,
                                           G_DBUS_SIGNAL_FLAGS_NONE, onRawNoticeToApp, &rawNotices, nullptr);
    }
    SimControl sim(connection);

    // Subscriptions reach the bus asynchronously; a completed warm-up stream
    // shows that they are in place, and warms both sides up.
    receivers.completions->reset(kWarmUpSignals);
    for (int attempt = 0; attempt < 50; ++attempt) {
        sim.emitMany("appRequestDone", completionParams(), 1, 0);
        if (receivers.completions->waitFor(1, 100)) {
            break;
        }
    }
    if (!runStream(sim, *receivers.completions, "appRequestDone", completionParams(), kWarmUpSignals, 0)) {
        return 1;
    }

    if (!runStream(sim, *receivers.completions, "appRequestDone", completionParams(), floodCount, 0)) {
        return 1;
    }
    const std::vector<std::uint64_t> flood = receivers.completions->arrivalTimes();
    if (flood.size() >= 2 && flood.back() > flood.front()) {
        std::printf("flood_per_s %.1f\n",
                    static_cast<double>(flood.size() - 1) * 1e9 / static_cast<double>(flood.back() - flood.front()));
    }

    const std::uint64_t linesBefore = loggedLines();
    if (!runStream(sim, *receivers.completions, "appRequestDone", completionParams(), latencyCount, latencyRate)) {
        return 1;
    }
    if (latencyCount > 0) {
        std::printf("log_lines_per_completion %.2f\n",
                    static_cast<double>(loggedLines() - linesBefore) / static_cast<double>(latencyCount));
    }
    printLatencies("latency", receivers.completions->sentTimes(), receivers.completions->arrivalTimes());

    if (!runStream(sim, *receivers.notices, "noticeToApp", knownListNotice(), kWarmUpNotices, 0)) {
        return 1;
    }
    const std::uint64_t noticeLinesBefore = loggedLines();
    if (!runStream(sim, *receivers.notices, "noticeToApp", knownListNotice(), noticeCount, noticeRate)) {
        return 1;
    }
    if (noticeCount > 0) {
        std::printf("log_lines_per_notice %.2f\n",
                    static_cast<double>(loggedLines() - noticeLinesBefore) / static_cast<double>(noticeCount));
    }
    // Signals keep their order on the bus, so the n-th arrival belongs to the
    // n-th emission.
    printLatencies("notice", sim.emitTimes(), receivers.notices->arrivalTimes());
    if (library) {
        std::printf("known_list_size %zu\n", callback.lastKnownListSize);
    }
    return 0;
}

} // namespace velbench
