// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// A minimal controller: connects to the MVEL service and sends one
// control-mode change. Ends by itself within about 10 s.
//
// Try it against the simulator:
//   mvel-sim &
//   vel-example-controller

#include <gio/gio.h>

#include <chrono>
#include <cstdio>
#include <thread>

#include "vel/VelComProxyController.h"

int main()
{
    const unsigned int mode = 1;
    const unsigned int technology = 4;
    const ORNA_FUNC_ITEM_e item = FUNC_ITEM_RESTORE_FACTORY_SETTINGS;

    VelComProxyController* controller = VelComProxyController::getInstance();
    controller->doInitialize();

    // The controller has no callback to learn when the link is up; a request
    // made before that is refused (false) and may simply be tried again.
    bool sent = false;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!sent && std::chrono::steady_clock::now() < deadline) {
        sent = controller->sendControlMode(mode, technology, item);
        if (!sent) {
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
        }
    }
    if (!sent) {
        std::printf("the service was not reachable within 10 s\n");
        return 1;
    }
    // The request is sent without waiting for a reply: push it out before leaving.
    GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
    if (bus != nullptr) {
        g_dbus_connection_flush_sync(bus, nullptr, nullptr);
        g_object_unref(bus);
    }
    std::printf("control mode %u sent for technology %u, item %u\n", mode, technology,
                static_cast<unsigned int>(item));
    return 0;
}
