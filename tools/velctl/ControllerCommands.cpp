// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// velctl controller ...: control-mode changes.

#include <gio/gio.h>

#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <string>
#include <thread>

#include "Commands.h"
#include "Exit.h"
#include "vel/VelComProxyController.h"

namespace velctl {

namespace {

struct IdleProbe {
    std::mutex mutex;
    std::condition_variable ran;
    bool done = false;
};

gboolean markIdle(gpointer data)
{
    auto* probe = static_cast<IdleProbe*>(data);
    {
        std::lock_guard<std::mutex> lock(probe->mutex);
        probe->done = true;
    }
    probe->ran.notify_all();
    return G_SOURCE_REMOVE;
}

// The library connects and registers on its main-loop thread in one go, so
// once that thread has come back to idle after the proxy exists, registration
// is over.
bool waitMainLoopIdle(std::chrono::milliseconds timeout)
{
    static IdleProbe probe;
    {
        std::lock_guard<std::mutex> lock(probe.mutex);
        probe.done = false;
    }
    g_idle_add(markIdle, &probe);
    std::unique_lock<std::mutex> lock(probe.mutex);
    return probe.ran.wait_for(lock, timeout, [] { return probe.done; });
}

// The controller has no callback to tell it the link is up: wait until its
// proxy exists and the library is done registering.
bool waitLinkUp(VelComProxyController* controller, std::chrono::milliseconds timeout)
{
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (std::chrono::steady_clock::now() < deadline) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline -
                                                                                std::chrono::steady_clock::now());
        if (waitMainLoopIdle(left) && controller->checkProxyAvailable()) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    return false;
}

// The request is fire and forget: it must have left before the process ends.
void flushSystemBus()
{
    GDBusConnection* connection = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
    if (connection != nullptr) {
        g_dbus_connection_flush_sync(connection, nullptr, nullptr);
        g_object_unref(connection);
    }
}

[[noreturn]] void mode(const CommandLine& line)
{
    if (line.arguments.size() != 3) {
        fail(kExitUsage, "'controller mode' takes <mode> <technology> <item> (see velctl controller --help)");
    }
    const char* names[] = {"mode", "technology", "item"};
    unsigned int values[3] = {0, 0, 0};
    for (int i = 0; i < 3; ++i) {
        if (!parseUnsigned(line.arguments[i], values[i])) {
            fail(kExitUsage, std::string("invalid ") + names[i] + " '" + line.arguments[i] + "' (an unsigned number)");
        }
    }
    if (line.clientType != 0 && line.clientType != 400) {
        fail(kExitUsage, "the controller is always client kind 400");
    }
    VelComProxyController* controller = VelComProxyController::getInstance();
    if (!controller->doInitialize()) {
        fail(kExitFailed, "libvel could not start watching the service");
    }
    if (!waitLinkUp(controller, std::chrono::seconds(line.timeoutSeconds))) {
        fail(kExitUnreachable, "service com.qor.vel_communicator not reachable within " +
                                   std::to_string(line.timeoutSeconds) + " s");
    }
    if (!controller->sendControlMode(values[0], values[1], static_cast<ORNA_FUNC_ITEM_e>(values[2]))) {
        fail(kExitFailed, "the control mode could not be sent (--verbose shows why)");
    }
    flushSystemBus();
    std::printf("control mode %u sent for technology %u, item %u\n", values[0], values[1], values[2]);
    finish(kExitOk);
}

} // namespace

void runController(const CommandLine& line)
{
    if (line.command == "mode") {
        mode(line);
    }
    fail(kExitUsage, "unknown controller command '" + line.command + "' (see velctl controller --help)");
}

} // namespace velctl
