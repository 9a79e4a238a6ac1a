// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "SimModule.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>

namespace sim {

std::vector<const Module*>& modules()
{
    static std::vector<const Module*> registered;
    return registered;
}

void logLine(const char* format, ...)
{
    // Lines come from the main loop and from GDBus's worker thread.
    static std::mutex lineMutex;
    std::lock_guard<std::mutex> lock(lineMutex);
    va_list args;
    va_start(args, format);
    std::vprintf(format, args);
    va_end(args);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

namespace {

struct ControlInterface {
    GDBusNodeInfo* node;
    GDBusInterfaceMethodCallFunc handler;
    gpointer userData;
};

void dispatchControlCall(GDBusConnection* connection, const gchar* sender, const gchar* objectPath,
                         const gchar* interfaceName, const gchar* methodName, GVariant* parameters,
                         GDBusMethodInvocation* invocation, gpointer userData)
{
    auto* control = static_cast<ControlInterface*>(userData);
    control->handler(connection, sender, objectPath, interfaceName, methodName, parameters, invocation,
                     control->userData);
}

const GDBusInterfaceVTable kControlVTable = {dispatchControlCall, nullptr, nullptr, {nullptr}};

} // namespace

bool exportControlInterface(Context& context, const char* interfaceXml, GDBusInterfaceMethodCallFunc handler,
                            gpointer userData)
{
    GError* error = nullptr;
    std::string xml = std::string("<node>") + interfaceXml + "</node>";
    GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(xml.c_str(), &error);
    if (node == nullptr || node->interfaces == nullptr || node->interfaces[0] == nullptr) {
        logLine("control interface rejected: %s", error ? error->message : "no interface");
        g_clear_error(&error);
        if (node != nullptr) {
            g_dbus_node_info_unref(node);
        }
        return false;
    }
    // Lives as long as the simulator.
    auto* control = new ControlInterface{node, handler, userData};
    const guint id = g_dbus_connection_register_object(context.connection, kControlPath, node->interfaces[0],
                                                       &kControlVTable, control, nullptr, &error);
    if (id == 0) {
        logLine("control interface %s not exported: %s", node->interfaces[0]->name, error->message);
        g_clear_error(&error);
        return false;
    }
    return true;
}

} // namespace sim
