// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "RawClient.h"

#include <cstdio>
#include <thread>

namespace velbench {

ComQorVel_communicator* makeRawProxy()
{
    GError* error = nullptr;
    ComQorVel_communicator* proxy = com_qor_vel_communicator_proxy_new_for_bus_sync(
        G_BUS_TYPE_SYSTEM, G_DBUS_PROXY_FLAGS_NONE, "com.qor.vel_communicator", "/com/qor/vel_communicator", nullptr,
        &error);
    if (proxy == nullptr) {
        std::fprintf(stderr, "vel-bench: no raw proxy: %s\n", error->message);
        g_error_free(error);
    }
    return proxy;
}

void startDefaultMainLoopThread()
{
    std::thread([] {
        GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
        g_main_loop_run(loop);
    }).detach();
}

} // namespace velbench
