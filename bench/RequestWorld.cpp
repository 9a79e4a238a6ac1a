// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "RequestWorld.h"

#include <cstdio>

#include "RawClient.h"

namespace velbench {

namespace {

constexpr int kReadyTimeoutMs = 20000;

RequestWorld* makeWorld()
{
    auto* world = new RequestWorld();
    world->app = VelComProxyApp::getInstance(CLIENT_TYPE_APPLICATION_FIRST, "bench-app", &world->appCallback);
    world->app->doInitialize();
    if (!world->appCallback.ready.waitFor(kReadyTimeoutMs)) {
        std::fprintf(stderr, "vel-bench: the application facade never became ready\n");
        return nullptr;
    }
    world->core = VelComProxyCoreEngine::getInstance(CLIENT_TYPE_CORE_ENGINE_FIRST, "bench-core", &world->coreCallback);
    world->core->doInitialize();
    if (!world->coreCallback.ready.waitFor(kReadyTimeoutMs)) {
        std::fprintf(stderr, "vel-bench: the core-engine facade never became ready\n");
        return nullptr;
    }
    world->raw = makeRawProxy();
    if (world->raw == nullptr) {
        return nullptr;
    }
    GDBusConnection* connection = g_dbus_proxy_get_connection(G_DBUS_PROXY(world->raw));
    world->sim = new SimControl(connection);
    if (!world->sim->setPaired({kPairedDeviceId}) || !world->sim->setWifiCredentials(kCredentialRecords)) {
        return nullptr;
    }
    return world;
}

} // namespace

RequestWorld* requestWorld()
{
    static RequestWorld* world = makeWorld();
    return world;
}

} // namespace velbench
