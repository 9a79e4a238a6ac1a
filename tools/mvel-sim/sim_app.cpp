// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// Application side of mvel-sim: answers actionFromApp and informFromApp the way
// the service does, sends the completions, notices and device lists that
// applications receive, and lets a test or a person drive all of it through
// the control interface "com.qor.vel_sim.App".

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "SimModule.h"
#include "SimStore.h"

namespace {

struct AppOptions {
    gint result = 0;
    gint delayMs = 0;
    gchar* paired = nullptr;
    gboolean maxPaired = FALSE;
    gchar* known = nullptr;
    gchar* discovered = nullptr;
    gboolean announce = FALSE;
};

struct AppState {
    guint32 result = 0;
    guint delayMs = 0;
    std::set<std::string> paired;
    bool maxPaired = false;
    // checkPaired and checkMaxPaired answered with a D-Bus error instead.
    bool failChecks = false;
    // Whether every application client hears about both lists right after it
    // registers, as it does from the service.
    bool announceOnRegister = false;
};

AppOptions gOptions;
AppState gState;
sim::Context* gContext = nullptr;

const char* const kAppControlXml = R"XML(
<interface name="com.qor.vel_sim.App">
  <!-- Result and delay of the appRequestDone sent for requests 0, 1, 3, 5 and 6. -->
  <method name="SetCompletion">
    <arg name="result" type="u" direction="in"/>
    <arg name="delayMs" type="u" direction="in"/>
  </method>
  <!-- Devices for which checkPaired (9) answers true. -->
  <method name="SetPaired">
    <arg name="deviceIds" type="as" direction="in"/>
  </method>
  <!-- With failing true, checkMaxPaired (8) and checkPaired (9) are answered
       with a D-Bus error until it is set false again. -->
  <method name="SetChecksFailing">
    <arg name="failing" type="b" direction="in"/>
  </method>
  <!-- The answer to checkMaxPaired (8). -->
  <method name="SetMaxPaired">
    <arg name="reached" type="b" direction="in"/>
  </method>
  <!-- Writes a list (0 known, 1 discovered) into the store, one record per
       deviceId ("" gives a record with an empty deviceId), and with notify
       emits noticeToApp(listType, "<number of ids>", 0). Returns the records
       exactly as written (the known list padded to ten). -->
  <method name="PublishDevices">
    <arg name="listType" type="u" direction="in"/>
    <arg name="deviceIds" type="as" direction="in"/>
    <arg name="notify" type="b" direction="in"/>
    <arg name="records" type="aay" direction="out"/>
  </method>
  <method name="Notice">
    <arg name="notice" type="u" direction="in"/>
    <arg name="info1" type="s" direction="in"/>
    <arg name="info2" type="i" direction="in"/>
  </method>
  <method name="RequestDone">
    <arg name="appRequest" type="u" direction="in"/>
    <arg name="result" type="u" direction="in"/>
    <arg name="deviceId" type="s" direction="in"/>
    <arg name="technology" type="u" direction="in"/>
  </method>
  <method name="FuncOpModeDone">
    <arg name="function" type="u" direction="in"/>
    <arg name="result" type="u" direction="in"/>
  </method>
  <method name="TechActiveInfo">
    <arg name="techActiveInfo" type="a(ub)" direction="in"/>
  </method>
</interface>
)XML";

std::vector<std::string> splitIds(const gchar* text)
{
    std::vector<std::string> ids;
    if (text == nullptr || *text == '\0') {
        return ids;
    }
    gchar** parts = g_strsplit(text, ",", -1);
    for (gchar** part = parts; *part != nullptr; ++part) {
        ids.emplace_back(*part);
    }
    g_strfreev(parts);
    return ids;
}

// Emits one signal of the service and prints it like the core prints calls.
void emitSignal(const char* name, GVariant* parameters)
{
    g_variant_ref_sink(parameters);
    gchar* printed = g_variant_print(parameters, TRUE);
    sim::logLine("emit %s %s", name, printed);
    g_free(printed);
    GError* error = nullptr;
    if (!g_dbus_connection_emit_signal(gContext->connection, nullptr, sim::kServicePath, sim::kServiceName, name,
                                       parameters, &error)) {
        sim::logLine("emit %s failed: %s", name, error->message);
        g_error_free(error);
    }
    g_variant_unref(parameters);
}

void emitNotice(guint32 notice, const std::string& info1, gint32 info2)
{
    emitSignal("noticeToApp", g_variant_new("(usi)", notice, info1.c_str(), info2));
}

struct PendingCompletion {
    guint32 request;
    guint32 result;
    std::string deviceId;
    guint32 technology;
};

gboolean sendCompletion(gpointer data)
{
    auto* pending = static_cast<PendingCompletion*>(data);
    emitSignal("appRequestDone", g_variant_new("(uusu)", pending->request, pending->result,
                                               pending->deviceId.c_str(), pending->technology));
    delete pending;
    return G_SOURCE_REMOVE;
}

// The opaque bytes of a record follow a pattern of their own per device, so
// that a reader that moves or drops any byte is caught.
DEVICE patternedDevice(const std::string& deviceId, guint index)
{
    DEVICE device;
    auto* bytes = reinterpret_cast<guint8*>(&device);
    const guint seed = g_str_hash(deviceId.c_str()) + index * 131u;
    for (std::size_t i = 0; i < sizeof(DEVICE); ++i) {
        bytes[i] = static_cast<guint8>((seed + i * 7u) & 0xffu);
    }
    std::memset(device.deviceId, 0, sizeof(device.deviceId));
    std::strncpy(device.deviceId, deviceId.c_str(), sizeof(device.deviceId) - 1);
    return device;
}

bool publishList(guint32 listType, const std::vector<std::string>& ids, std::vector<DEVICE>& written)
{
    std::vector<DEVICE> devices;
    for (guint index = 0; index < ids.size(); ++index) {
        devices.push_back(patternedDevice(ids[index], index));
    }
    bool published = false;
    if (listType == KNOWN_DEVICE_LIST) {
        published = sim::publishKnown(devices);
        // The store pads the known list with zeroed records up to ten.
        while (published && devices.size() < VEL_MAX_DEVICE_COUNT) {
            DEVICE empty;
            std::memset(&empty, 0, sizeof(empty));
            devices.push_back(empty);
        }
    } else if (listType == DISCOVERED_DEVICE_LIST) {
        published = sim::publishDiscovered(devices);
        // An empty list is stored as one zeroed record.
        if (published && devices.empty()) {
            DEVICE empty;
            std::memset(&empty, 0, sizeof(empty));
            devices.push_back(empty);
        }
    }
    sim::logLine("publish list %u with %zu devices: %s", listType, ids.size(), published ? "done" : "failed");
    if (published) {
        written = std::move(devices);
    }
    return published;
}

// Records of a stored list up to its last one with a deviceId. The store
// module writes on this same thread, so the list cannot change while it is
// being counted.
guint countStoredDevices(int fd)
{
    guint count = 0;
    struct stat status;
    if (fd < 0 || fstat(fd, &status) != 0) {
        return 0;
    }
    const std::size_t records = static_cast<std::size_t>(status.st_size) / sizeof(DEVICE);
    for (std::size_t index = 0; index < records; ++index) {
        char first = '\0';
        const off_t offset = static_cast<off_t>(index * sizeof(DEVICE) + offsetof(DEVICE, deviceId));
        if (pread(fd, &first, 1, offset) == 1 && first != '\0') {
            count = static_cast<guint>(index + 1);
        }
    }
    return count;
}

guint countKnownDevices()
{
    const int fd = open("/data/qor/vel/vel.known_devices", O_RDONLY | O_CLOEXEC);
    const guint count = countStoredDevices(fd);
    if (fd >= 0) {
        close(fd);
    }
    return count;
}

guint countDiscoveredDevices()
{
    const int fd = shm_open("/vel.discovered_devices", O_RDONLY, 0);
    const guint count = countStoredDevices(fd);
    if (fd >= 0) {
        close(fd);
    }
    return count;
}

gboolean announceLists(gpointer)
{
    emitNotice(NOTICE_KNOWN_DEVICES_UPDATED, std::to_string(countKnownDevices()), 0);
    emitNotice(NOTICE_DISCOVERED_DEVICES_UPDATED, std::to_string(countDiscoveredDevices()), 0);
    return G_SOURCE_REMOVE;
}

// Runs for every incoming call, before its handler; returns TRUE so that the
// call goes on. Used only to notice application clients registering.
void onClientRegistered(sim::Context&, unsigned int type, const char*)
{
    if (!gState.announceOnRegister) {
        return;
    }
    if (type >= CLIENT_TYPE_APPLICATION_FIRST && type <= CLIENT_TYPE_APPLICATION_LAST) {
        // The client subscribed before registering; a short pause lets the
        // registration reply go first, as the service does.
        g_timeout_add(50, announceLists, nullptr);
    }
}

gboolean onActionFromApp(ComQorVel_communicator* skeleton, GDBusMethodInvocation* invocation, guint action,
                         const gchar* deviceId, guint technology, const gchar* deviceIdToReplace, gpointer)
{
    const bool isCheck = action == APPREQ_CHECK_MAX_PAIRED || action == APPREQ_CHECK_PAIRED;
    if (isCheck && gState.failChecks) {
        sim::logLine("check %u for '%s' answered with an error", action, deviceId);
        g_dbus_method_invocation_return_dbus_error(invocation, "com.qor.vel_sim.Error.Failed",
                                                   "mvel-sim fails the check");
        return TRUE;
    }
    switch (action) {
    case APPREQ_CONNECT_SERVICE:
    case APPREQ_DISCONNECT_SERVICE:
    case APPREQ_REMOVE_DEVICE:
    case APPREQ_REJECT_TECHNOLOGY_SELECTION:
    case APPREQ_SET_PRIORITIZED_DEVICE: {
        com_qor_vel_communicator_complete_action_from_app(skeleton, invocation, TRUE);
        sim::logLine("actionFromApp %u for '%s' (replace '%s') completes with result %u in %u ms", action,
                     deviceId, deviceIdToReplace, gState.result, gState.delayMs);
        auto* pending = new PendingCompletion{action, gState.result, deviceId, technology};
        if (gState.delayMs == 0) {
            g_idle_add(sendCompletion, pending);
        } else {
            g_timeout_add(gState.delayMs, sendCompletion, pending);
        }
        return TRUE;
    }
    case APPREQ_RECONNECT_SUSPEND:
        sim::logLine("reconnect suspend '%s' taken, no completion", deviceId);
        com_qor_vel_communicator_complete_action_from_app(skeleton, invocation, TRUE);
        return TRUE;
    case APPREQ_CHECK_MAX_PAIRED:
        sim::logLine("checkMaxPaired answered %s", gState.maxPaired ? "true" : "false");
        com_qor_vel_communicator_complete_action_from_app(skeleton, invocation, gState.maxPaired);
        return TRUE;
    case APPREQ_CHECK_PAIRED: {
        const bool paired = gState.paired.count(deviceId) > 0;
        sim::logLine("checkPaired '%s' answered %s", deviceId, paired ? "true" : "false");
        com_qor_vel_communicator_complete_action_from_app(skeleton, invocation, paired);
        return TRUE;
    }
    default:
        sim::logLine("actionFromApp %u is not an application request, answered false", action);
        com_qor_vel_communicator_complete_action_from_app(skeleton, invocation, FALSE);
        return TRUE;
    }
}

gboolean onInformFromApp(ComQorVel_communicator* skeleton, GDBusMethodInvocation* invocation, guint appInfo,
                         const gchar* param, gpointer)
{
    sim::logLine("informFromApp %u '%s' taken", appInfo, param);
    com_qor_vel_communicator_complete_inform_from_app(skeleton, invocation);
    return TRUE;
}

GVariant* recordsAsVariant(const std::vector<DEVICE>& records)
{
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("aay"));
    for (const DEVICE& record : records) {
        g_variant_builder_add_value(&builder, g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, &record,
                                                                        sizeof(DEVICE), sizeof(guint8)));
    }
    return g_variant_new("(aay)", &builder);
}

void onControlCall(GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar* method,
                   GVariant* parameters, GDBusMethodInvocation* invocation, gpointer)
{
    GVariant* reply = nullptr;
    if (g_strcmp0(method, "SetCompletion") == 0) {
        g_variant_get(parameters, "(uu)", &gState.result, &gState.delayMs);
        sim::logLine("completions: result %u after %u ms", gState.result, gState.delayMs);
    } else if (g_strcmp0(method, "SetPaired") == 0) {
        GVariantIter* iter = nullptr;
        const gchar* id = nullptr;
        g_variant_get(parameters, "(as)", &iter);
        gState.paired.clear();
        while (g_variant_iter_next(iter, "&s", &id)) {
            gState.paired.insert(id);
        }
        g_variant_iter_free(iter);
        sim::logLine("paired devices: %zu", gState.paired.size());
    } else if (g_strcmp0(method, "SetChecksFailing") == 0) {
        gboolean failing = FALSE;
        g_variant_get(parameters, "(b)", &failing);
        gState.failChecks = failing != FALSE;
        sim::logLine("checks answered with an error: %s", gState.failChecks ? "true" : "false");
    } else if (g_strcmp0(method, "SetMaxPaired") == 0) {
        gboolean reached = FALSE;
        g_variant_get(parameters, "(b)", &reached);
        gState.maxPaired = reached != FALSE;
        sim::logLine("max paired reached: %s", gState.maxPaired ? "true" : "false");
    } else if (g_strcmp0(method, "PublishDevices") == 0) {
        guint32 listType = 0;
        GVariantIter* iter = nullptr;
        gboolean notify = FALSE;
        const gchar* id = nullptr;
        std::vector<std::string> ids;
        g_variant_get(parameters, "(uasb)", &listType, &iter, &notify);
        while (g_variant_iter_next(iter, "&s", &id)) {
            ids.emplace_back(id);
        }
        g_variant_iter_free(iter);
        std::vector<DEVICE> written;
        if (!publishList(listType, ids, written)) {
            g_dbus_method_invocation_return_error(invocation, G_DBUS_ERROR, G_DBUS_ERROR_FAILED,
                                                  "list %u with %zu devices not published", listType, ids.size());
            return;
        }
        reply = recordsAsVariant(written);
        if (notify) {
            emitNotice(listType, std::to_string(ids.size()), 0);
        }
    } else if (g_strcmp0(method, "Notice") == 0) {
        guint32 notice = 0;
        const gchar* info1 = nullptr;
        gint32 info2 = 0;
        g_variant_get(parameters, "(u&si)", &notice, &info1, &info2);
        emitNotice(notice, info1, info2);
    } else if (g_strcmp0(method, "RequestDone") == 0) {
        emitSignal("appRequestDone", g_variant_ref(parameters));
    } else if (g_strcmp0(method, "FuncOpModeDone") == 0) {
        emitSignal("checkFuncOpModeDone", g_variant_ref(parameters));
    } else if (g_strcmp0(method, "TechActiveInfo") == 0) {
        emitSignal("noticeTechActiveInfo", g_variant_ref(parameters));
    }
    g_dbus_method_invocation_return_value(invocation, reply);
}

GOptionGroup* appOptions()
{
    static const GOptionEntry entries[] = {
        {"app-result", 0, G_OPTION_FLAG_IN_MAIN, G_OPTION_ARG_INT, &gOptions.result,
         "Result carried by appRequestDone for requests 0, 1, 3, 5 and 6 (default 0)", "N"},
        {"app-delay", 0, G_OPTION_FLAG_IN_MAIN, G_OPTION_ARG_INT, &gOptions.delayMs,
         "Send each appRequestDone MS milliseconds after the request (default 0)", "MS"},
        {"app-paired", 0, G_OPTION_FLAG_IN_MAIN, G_OPTION_ARG_STRING, &gOptions.paired,
         "Devices for which checkPaired answers true", "ID[,ID...]"},
        {"app-max-paired", 0, G_OPTION_FLAG_IN_MAIN, G_OPTION_ARG_NONE, &gOptions.maxPaired,
         "Answer checkMaxPaired with true", nullptr},
        {"app-announce", 0, G_OPTION_FLAG_IN_MAIN, G_OPTION_ARG_NONE, &gOptions.announce,
         "Send both device-list notices to every application right after it registers", nullptr},
        {"app-known", 0, G_OPTION_FLAG_IN_MAIN, G_OPTION_ARG_STRING, &gOptions.known,
         "Publish these known devices at start (implies --app-announce)", "ID[,ID...]"},
        {"app-discovered", 0, G_OPTION_FLAG_IN_MAIN, G_OPTION_ARG_STRING, &gOptions.discovered,
         "Publish these discovered devices at start (implies --app-announce). The application side is driven "
         "through control interface com.qor.vel_sim.App: SetCompletion(u result, u delayMs), SetPaired(as), "
         "SetMaxPaired(b), PublishDevices(u listType, as deviceIds, b notify) answering (aay records), "
         "Notice(u notice, s info1, i info2), RequestDone(u appRequest, u result, s deviceId, u technology), "
         "FuncOpModeDone(u function, u result), TechActiveInfo(a(ub))",
         "ID[,ID...]"},
        {nullptr, 0, 0, G_OPTION_ARG_NONE, nullptr, nullptr, nullptr}};
    GOptionGroup* group =
        g_option_group_new("app", "Application side (control interface com.qor.vel_sim.App at /com/qor/vel_sim):",
                           "Show the application side's options", nullptr, nullptr);
    g_option_group_add_entries(group, entries);
    return group;
}

void attachApp(sim::Context& context)
{
    gContext = &context;
    gState.result = static_cast<guint32>(gOptions.result);
    gState.delayMs = gOptions.delayMs > 0 ? static_cast<guint>(gOptions.delayMs) : 0;
    gState.maxPaired = gOptions.maxPaired != FALSE;
    for (const std::string& id : splitIds(gOptions.paired)) {
        gState.paired.insert(id);
    }
    g_signal_connect(context.skeleton, "handle-action-from-app", G_CALLBACK(onActionFromApp), nullptr);
    g_signal_connect(context.skeleton, "handle-inform-from-app", G_CALLBACK(onInformFromApp), nullptr);
}

// Every module has opened what it owns by now (the store opens on attach).
void publishStartLists()
{
    std::vector<DEVICE> written;
    if (gOptions.known != nullptr) {
        publishList(KNOWN_DEVICE_LIST, splitIds(gOptions.known), written);
    }
    if (gOptions.discovered != nullptr) {
        publishList(DISCOVERED_DEVICE_LIST, splitIds(gOptions.discovered), written);
    }
}

void exportAppControl(sim::Context& context)
{
    sim::exportControlInterface(context, kAppControlXml, onControlCall, nullptr);
    if (gOptions.known != nullptr || gOptions.discovered != nullptr) {
        publishStartLists();
        gState.announceOnRegister = true;
    }
    if (gOptions.announce) {
        gState.announceOnRegister = true;
    }
}

void shutdownApp(sim::Context&)
{
    g_free(gOptions.paired);
    g_free(gOptions.known);
    g_free(gOptions.discovered);
    gOptions = AppOptions();
}

const sim::Module kAppModule = {"app", appOptions, attachApp, exportAppControl, shutdownApp, onClientRegistered};
const sim::Registrar kAppRegistrar(kAppModule);

} // namespace
