// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// Core engine side of the simulator: answers the core engine's synchronous
// queries (device ids, Wi-Fi credentials, the head unit's Bluetooth address),
// takes its reports, and emits the six core engine signals on command.

#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "SimModule.h"

namespace {

constexpr guint32 kRequestGetDeviceId = 1;
constexpr guint32 kRequestGetWifiCredentials = 2;
constexpr guint32 kRequestGetHuBtMac = 3;

struct Credentials {
    std::string ssid;
    std::string password;
    guint8 channel;
    guint32 securityType;
    guint32 port;
    std::string ip;
    std::string bssid;
};

struct CoreState {
    std::map<guint32, std::string> deviceIds;
    std::vector<Credentials> credentials;
    std::string btMacAddress = "00:11:22:33:44:55";
    bool malformedReply = false;
};

CoreState gState;
gchar** gDeviceIdOptions = nullptr;
gchar** gCredentialOptions = nullptr;
gchar* gBtMacOption = nullptr;
gboolean gNoCredentials = FALSE;
gchar* gConnectOnRegisterOption = nullptr;

// A connect request sent to every core engine that registers (demo mode).
struct ConnectOnRegister {
    bool enabled = false;
    std::string deviceId;
    guint32 technology = 0;
};
ConnectOnRegister gConnectOnRegister;
GDBusConnection* gConnection = nullptr;

void setDefaults()
{
    // Technology T answers "T0001" until told otherwise.
    for (guint32 technology : {4u, 5u, 6u, 7u, 14u, 15u}) {
        gState.deviceIds[technology] = std::to_string(technology) + "0001";
    }
    gState.credentials = {{"vel-sim-ap", "vel-sim-pass", 36, 3, 7236, "192.168.49.1", "02:00:00:00:00:01"}};
}

// The service recognises the technology of a device id query by the client
// kind and the data text the library sends.
bool technologyOfQuery(guint32 clientType, const std::string& data, guint32& technology)
{
    const bool support = data == "support_wireless";
    if (!support && data != "unsupport_wireless") {
        return false;
    }
    switch (clientType) {
    case 200: technology = support ? 4 : 5; return true;
    case 201: technology = support ? 6 : 7; return true;
    case 105: technology = support ? 14 : 15; return true;
    default: return false;
    }
}

GVariant* credentialsVariant()
{
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("a(ssyuuss)"));
    for (const Credentials& c : gState.credentials) {
        g_variant_builder_add(&builder, "(ssyuuss)", c.ssid.c_str(), c.password.c_str(), c.channel, c.securityType,
                              c.port, c.ip.c_str(), c.bssid.c_str());
    }
    return g_variant_builder_end(&builder);
}

// Parses "SSID,PASSWORD,CHANNEL,SECURITY,PORT,IP,BSSID".
bool parseCredentials(const char* text, Credentials& out)
{
    gchar** parts = g_strsplit(text, ",", 7);
    const bool complete = g_strv_length(parts) == 7;
    if (complete) {
        out = {parts[0], parts[1], static_cast<guint8>(std::strtoul(parts[2], nullptr, 10)),
               static_cast<guint32>(std::strtoul(parts[3], nullptr, 10)),
               static_cast<guint32>(std::strtoul(parts[4], nullptr, 10)), parts[5], parts[6]};
    }
    g_strfreev(parts);
    return complete;
}

void replyWithWrongType(GDBusMethodInvocation* invocation)
{
    // The skeleton refuses replies that do not match the interface, so a raw
    // message carries the malformed one.
    GDBusMessage* reply = g_dbus_message_new_method_reply(g_dbus_method_invocation_get_message(invocation));
    g_dbus_message_set_body(reply, g_variant_new("(s)", "malformed"));
    g_dbus_connection_send_message(g_dbus_method_invocation_get_connection(invocation), reply,
                                   G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
    g_object_unref(reply);
    g_object_unref(invocation);
}

gboolean onActionFromCore(ComQorVel_communicator* skeleton, GDBusMethodInvocation* invocation, guint clientType,
                          guint request, const gchar* coreInfo, gboolean, const gchar*, gpointer)
{
    if (gState.malformedReply) {
        sim::logLine("answer actionFromCore with a wrong reply type");
        replyWithWrongType(invocation);
        return TRUE;
    }
    std::string information;
    GVariant* credentials = nullptr;
    if (request == kRequestGetDeviceId) {
        guint32 technology = 0;
        if (technologyOfQuery(clientType, coreInfo, technology)) {
            information = gState.deviceIds[technology];
        } else {
            sim::logLine("actionFromCore device id query names no technology (clientType %u, data \"%s\")",
                         clientType, coreInfo);
        }
    } else if (request == kRequestGetWifiCredentials) {
        credentials = credentialsVariant();
    } else if (request == kRequestGetHuBtMac) {
        information = gState.btMacAddress;
    }
    if (credentials == nullptr) {
        credentials = g_variant_new_array(G_VARIANT_TYPE("(ssyuuss)"), nullptr, 0);
    }
    gchar* printed = g_variant_print(credentials, TRUE);
    sim::logLine("answer actionFromCore ('%s', %s)", information.c_str(), printed);
    g_free(printed);
    com_qor_vel_communicator_complete_action_from_core(skeleton, invocation, information.c_str(), credentials);
    return TRUE;
}

gboolean onInformFromCore(ComQorVel_communicator* skeleton, GDBusMethodInvocation* invocation, guint, guint, guint,
                          const gchar*, guint, const gchar*, gboolean, gpointer)
{
    // The call line already shows every argument.
    com_qor_vel_communicator_complete_inform_from_core(skeleton, invocation);
    return TRUE;
}

gboolean emitConnectRequest(gpointer)
{
    GVariant* parameters = g_variant_new("(uusuuusssuu)", 1u, gConnectOnRegister.technology,
                                         gConnectOnRegister.deviceId.c_str(), 0u, 0u, 0u, "", "", "", 0u, 0u);
    gchar* printed = g_variant_print(parameters, TRUE);
    sim::logLine("emit actionToCore %s", printed);
    g_free(printed);
    g_dbus_connection_emit_signal(gConnection, nullptr, sim::kServicePath, sim::kServiceName, "actionToCore",
                                  parameters, nullptr);
    return G_SOURCE_REMOVE;
}

// Sees registerMe on GDBus's worker thread. A client subscribes before it
// registers, so a request emitted from here on reaches it.
GDBusMessage* watchCoreRegistrations(GDBusConnection*, GDBusMessage* message, gboolean incoming, gpointer)
{
    if (!incoming || g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_METHOD_CALL ||
        g_strcmp0(g_dbus_message_get_member(message), "registerMe") != 0 ||
        g_strcmp0(g_dbus_message_get_interface(message), sim::kServiceName) != 0) {
        return message;
    }
    GVariant* body = g_dbus_message_get_body(message);
    if (body != nullptr && g_variant_is_of_type(body, G_VARIANT_TYPE("(us)"))) {
        guint32 type = 0;
        g_variant_get(body, "(u&s)", &type, nullptr);
        if (type >= 200 && type <= 203) {
            // A short pause lets the registration reply go first, as the
            // service does; the request would arrive without it too.
            g_timeout_add(50, emitConnectRequest, nullptr);
        }
    }
    return message;
}

const char* const kCoreControlXml = R"XML(
<interface name="com.qor.vel_sim.Core">
  <!-- Answer of a device id query for one technology (4, 5, 6, 7, 14, 15). -->
  <method name="SetDeviceId">
    <arg name="technology" type="u" direction="in"/>
    <arg name="deviceId" type="s" direction="in"/>
  </method>
  <!-- Answer of the Wi-Fi credentials query, in this order; may be empty. -->
  <method name="SetWifiCredentials">
    <arg name="credentials" type="a(ssyuuss)" direction="in"/>
  </method>
  <method name="SetBtMacAddress">
    <arg name="macAddress" type="s" direction="in"/>
  </method>
  <!-- true: answer every actionFromCore with a "(s)" reply. -->
  <method name="SetMalformedReply">
    <arg name="enabled" type="b" direction="in"/>
  </method>
  <method name="EmitActionToCore">
    <arg name="action" type="u" direction="in"/>
    <arg name="technology" type="u" direction="in"/>
    <arg name="deviceId" type="s" direction="in"/>
    <arg name="vendorId" type="u" direction="in"/>
    <arg name="productId" type="u" direction="in"/>
    <arg name="portNum" type="u" direction="in"/>
    <arg name="serial" type="s" direction="in"/>
    <arg name="devpath" type="s" direction="in"/>
    <arg name="macAddress" type="s" direction="in"/>
    <arg name="cond" type="u" direction="in"/>
    <arg name="reason" type="u" direction="in"/>
  </method>
  <method name="EmitActionToCoreWireless">
    <arg name="action" type="u" direction="in"/>
    <arg name="technology" type="u" direction="in"/>
    <arg name="deviceId" type="s" direction="in"/>
    <arg name="deviceSppNodePath" type="s" direction="in"/>
    <arg name="information" type="s" direction="in"/>
    <arg name="cond" type="u" direction="in"/>
    <arg name="reason" type="u" direction="in"/>
  </method>
  <method name="EmitCheckCapability">
    <arg name="deviceId" type="s" direction="in"/>
    <arg name="technology" type="u" direction="in"/>
    <arg name="deviceSppNodepath" type="s" direction="in"/>
    <arg name="macBT" type="s" direction="in"/>
    <arg name="wifiCredentialsList" type="a(ssyuuss)" direction="in"/>
  </method>
  <method name="EmitCoreRequestDone">
    <arg name="coreRequest" type="u" direction="in"/>
    <arg name="result" type="u" direction="in"/>
    <arg name="coreInfo" type="s" direction="in"/>
  </method>
  <method name="EmitNoticeToCoreLinkLoss">
    <arg name="ip" type="s" direction="in"/>
  </method>
  <method name="EmitNoticeToCore">
    <arg name="noticeType" type="u" direction="in"/>
    <arg name="noticeInfo1" type="s" direction="in"/>
    <arg name="noticeInfo2" type="s" direction="in"/>
  </method>
</interface>
)XML";

// Each Emit method's arguments are exactly the signal's, so they go out as they came.
const std::map<std::string, std::string> kEmitters = {
    {"EmitActionToCore", "actionToCore"},
    {"EmitActionToCoreWireless", "actionToCoreWireless"},
    {"EmitCheckCapability", "checkCapability"},
    {"EmitCoreRequestDone", "coreRequestDone"},
    {"EmitNoticeToCoreLinkLoss", "noticeToCoreLinkLoss"},
    {"EmitNoticeToCore", "noticeToCore"},
};

void onCoreControlCall(GDBusConnection* connection, const gchar*, const gchar*, const gchar*, const gchar* method,
                       GVariant* parameters, GDBusMethodInvocation* invocation, gpointer)
{
    const auto emitter = kEmitters.find(method);
    if (emitter != kEmitters.end()) {
        gchar* printed = g_variant_print(parameters, TRUE);
        sim::logLine("emit %s %s", emitter->second.c_str(), printed);
        g_free(printed);
        GError* error = nullptr;
        if (!g_dbus_connection_emit_signal(connection, nullptr, sim::kServicePath, sim::kServiceName,
                                           emitter->second.c_str(), parameters, &error)) {
            g_dbus_method_invocation_return_gerror(invocation, error);
            g_error_free(error);
            return;
        }
    } else if (g_strcmp0(method, "SetDeviceId") == 0) {
        guint32 technology = 0;
        const gchar* deviceId = nullptr;
        g_variant_get(parameters, "(u&s)", &technology, &deviceId);
        gState.deviceIds[technology] = deviceId;
        sim::logLine("core device id for technology %u: %s", technology, deviceId);
    } else if (g_strcmp0(method, "SetWifiCredentials") == 0) {
        GVariantIter* iter = nullptr;
        g_variant_get(parameters, "(a(ssyuuss))", &iter);
        gState.credentials.clear();
        const gchar *ssid, *password, *ip, *bssid;
        guint8 channel;
        guint32 securityType, port;
        while (g_variant_iter_next(iter, "(&s&syuu&s&s)", &ssid, &password, &channel, &securityType, &port, &ip,
                                   &bssid)) {
            gState.credentials.push_back({ssid, password, channel, securityType, port, ip, bssid});
        }
        g_variant_iter_free(iter);
        sim::logLine("core Wi-Fi credentials: %zu record(s)", gState.credentials.size());
    } else if (g_strcmp0(method, "SetBtMacAddress") == 0) {
        const gchar* macAddress = nullptr;
        g_variant_get(parameters, "(&s)", &macAddress);
        gState.btMacAddress = macAddress;
        sim::logLine("core head unit BT MAC: %s", macAddress);
    } else if (g_strcmp0(method, "SetMalformedReply") == 0) {
        gboolean enabled = FALSE;
        g_variant_get(parameters, "(b)", &enabled);
        gState.malformedReply = enabled != FALSE;
        sim::logLine("core malformed replies: %s", enabled ? "on" : "off");
    }
    g_dbus_method_invocation_return_value(invocation, nullptr);
}

GOptionGroup* coreOptions()
{
    static const GOptionEntry entries[] = {
        {"core-device-id", 0, 0, G_OPTION_ARG_STRING_ARRAY, &gDeviceIdOptions,
         "Answer device id queries for technology TECH with ID (repeatable; default: TECH followed by 0001)",
         "TECH=ID"},
        {"core-wifi-credentials", 0, 0, G_OPTION_ARG_STRING_ARRAY, &gCredentialOptions,
         "Answer Wi-Fi credentials queries with this record (repeatable, in order; replaces the default record)",
         "SSID,PASSWORD,CHANNEL,SECURITY,PORT,IP,BSSID"},
        {"core-no-wifi-credentials", 0, 0, G_OPTION_ARG_NONE, &gNoCredentials,
         "Answer Wi-Fi credentials queries with an empty list", nullptr},
        {"core-bt-mac", 0, 0, G_OPTION_ARG_STRING, &gBtMacOption,
         "Head unit Bluetooth MAC address to answer (default 00:11:22:33:44:55)", "MAC"},
        {"core-connect-on-register", 0, 0, G_OPTION_ARG_STRING, &gConnectOnRegisterOption,
         "Emit actionToCore connect (action 1) for this device to every core engine that registers",
         "DEVICEID:TECHNOLOGY"},
        {nullptr, 0, 0, G_OPTION_ARG_NONE, nullptr, nullptr, nullptr}};
    GOptionGroup* group = g_option_group_new(
        "core",
        "Core engine side: answers actionFromCore, takes informFromCore.\nControl interface com.qor.vel_sim.Core "
        "at /com/qor/vel_sim: SetDeviceId(u technology, s deviceId), SetWifiCredentials(a(ssyuuss)), "
        "SetBtMacAddress(s), SetMalformedReply(b), and EmitActionToCore, EmitActionToCoreWireless, "
        "EmitCheckCapability, EmitCoreRequestDone, EmitNoticeToCoreLinkLoss, EmitNoticeToCore, each with the "
        "arguments of its signal.\n\nCore engine options:",
        "Show the core engine options", nullptr, nullptr);
    g_option_group_add_entries(group, entries);
    return group;
}

void applyOptions()
{
    setDefaults();
    for (gchar** entry = gDeviceIdOptions; entry != nullptr && *entry != nullptr; ++entry) {
        const char* separator = std::strchr(*entry, '=');
        if (separator == nullptr) {
            sim::logLine("ignored --core-device-id=%s (expected TECH=ID)", *entry);
            continue;
        }
        const guint32 technology = static_cast<guint32>(std::strtoul(*entry, nullptr, 10));
        gState.deviceIds[technology] = separator + 1;
    }
    if (gNoCredentials || (gCredentialOptions != nullptr && *gCredentialOptions != nullptr)) {
        gState.credentials.clear();
    }
    for (gchar** entry = gCredentialOptions; entry != nullptr && *entry != nullptr; ++entry) {
        Credentials record;
        if (parseCredentials(*entry, record)) {
            gState.credentials.push_back(record);
        } else {
            sim::logLine("ignored --core-wifi-credentials=%s (expected seven comma-separated fields)", *entry);
        }
    }
    if (gBtMacOption != nullptr) {
        gState.btMacAddress = gBtMacOption;
    }
    if (gConnectOnRegisterOption != nullptr) {
        const char* separator = std::strrchr(gConnectOnRegisterOption, ':');
        if (separator == nullptr || separator == gConnectOnRegisterOption) {
            sim::logLine("ignored --core-connect-on-register=%s (expected DEVICEID:TECHNOLOGY)",
                         gConnectOnRegisterOption);
        } else {
            gConnectOnRegister.enabled = true;
            gConnectOnRegister.deviceId.assign(gConnectOnRegisterOption,
                                               static_cast<std::size_t>(separator - gConnectOnRegisterOption));
            gConnectOnRegister.technology = static_cast<guint32>(std::strtoul(separator + 1, nullptr, 10));
        }
    }
}

void attachCore(sim::Context& context)
{
    applyOptions();
    gConnection = context.connection;
    if (gConnectOnRegister.enabled) {
        g_dbus_connection_add_filter(context.connection, watchCoreRegistrations, nullptr, nullptr);
    }
    g_signal_connect(context.skeleton, "handle-action-from-core", G_CALLBACK(onActionFromCore), nullptr);
    g_signal_connect(context.skeleton, "handle-inform-from-core", G_CALLBACK(onInformFromCore), nullptr);
}

void exportCoreControl(sim::Context& context)
{
    sim::exportControlInterface(context, kCoreControlXml, onCoreControlCall, nullptr);
}

void shutdownCore(sim::Context&)
{
    g_strfreev(gDeviceIdOptions);
    g_strfreev(gCredentialOptions);
    g_free(gBtMacOption);
    g_free(gConnectOnRegisterOption);
    gConnectOnRegisterOption = nullptr;
    gDeviceIdOptions = nullptr;
    gCredentialOptions = nullptr;
    gBtMacOption = nullptr;
}

const sim::Module kCoreModule{"core", coreOptions, attachCore, exportCoreControl, shutdownCore};
const sim::Registrar kCoreRegistrar(kCoreModule);

} // namespace
