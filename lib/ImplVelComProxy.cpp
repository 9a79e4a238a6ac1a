// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "ImplVelComProxy.h"

#include <time.h>

#include <mutex>

#include "LibraryLock.h"
#include "ProxyReference.h"
#include "VelComProxyLog.h"
#include "vel/VelAgent.h"
#include "vel/VelComProxy.h"

namespace {

constexpr int kRegisterAttempts = 60;

void pause100ms()
{
    const struct timespec delay = {0, 100000000L};
    nanosleep(&delay, nullptr);
}

// The proxy class is set up once, before any thread makes a proxy. GLib's type
// lock makes its first use safe from any thread, but a checker that cannot see
// into GLib sees the class's private offset written on one thread and read on
// another; a C++ static orders the two where it can see them.
void prepareProxyClass()
{
    static const bool prepared = [] {
        g_type_class_unref(g_type_class_ref(TYPE_COM_QOR_VEL_COMMUNICATOR_PROXY));
        return true;
    }();
    (void)prepared;
}

} // namespace

ImplVelComProxy::ImplVelComProxy(CLIENT_TYPE_e clientType, VelComProxy* owner)
    : mClientType(static_cast<uint32_t>(clientType)),
      mOwner(owner),
      mCallBackAgent(nullptr),
      mLazyInitialized(false)
{
}

ImplVelComProxy::~ImplVelComProxy() = default;

void ImplVelComProxy::setName(std::string name)
{
    mName = std::move(name);
    proxyLog(DLT_LOG_INFO, mName, __func__, "_name:", mName);
}

bool ImplVelComProxy::openProxy()
{
    proxyLog(DLT_LOG_INFO, mName, __func__, "openProxy()");
    VelComProxy& owner = *mOwner;
    {
        vel_link::LibraryLock<std::mutex> lock(vel_link::linkMutex());
        if (owner.mProxy != nullptr) {
            return true;
        }
    }
    // Made outside the lock (they wait for the bus), published under it:
    // requests on other threads read these slots.
    prepareProxyClass();
    GError* error = nullptr;
    ComQorVel_communicator* proxy = com_qor_vel_communicator_proxy_new_for_bus_sync(
        G_BUS_TYPE_SYSTEM, G_DBUS_PROXY_FLAGS_NONE, owner.mBusName, owner.mObjectPath, nullptr, &error);
    if (proxy != nullptr) {
        // The shared system-bus connection would otherwise end the host process
        // when the bus goes away.
        g_dbus_connection_set_exit_on_close(g_dbus_proxy_get_connection(G_DBUS_PROXY(proxy)), FALSE);
    }
    {
        vel_link::LibraryLock<std::mutex> lock(vel_link::linkMutex());
        owner.mProxy = proxy;
        g_clear_error(&owner.mError);
        owner.mError = error;
    }
    if (!owner.checkProxyAvailable()) {
        proxyLog(DLT_LOG_ERROR, mName, __func__, "proxy_new_for_bus_sync Error");
        // Without a proxy the check above leaves the error in place; the next
        // attempt needs an empty slot.
        vel_link::LibraryLock<std::mutex> lock(vel_link::linkMutex());
        g_clear_error(&owner.mError);
        return false;
    }
    error = nullptr;
    GDBusConnection* connection = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, &error);
    if (connection != nullptr) {
        g_dbus_connection_set_exit_on_close(connection, FALSE);
    }
    {
        vel_link::LibraryLock<std::mutex> lock(vel_link::linkMutex());
        owner.mConnection = connection;
        owner.mError = error;
    }
    if (!owner.checkProxyAvailable()) {
        proxyLog(DLT_LOG_ERROR, mName, __func__, "g_bus_get_sync Error");
        return false;
    }
    return true;
}

void ImplVelComProxy::registerMe()
{
    proxyLog(DLT_LOG_INFO, mName, __func__, "registerMe()");
    int count = 0;
    while (count < kRegisterAttempts) {
        // A transport error or a reply of the wrong type leaves result false,
        // which is a refusal like any other.
        // A vanish on the main-loop thread may take the proxy meanwhile; then
        // this attempt is refused like any other.
        gboolean result = FALSE;
        vel_link::ProxyReference proxy(mOwner->mProxy);
        if (proxy) {
            com_qor_vel_communicator_call_register_me_sync(proxy.get(), mClientType, mName.c_str(), &result, nullptr,
                                                           nullptr);
        }
        if (result) {
            return;
        }
        proxyLog(DLT_LOG_INFO, mName, __func__, "MVEL is NOT registered. Re-Check count : ", count);
        ++count;
        pause100ms();
    }
    proxyLog(DLT_LOG_INFO, mName, __func__, "MVEL is NOT registered. return FALSE. retry_count : ", count);
}
