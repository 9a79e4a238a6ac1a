// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "SignalClientSetup.h"

#include <cstdio>

#include "BenchCallbacks.h"
#include "ChildDrain.h"
#include "RawClient.h"
#include "vel/VelComProxyApp.h"
#include "vel/VelTypes.h"

namespace velbench {

namespace {

constexpr const char* kInterface = "com.qor.vel_communicator";
constexpr const char* kObjectPath = "/com/qor/vel_communicator";
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

struct NoticeListener {
    Arrivals* arrivals = nullptr;
    // Set when the baseline also acknowledges each list the way the library
    // does (informFromApp with APPINFO_RESPONSE_UPDATE and the list type).
    ComQorVel_communicator* acknowledgeThrough = nullptr;
};

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
    auto* listener = static_cast<NoticeListener*>(userData);
    listener->arrivals->record(0);
    if (listener->acknowledgeThrough != nullptr && notice <= 1) {
        com_qor_vel_communicator_call_inform_from_app(listener->acknowledgeThrough, APPINFO_RESPONSE_UPDATE,
                                                      notice == 0 ? "0" : "1", nullptr, nullptr, nullptr);
    }
}

// Messages of one connection are handled by the bus daemon in order, so once
// this round trip is answered the subscriptions sent before it are in force.
bool subscriptionsInForce(GDBusConnection* connection)
{
    GError* error = nullptr;
    GVariant* reply = g_dbus_connection_call_sync(connection, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                  "org.freedesktop.DBus", "GetId", nullptr, nullptr,
                                                  G_DBUS_CALL_FLAGS_NONE, 10000, nullptr, &error);
    if (reply == nullptr) {
        std::fprintf(stderr, "vel-bench-child: bus daemon not answering: %s\n", error->message);
        g_error_free(error);
        return false;
    }
    g_variant_unref(reply);
    return true;
}

} // namespace

bool setUpSignalClient(SignalClient client, SignalClientSetup& setup)
{
    static BenchAppCallback callback;
    static Arrivals rawCompletions;
    static Arrivals rawNotices;
    static NoticeListener noticeListener{&rawNotices, nullptr};

    setup.library = client == SignalClient::Library;
    if (setup.library) {
        VelComProxyApp* app = VelComProxyApp::getInstance(CLIENT_TYPE_APPLICATION_FIRST, "bench-signals", &callback);
        app->doInitialize();
        if (!callback.ready.waitFor(kReadyTimeoutMs)) {
            std::fprintf(stderr, "vel-bench-child: the library never became ready\n");
            return false;
        }
        setup.completions = &callback.completions;
        setup.notices = &callback.knownLists;
    } else {
        startDefaultMainLoopThread();
        setup.completions = &rawCompletions;
        setup.notices = &rawNotices;
        // Made on this thread, which has no context of its own: its signals
        // are handled on the default main context, like the library's proxy.
        if (client == SignalClient::RawAndProxy) {
            noticeListener.acknowledgeThrough = makeRawProxy();
            if (noticeListener.acknowledgeThrough == nullptr) {
                return false;
            }
        }
    }

    GError* error = nullptr;
    setup.connection = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, &error);
    if (setup.connection == nullptr) {
        std::fprintf(stderr, "vel-bench-child: no system bus: %s\n", error->message);
        g_error_free(error);
        return false;
    }
    countSignalsRead(setup.connection);
    if (!setup.library) {
        g_dbus_connection_signal_subscribe(setup.connection, nullptr, kInterface, "appRequestDone", kObjectPath,
                                           nullptr, G_DBUS_SIGNAL_FLAGS_NONE, onRawAppRequestDone, &rawCompletions,
                                           nullptr);
        g_dbus_connection_signal_subscribe(setup.connection, nullptr, kInterface, "noticeToApp", kObjectPath, nullptr,
                                           G_DBUS_SIGNAL_FLAGS_NONE, onRawNoticeToApp, &noticeListener, nullptr);
    }
    return subscriptionsInForce(setup.connection);
}

} // namespace velbench
