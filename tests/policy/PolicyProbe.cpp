// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// vel_policy_probe: does on the system bus what the policy tests need to try
// as one user or another, and prints the outcome, one line per attempt.
//   vel_policy_probe own                 asks for "com.qor.vel_communicator"
//   vel_policy_probe emit <deviceId>     emits noticeToApp (link loss of the
//                                        device) as the service would
//   vel_policy_probe call-all            calls every method of the service's
//                                        object: "<member> answered", "<member>
//                                        denied" or "<member> failed <error>"
//   vel_policy_probe listen <go-file>    hears every signal of the interface;
//                                        prints "listening", and once go-file
//                                        exists "received <member>" for each
//                                        signal heard, then "end"
// Each ends with a round trip to the bus, so that the bus has handled every
// attempt (and delivered every signal sent before) when the probe exits.
#include <gio/gio.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "InterfaceMembers.h"

namespace {

constexpr const char* kService = "com.qor.vel_communicator";
constexpr const char* kPath = "/com/qor/vel_communicator";
constexpr const char* kAccessDenied = "org.freedesktop.DBus.Error.AccessDenied";

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

std::string remoteErrorName(const GError* error)
{
    gchar* remote = g_dbus_error_get_remote_error(error);
    std::string name = remote != nullptr ? remote : error->message;
    g_free(remote);
    return name;
}

int own(GDBusConnection* connection)
{
    GError* error = nullptr;
    // 4: do not queue; the answer says at once whether the name was given.
    GVariant* reply = g_dbus_connection_call_sync(
        connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
        g_variant_new("(su)", kService, 4u), G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, &error);
    if (reply == nullptr) {
        std::printf("own refused %s\n", remoteErrorName(error).c_str());
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
    const gboolean sent = g_dbus_connection_emit_signal(connection, nullptr, kPath, kService, "noticeToApp",
                                                        g_variant_new("(usi)", 7u, deviceId, 2), &error);
    if (!sent) {
        std::printf("emit failed %s\n", error->message);
        g_error_free(error);
        return 1;
    }
    std::printf(roundTrip(connection) ? "emitted\n" : "emit unconfirmed\n");
    return 0;
}

int callAll(GDBusConnection* connection)
{
    for (const policytest::MethodTry& method : policytest::everyMethod()) {
        GError* error = nullptr;
        GVariant* reply = g_dbus_connection_call_sync(connection, kService, kPath, method.interface, method.member,
                                                      method.body(), nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START, 10000,
                                                      nullptr, &error);
        const std::string name = policytest::printedName(method);
        if (reply != nullptr) {
            std::printf("%s answered\n", name.c_str());
            g_variant_unref(reply);
            continue;
        }
        const std::string errorName = remoteErrorName(error);
        g_error_free(error);
        if (errorName == kAccessDenied) {
            std::printf("%s denied\n", name.c_str());
        } else {
            std::printf("%s failed %s\n", name.c_str(), errorName.c_str());
        }
    }
    return roundTrip(connection) ? 0 : 1;
}

void onSignal(GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar* member, GVariant*,
              gpointer heard)
{
    static_cast<std::vector<std::string>*>(heard)->push_back(member);
}

int listen(GDBusConnection* connection, const char* goFile)
{
    std::vector<std::string> heard;
    // One match for the whole interface, so that only the bus's policy
    // decides which of its signals arrive.
    const guint subscription =
        g_dbus_connection_signal_subscribe(connection, nullptr, kService, nullptr, kPath, nullptr,
                                           G_DBUS_SIGNAL_FLAGS_NONE, onSignal, &heard, nullptr);
    // The match is in place once the bus has answered a later call.
    if (!roundTrip(connection)) {
        std::printf("no round trip\n");
        return 1;
    }
    std::printf("listening\n");
    std::fflush(stdout);
    // The test creates go-file once the service has sent every signal; bounded
    // so that a forgotten probe ends by itself.
    for (int waited = 0; access(goFile, F_OK) != 0; ++waited) {
        if (waited == 3000) {
            std::printf("no go\n");
            return 1;
        }
        g_usleep(20000);
        while (g_main_context_iteration(nullptr, FALSE)) {
        }
    }
    // Every signal the bus delivered before this reply is already queued.
    const bool confirmed = roundTrip(connection);
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
    g_dbus_connection_signal_unsubscribe(connection, subscription);
    for (const std::string& member : heard) {
        std::printf("received %s\n", member.c_str());
    }
    std::printf(confirmed ? "end\n" : "end unconfirmed\n");
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    const std::string mode = argc >= 2 ? argv[1] : "";
    const bool valid = (argc == 2 && (mode == "own" || mode == "call-all")) ||
                       (argc == 3 && (mode == "emit" || mode == "listen"));
    if (!valid) {
        std::fprintf(stderr, "usage: vel_policy_probe own | emit <deviceId> | call-all | listen <go-file>\n");
        return 2;
    }
    GError* error = nullptr;
    GDBusConnection* connection = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, &error);
    if (connection == nullptr) {
        std::printf("no bus %s\n", error->message);
        g_error_free(error);
        return 1;
    }
    int status = 0;
    if (mode == "own") {
        status = own(connection);
    } else if (mode == "emit") {
        status = emit(connection, argv[2]);
    } else if (mode == "call-all") {
        status = callAll(connection);
    } else {
        status = listen(connection, argv[2]);
    }
    g_dbus_connection_flush_sync(connection, nullptr, nullptr);
    g_object_unref(connection);
    std::fflush(stdout);
    return status;
}
