// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// Store module of mvel-sim: publishes the known-device list (the file
// /data/qor/vel/vel.known_devices, checked at start against
// /data/qor/vel/vel.version) and the discovered-device list (the shared-memory
// object /vel.discovered_devices), holding /vel.semaphore around every write.
// The store lives in the real /data/qor/vel and /dev/shm of the mount
// namespace the simulator runs in; tests run it in a private one. By default
// (--store=auto) it is published only inside a mount namespace of its own
// (one that differs from that of a process it was started from), so a simulator started straight on a workstation
// leaves the machine's /data and /dev/shm alone; --store=on publishes wherever
// it runs, --store=off never publishes. /data/qor/vel is created if missing.
//
// Control interface com.qor.vel_sim.Store on /com/qor/vel_sim:
//   PublishKnown(as deviceIds) -> (b)        whole list, zero-padded to ten records
//   PublishDiscovered(as deviceIds) -> (b)   exactly these records (none: one zeroed record)
//   PublishKnownRaw(ay bytes) -> (b)         exact bytes as the known-device file
//   PublishDiscoveredRaw(ay bytes) -> (b)    exact bytes as the discovered object
// An empty raw buffer leaves a store of one byte. The reply says whether the
// write succeeded; a store that is not open answers with an error.

#include <gio/gio.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "SimModule.h"
#include "SimStore.h"
#include "SimStoreWriter.h"

namespace sim {

namespace {

struct StoreOptions {
    gchar* knownDevicesFile = nullptr;
    gchar* discoveredDevicesFile = nullptr;
    gint lockTimeoutMs = 1000;
    gchar* mode = nullptr;
};


StoreOptions gStoreOptions;
std::unique_ptr<StoreWriter> gWriter;
GFileMonitor* gShmMonitor = nullptr;
guint gRestoreSource = 0;

const char* const kStoreXml = R"XML(
<interface name="com.qor.vel_sim.Store">
  <method name="PublishKnown">
    <arg name="deviceIds" type="as" direction="in"/>
    <arg name="published" type="b" direction="out"/>
  </method>
  <method name="PublishDiscovered">
    <arg name="deviceIds" type="as" direction="in"/>
    <arg name="published" type="b" direction="out"/>
  </method>
  <method name="PublishKnownRaw">
    <arg name="bytes" type="ay" direction="in"/>
    <arg name="published" type="b" direction="out"/>
  </method>
  <method name="PublishDiscoveredRaw">
    <arg name="bytes" type="ay" direction="in"/>
    <arg name="published" type="b" direction="out"/>
  </method>
</interface>
)XML";

std::vector<unsigned char> recordBytes(const std::vector<DEVICE>& _devices, std::size_t _minimumRecords)
{
    const std::size_t records = _devices.size() > _minimumRecords ? _devices.size() : _minimumRecords;
    std::vector<unsigned char> bytes(records * sizeof(DEVICE), 0);
    if (!_devices.empty()) {
        std::memcpy(bytes.data(), _devices.data(), _devices.size() * sizeof(DEVICE));
    }
    return bytes;
}

bool fitsOneList(const std::vector<DEVICE>& _devices, const char* _listName)
{
    if (_devices.size() > VEL_MAX_DEVICE_COUNT) {
        logLine("store: %s list refused: %zu devices, at most %u", _listName, _devices.size(), VEL_MAX_DEVICE_COUNT);
        return false;
    }
    return true;
}

std::vector<DEVICE> devicesFromIds(GVariant* _ids)
{
    std::vector<DEVICE> devices;
    GVariantIter iter;
    const gchar* deviceId = nullptr;
    g_variant_iter_init(&iter, _ids);
    while (g_variant_iter_next(&iter, "&s", &deviceId)) {
        devices.push_back(makeDevice(deviceId));
    }
    return devices;
}

// Readers remove the names when they go; put them back as soon as that is seen
// so that a client started in between still finds the store.
gboolean restoreNames(gpointer)
{
    gRestoreSource = 0;
    if (gWriter) {
        gWriter->restoreNames();
    }
    return G_SOURCE_REMOVE;
}

void onShmChanged(GFileMonitor*, GFile* file, GFile*, GFileMonitorEvent event, gpointer)
{
    if (event != G_FILE_MONITOR_EVENT_DELETED && event != G_FILE_MONITOR_EVENT_MOVED_OUT) {
        return;
    }
    gchar* name = g_file_get_basename(file);
    const bool ours = g_strcmp0(name, "sem.vel.semaphore") == 0 || g_strcmp0(name, "vel.discovered_devices") == 0;
    g_free(name);
    if (ours && gRestoreSource == 0) {
        gRestoreSource = g_idle_add(restoreNames, nullptr);
    }
}

void watchShm()
{
    GFile* directory = g_file_new_for_path("/dev/shm");
    GError* error = nullptr;
    gShmMonitor = g_file_monitor_directory(directory, G_FILE_MONITOR_WATCH_MOVES, nullptr, &error);
    g_object_unref(directory);
    if (gShmMonitor == nullptr) {
        // Names are still restored before every write.
        logLine("store: not watching /dev/shm: %s", error->message);
        g_error_free(error);
        return;
    }
    g_signal_connect(gShmMonitor, "changed", G_CALLBACK(onShmChanged), nullptr);
}

void replyPublished(GDBusMethodInvocation* _invocation, bool _published)
{
    g_dbus_method_invocation_return_value(_invocation, g_variant_new("(b)", _published));
}

void onStoreCall(GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar* method,
                 GVariant* parameters, GDBusMethodInvocation* invocation, gpointer)
{
    if (!gWriter || !gWriter->isOpen()) {
        g_dbus_method_invocation_return_error(invocation, G_DBUS_ERROR, G_DBUS_ERROR_FAILED,
                                              "the device store is not open");
        return;
    }
    // The bus checked the argument types against the interface above.
    GVariant* argument = g_variant_get_child_value(parameters, 0);
    bool published = false;
    if (g_strcmp0(method, "PublishKnown") == 0) {
        published = publishKnown(devicesFromIds(argument));
    } else if (g_strcmp0(method, "PublishDiscovered") == 0) {
        published = publishDiscovered(devicesFromIds(argument));
    } else {
        gsize length = 0;
        const void* bytes = g_variant_get_fixed_array(argument, &length, 1);
        published = g_strcmp0(method, "PublishKnownRaw") == 0 ? publishKnownRaw(bytes, length)
                                                               : publishDiscoveredRaw(bytes, length);
    }
    g_variant_unref(argument);
    replyPublished(invocation, published);
}

bool publishFile(const gchar* _path, bool (*_publish)(const std::vector<DEVICE>&))
{
    if (_path == nullptr) {
        return true;
    }
    std::vector<DEVICE> devices;
    std::string error;
    if (!loadDeviceFile(_path, devices, error)) {
        logLine("store: %s", error.c_str());
        return false;
    }
    return _publish(devices);
}

GOptionGroup* storeOptions()
{
    static const GOptionEntry entries[] = {
        {"known-devices", 0, G_OPTION_FLAG_IN_MAIN, G_OPTION_ARG_FILENAME, &gStoreOptions.knownDevicesFile,
         "Publish the devices of FILE as the known list at start (one deviceId per line, then optional name "
         "text; see sample-devices.txt)",
         "FILE"},
        {"discovered-devices", 0, G_OPTION_FLAG_IN_MAIN, G_OPTION_ARG_FILENAME,
         &gStoreOptions.discoveredDevicesFile, "Publish the devices of FILE as the discovered list at start", "FILE"},
        {"store-lock-timeout", 0, G_OPTION_FLAG_IN_MAIN, G_OPTION_ARG_INT, &gStoreOptions.lockTimeoutMs,
         "Write anyway after waiting MS ms for /vel.semaphore (default 1000)", "MS"},
        {"store", 0, G_OPTION_FLAG_IN_MAIN, G_OPTION_ARG_STRING, &gStoreOptions.mode,
         "Publish the device store in /data/qor/vel and /dev/shm: auto (default: only in a private mount "
         "namespace), on or off. Control interface com.qor.vel_sim.Store: PublishKnown(as deviceIds), "
         "PublishDiscovered(as deviceIds), PublishKnownRaw(ay bytes), PublishDiscoveredRaw(ay bytes), each "
         "answering (b published)",
         "MODE"},
        {nullptr, 0, 0, G_OPTION_ARG_NONE, nullptr, nullptr, nullptr}};
    GOptionGroup* group = g_option_group_new("store", "Device store", "Device store options", nullptr, nullptr);
    g_option_group_add_entries(group, entries);
    return group;
}

// The stores must exist before the service name appears: a client opens them
// as soon as it sees the service.
std::string mountNamespaceOf(const std::string& _pid)
{
    gchar* link = g_file_read_link(("/proc/" + _pid + "/ns/mnt").c_str(), nullptr);
    const std::string result = link != nullptr ? link : "";
    g_free(link);
    return result;
}

std::string parentOf(const std::string& _pid)
{
    gchar* stat = nullptr;
    if (!g_file_get_contents(("/proc/" + _pid + "/stat").c_str(), &stat, nullptr, nullptr)) {
        return std::string();
    }
    // "pid (comm) state ppid ...": the name may hold blanks and parentheses.
    const char* end = std::strrchr(stat, ')');
    std::string parent;
    int ppid = 0;
    if (end != nullptr && std::sscanf(end + 1, " %*c %d", &ppid) == 1 && ppid > 0) {
        parent = std::to_string(ppid);
    }
    g_free(stat);
    return parent;
}

// Whether this process runs in a mount namespace of its own: one that differs
// from the namespace of some process it was started from. Ancestors that
// cannot be inspected count as the same namespace.
bool inPrivateMountNamespace()
{
    const std::string own = mountNamespaceOf("self");
    if (own.empty()) {
        return false;
    }
    std::string pid = std::to_string(getppid());
    for (int depth = 0; depth < 64 && !pid.empty() && pid != "0"; ++depth) {
        const std::string theirs = mountNamespaceOf(pid);
        if (!theirs.empty() && theirs != own) {
            return true;
        }
        pid = parentOf(pid);
    }
    return false;
}

bool storeWanted()
{
    const std::string mode = gStoreOptions.mode != nullptr ? gStoreOptions.mode : "auto";
    if (mode == "on") {
        return true;
    }
    if (mode == "off") {
        logLine("store: disabled");
        return false;
    }
    if (mode != "auto") {
        logLine("store: disabled: unknown --store mode %s (auto, on or off)", mode.c_str());
        return false;
    }
    if (!inPrivateMountNamespace()) {
        logLine("store: disabled: not in a private mount namespace (--store=on publishes anyway)");
        return false;
    }
    return true;
}

void attachStore(Context&)
{
    if (!storeWanted()) {
        return;
    }
    const int timeout = gStoreOptions.lockTimeoutMs > 0 ? gStoreOptions.lockTimeoutMs : 1;
    gWriter.reset(new StoreWriter(timeout));
    if (!gWriter->open()) {
        return;
    }
    publishFile(gStoreOptions.knownDevicesFile, publishKnown);
    publishFile(gStoreOptions.discoveredDevicesFile, publishDiscovered);
    watchShm();
}

void exportStore(Context& context)
{
    exportControlInterface(context, kStoreXml, onStoreCall, nullptr);
}

void shutdownStore(Context&)
{
    if (gShmMonitor != nullptr) {
        g_file_monitor_cancel(gShmMonitor);
        g_object_unref(gShmMonitor);
        gShmMonitor = nullptr;
    }
    if (gRestoreSource != 0) {
        g_source_remove(gRestoreSource);
        gRestoreSource = 0;
    }
    gWriter.reset();
    g_free(gStoreOptions.knownDevicesFile);
    g_free(gStoreOptions.discoveredDevicesFile);
    g_free(gStoreOptions.mode);
    gStoreOptions.knownDevicesFile = nullptr;
    gStoreOptions.discoveredDevicesFile = nullptr;
    gStoreOptions.mode = nullptr;
}

const Module kStoreModule = {"store", storeOptions, attachStore, exportStore, shutdownStore};
const Registrar kStoreRegistrar(kStoreModule);

} // namespace

bool publishKnown(const std::vector<DEVICE>& _devices)
{
    if (!fitsOneList(_devices, "known")) {
        return false;
    }
    const std::vector<unsigned char> bytes = recordBytes(_devices, VEL_MAX_DEVICE_COUNT);
    return publishKnownRaw(bytes.data(), bytes.size());
}

bool publishDiscovered(const std::vector<DEVICE>& _devices)
{
    if (!fitsOneList(_devices, "discovered")) {
        return false;
    }
    const std::vector<unsigned char> bytes = recordBytes(_devices, 1);
    return publishDiscoveredRaw(bytes.data(), bytes.size());
}

bool publishKnownRaw(const void* _bytes, std::size_t _length)
{
    return gWriter && gWriter->writeKnown(_bytes, _length);
}

bool publishDiscoveredRaw(const void* _bytes, std::size_t _length)
{
    return gWriter && gWriter->writeDiscovered(_bytes, _length);
}

} // namespace sim
