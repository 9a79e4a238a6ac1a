// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// vel_policy_probe: does on the system bus what the policy tests need to try
// as one user or another, and prints the outcome on one line.
//   vel_policy_probe own                 asks for "com.qor.vel_communicator"
//   vel_policy_probe emit <deviceId>     emits noticeToApp (link loss of the
//                                        device) as the service would
// Both end with a round trip to the bus, so that the bus has handled the
// attempt when the probe exits.
#include <gio/gio.h>

#include <cstdio>
#include <cstring>

namespace {

bool roundTrip(GDBusConnection* connection)
{
    GVariant* reply = g_dbus_connection_call_sync(connection, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                  "org.freedesktop.DBus", "GetId", nullptr, G_VARIANT_TYPE("(s)"),
                                                  G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, nullptr);
    if (reply == nullptr) {
        return false;
    }
    g_variant_unref(reply);
    return true;
}

int own(GDBusConnection* connection)
{
    GError* error = nullptr;
    // 4: do not queue; the answer says at once whether the name was given.
    GVariant* reply = g_dbus_connection_call_sync(
        connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
        g_variant_new("(su)", "com.qor.vel_communicator", 4u), G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE, 5000,
        nullptr, &error);
    if (reply == nullptr) {
        gchar* remote = g_dbus_error_get_remote_error(error);
        std::printf("own refused %s\n", remote != nullptr ? remote : error->message);
        g_free(remote);
        g_error_free(error);
        return 0;
    }
    guint32 result = 0;
    g_variant_get(reply, "(u)", &result);
    g_variant_unref(reply);
    std::printf("own reply %u\n", result);
    return 0;
}

int emit(GDBusConnection* connection, const char* deviceId)
{
    GError* error = nullptr;
    // Notice 7 (link loss) with technology 2.
    const gboolean sent = g_dbus_connection_emit_signal(connection, nullptr, "/com/qor/vel_communicator",
                                                        "com.qor.vel_communicator", "noticeToApp",
                                                        g_variant_new("(usi)", 7u, deviceId, 2), &error);
    if (!sent) {
        std::printf("emit failed %s\n", error->message);
        g_error_free(error);
        return 1;
    }
    std::printf(roundTrip(connection) ? "emitted\n" : "emit unconfirmed\n");
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    const bool wantsOwn = argc == 2 && std::strcmp(argv[1], "own") == 0;
    const bool wantsEmit = argc == 3 && std::strcmp(argv[1], "emit") == 0;
    if (!wantsOwn && !wantsEmit) {
        std::fprintf(stderr, "usage: vel_policy_probe own | emit <deviceId>\n");
        return 2;
    }
    GError* error = nullptr;
    GDBusConnection* connection = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, &error);
    if (connection == nullptr) {
        std::printf("no bus %s\n", error->message);
        g_error_free(error);
        return 1;
    }
    const int status = wantsOwn ? own(connection) : emit(connection, argv[2]);
    g_dbus_connection_flush_sync(connection, nullptr, nullptr);
    g_object_unref(connection);
    std::fflush(stdout);
    return status;
}
