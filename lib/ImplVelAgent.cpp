// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "ImplVelAgent.h"

#include <vector>

#include "LibraryLock.h"
#include "log_contexts.h"
#include "vel/OrnaLogWrapper.h"
#include "vel/VelAgent.h"
#include "vel/VelComProxy.h"
#include "vel/VelTimer.h"

guint ImplVelAgent::mWatcherId = 0;
int32_t ImplVelAgent::mReferenceCnt = 0;
void* ImplVelAgent::mTimerId = nullptr;
std::mutex ImplVelAgent::mWatchMutex;
GDBusConnection* ImplVelAgent::mWatchConnection = nullptr;

namespace {

constexpr int kRecoveryTimeoutMs = 10000;

// Never destroyed: the main-loop thread may still walk it while the process exits.
std::list<std::function<void(bool)>>& callbackList()
{
    static auto* list = new std::list<std::function<void(bool)>>();
    return *list;
}

std::mutex& callbackListMutex()
{
    static auto* mutex = new std::mutex();
    return *mutex;
}

// The last event handed to the callbacks was an appearance (or a recovery
// timer's expiry, which stands for one). Guarded by callbackListMutex().
bool gLastEventWasAppearance = false;

} // namespace

ImplVelAgent::ImplVelAgent(const std::string& name)
    : mName(name)
{
}

ImplVelAgent::~ImplVelAgent() = default;

VelTimer& ImplVelAgent::timer()
{
    // Lives as long as the process: a recovery timer may still be registered.
    static VelTimer* registry = new VelTimer();
    return *registry;
}

bool ImplVelAgent::addCallback(const std::function<void(bool)>& callback)
{
    vel_link::LibraryLock<std::mutex> lock(callbackListMutex());
    callbackList().push_back(callback);
    return gLastEventWasAppearance;
}

void ImplVelAgent::forgetLastEvent()
{
    vel_link::LibraryLock<std::mutex> lock(callbackListMutex());
    gLastEventWasAppearance = false;
}

std::size_t ImplVelAgent::callbackCount()
{
    vel_link::LibraryLock<std::mutex> lock(callbackListMutex());
    return callbackList().size();
}

void ImplVelAgent::notifyAll(bool appeared)
{
    // A snapshot, so that a callback that blocks for seconds holds no lock.
    std::vector<std::function<void(bool)>> callbacks;
    {
        vel_link::LibraryLock<std::mutex> lock(callbackListMutex());
        gLastEventWasAppearance = appeared;
        callbacks.assign(callbackList().begin(), callbackList().end());
    }
    for (const auto& callback : callbacks) {
        callback(appeared);
    }
}

void ImplVelAgent::RegisterMVELService()
{
    orna::log(&VELSIGNAL, DLT_LOG_INFO, "[VELLIB] RegisterMVELService()");
    vel_link::LibraryLock<std::mutex> lock(mWatchMutex);
    if (mWatcherId != 0) {
        orna::log(&VELSIGNAL, DLT_LOG_INFO, "[VELLIB] Already registered for checking D-Bus service name");
        ++mReferenceCnt;
        return;
    }
    // The watch runs on the shared system-bus connection. By default GLib ends
    // the process when that connection closes; a client library must not.
    GError* error = nullptr;
    mWatchConnection = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, &error);
    if (mWatchConnection != nullptr) {
        g_dbus_connection_set_exit_on_close(mWatchConnection, FALSE);
        g_signal_connect(mWatchConnection, "closed", G_CALLBACK(&ImplVelAgent::onWatchConnectionClosed), nullptr);
    } else {
        // No bus: the watch below reports the name as vanished.
        g_clear_error(&error);
    }
    mWatcherId = g_bus_watch_name(G_BUS_TYPE_SYSTEM, mName.c_str(), G_BUS_NAME_WATCHER_FLAGS_NONE,
                                  &ImplVelAgent::OnDBusNameAppeared, &ImplVelAgent::OnDBusNameVanished, nullptr,
                                  nullptr);
    ++mReferenceCnt;
    orna::log(&VELSIGNAL, DLT_LOG_INFO, "[VELLIB] Watching mvel D-Bus service name. Watcher ID : ", mWatcherId);
}

void ImplVelAgent::UnregisterMVELService()
{
    orna::log(&VELSIGNAL, DLT_LOG_INFO, "[VELLIB] UnregisterMVELService()");
    if (mReferenceCnt > 1) {
        --mReferenceCnt;
    } else if (mWatcherId != 0) {
        g_bus_unwatch_name(mWatcherId);
        mReferenceCnt = 0;
        mWatcherId = 0;
        releaseWatchConnection();
        // The next watch reports the name afresh; until then nobody has seen it.
        forgetLastEvent();
    } else {
        // Unbalanced releases push the count below zero; nothing else happens.
        --mReferenceCnt;
    }
}

void ImplVelAgent::releaseWatchConnection()
{
    vel_link::LibraryLock<std::mutex> lock(mWatchMutex);
    if (mWatchConnection != nullptr) {
        g_signal_handlers_disconnect_by_func(mWatchConnection,
                                             reinterpret_cast<gpointer>(&ImplVelAgent::onWatchConnectionClosed), nullptr);
        g_clear_object(&mWatchConnection);
    }
}

void ImplVelAgent::onWatchConnectionClosed(GDBusConnection*, gboolean, GError*, gpointer)
{
    // The watch has let go of the closed connection by now. Holding on to it
    // would make GLib hand out this dead connection instead of a new one to
    // a bus that comes back.
    releaseWatchConnection();
}

void ImplVelAgent::OnDBusNameAppeared(GDBusConnection* connection, const gchar* name, const gchar* nameOwner,
                                      gpointer userData)
{
    (void)connection;
    (void)name;
    (void)nameOwner;
    (void)userData;
    orna::log(&VELSIGNAL, DLT_LOG_INFO, "[VELLIB] OnDBusNameAppeared()");
    timer().erase(mTimerId, true);
    notifyAll(true);
}

void ImplVelAgent::OnDBusNameVanished(GDBusConnection* connection, const gchar* name, gpointer userData)
{
    (void)connection;
    (void)name;
    (void)userData;
    orna::log(&VELSIGNAL, DLT_LOG_INFO, "[VELLIB] OnDBusNameVanished()");
    notifyAll(false);
    const int signo = __atomic_load_n(&VelComProxy::mSignalNoForAgent, __ATOMIC_SEQ_CST);
    if (signo != -1) {
        orna::log(&VELSIGNAL, DLT_LOG_INFO, "[VELLIB] Recovery timer is set. Signo:", signo);
        timer().start(&VelAgent::timeOutCallback, kRecoveryTimeoutMs, &mTimerId, signo, "OnDBusNameVanished");
    } else {
        orna::log(&VELSIGNAL, DLT_LOG_WARN, "[VELLIB] Recovery timer is not set. Signo is default value (-1)");
    }
}

void ImplVelAgent::onRecoveryTimerExpired(int signum)
{
    orna::log(&VELSIGNAL, DLT_LOG_ERROR, "[VELU][VelLibUtil][", "timeOutCallback", "] ",
              "@@@ ERR. VelAgent Timer expired! _signum:", signum);
    // Acts like an appearance for the proxies; the timer record stays until the
    // next appearance erases it.
    notifyAll(true);
}
