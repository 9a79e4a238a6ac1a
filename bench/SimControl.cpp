// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "SimControl.h"

#include <cstdio>

namespace velbench {

namespace {

constexpr const char* kSimBusName = "com.qor.vel_communicator";
constexpr const char* kSimControlPath = "/com/qor/vel_sim";
constexpr int kControlTimeoutMs = 10000;

GVariant* stringArray(const std::vector<std::string>& values)
{
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("as"));
    for (const std::string& value : values) {
        g_variant_builder_add(&builder, "s", value.c_str());
    }
    return g_variant_builder_end(&builder);
}

bool consume(GVariant* reply)
{
    if (reply == nullptr) {
        return false;
    }
    g_variant_unref(reply);
    return true;
}

} // namespace

SimControl::SimControl(GDBusConnection* connection)
    : mpConnection(G_DBUS_CONNECTION(g_object_ref(connection)))
{
}

SimControl::~SimControl()
{
    g_object_unref(mpConnection);
}

GVariant* SimControl::call(const char* interface, const char* method, GVariant* params, int timeoutMs)
{
    GError* error = nullptr;
    GVariant* reply = g_dbus_connection_call_sync(mpConnection, kSimBusName, kSimControlPath, interface, method,
                                                  params, nullptr, G_DBUS_CALL_FLAGS_NONE, timeoutMs, nullptr,
                                                  &error);
    if (reply == nullptr) {
        std::fprintf(stderr, "vel-bench: %s.%s failed: %s\n", interface, method, error->message);
        g_error_free(error);
    }
    return reply;
}

bool SimControl::emitMany(const char* signal, GVariant* params, unsigned count, unsigned ratePerSecond)
{
    return consume(call("com.qor.vel_sim.Bench", "EmitMany",
                        g_variant_new("(svuu)", signal, params, count, ratePerSecond), kControlTimeoutMs));
}

std::vector<std::uint64_t> SimControl::emitTimes()
{
    std::vector<std::uint64_t> times;
    GVariant* reply = call("com.qor.vel_sim.Bench", "EmitTimes", nullptr, kControlTimeoutMs);
    if (reply == nullptr) {
        return times;
    }
    if (g_variant_is_of_type(reply, G_VARIANT_TYPE("(at)"))) {
        GVariant* array = g_variant_get_child_value(reply, 0);
        gsize count = 0;
        const auto* values = static_cast<const guint64*>(g_variant_get_fixed_array(array, &count, sizeof(guint64)));
        times.assign(values, values + count);
        g_variant_unref(array);
    }
    g_variant_unref(reply);
    return times;
}

unsigned SimControl::waitCalls(const char* member, unsigned count, unsigned timeoutMs)
{
    GVariant* reply = call("com.qor.vel_sim.Bench", "WaitCalls", g_variant_new("(suu)", member, count, timeoutMs),
                           static_cast<int>(timeoutMs) + kControlTimeoutMs);
    guint32 seen = 0;
    if (reply != nullptr && g_variant_is_of_type(reply, G_VARIANT_TYPE("(u)"))) {
        g_variant_get(reply, "(u)", &seen);
    }
    if (reply != nullptr) {
        g_variant_unref(reply);
    }
    return seen;
}

bool SimControl::resetCalls()
{
    return consume(call("com.qor.vel_sim.Bench", "ResetCalls", nullptr, kControlTimeoutMs));
}

bool SimControl::setPaired(const std::vector<std::string>& deviceIds)
{
    return consume(
        call("com.qor.vel_sim.App", "SetPaired", g_variant_new("(@as)", stringArray(deviceIds)), kControlTimeoutMs));
}

bool SimControl::setWifiCredentials(unsigned count)
{
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("a(ssyuuss)"));
    for (unsigned index = 0; index < count; ++index) {
        gchar* ssid = g_strdup_printf("vel-bench-ap-%u", index);
        gchar* bssid = g_strdup_printf("02:00:00:00:00:%02x", index & 0xffu);
        g_variant_builder_add(&builder, "(ssyuuss)", ssid, "vel-bench-passphrase", static_cast<guint8>(36 + index),
                              3u, 7236u + index, "192.168.49.1", bssid);
        g_free(ssid);
        g_free(bssid);
    }
    return consume(call("com.qor.vel_sim.Core", "SetWifiCredentials",
                        g_variant_new("(@a(ssyuuss))", g_variant_builder_end(&builder)), kControlTimeoutMs));
}

bool SimControl::publishKnown(const std::vector<std::string>& deviceIds)
{
    GVariant* reply = call("com.qor.vel_sim.Store", "PublishKnown", g_variant_new("(@as)", stringArray(deviceIds)),
                           kControlTimeoutMs);
    gboolean published = FALSE;
    if (reply != nullptr && g_variant_is_of_type(reply, G_VARIANT_TYPE("(b)"))) {
        g_variant_get(reply, "(b)", &published);
    }
    if (reply != nullptr) {
        g_variant_unref(reply);
    }
    return published != FALSE;
}

} // namespace velbench
