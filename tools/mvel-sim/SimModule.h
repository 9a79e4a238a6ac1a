// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <gio/gio.h>

#include <string>
#include <vector>

#include "vel/mvel_interface.h"

// mvel-sim is put together from modules, one per side of the service it
// imitates (link, store, application, core engine, controller). Each module
// registers itself from a static object in its own file, may add command-line
// options, connects the skeleton's handlers it owns and may export a control
// interface of its own on the object "/com/qor/vel_sim".

namespace sim {

constexpr const char* kServiceName = "com.qor.vel_communicator";
constexpr const char* kServicePath = "/com/qor/vel_communicator";
constexpr const char* kControlPath = "/com/qor/vel_sim";

struct Context {
    GMainLoop* loop = nullptr;
    GDBusConnection* connection = nullptr;
    ComQorVel_communicator* skeleton = nullptr;
};

struct Module {
    const char* name;
    // Options of this module, or nullptr. The returned group is owned by the caller.
    GOptionGroup* (*options)();
    // Called once the skeleton exists and before it is exported.
    void (*attach)(Context& context);
    // Called after the connection is up: register control interfaces here.
    void (*exportControl)(Context& context);
    // Called before the simulator exits normally (SIGTERM, SIGINT, Quit), or nullptr.
    void (*shutdown)(Context& context) = nullptr;
    // Called on the main loop after a registerMe was answered true, or nullptr.
    void (*registered)(Context& context, unsigned int clientType, const char* clientName) = nullptr;
};

std::vector<const Module*>& modules();

struct Registrar {
    explicit Registrar(const Module& module) { modules().push_back(&module); }
};

// One line on stdout, flushed at once; tests and people read the simulator
// through these lines.
void logLine(const char* format, ...) G_GNUC_PRINTF(1, 2);

// Registers a control interface described by the XML of one <interface> on
// kControlPath, dispatching every call to `handler`.
bool exportControlInterface(Context& context, const char* interfaceXml, GDBusInterfaceMethodCallFunc handler,
                            gpointer userData);

} // namespace sim
