// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "ImplVelComProxyApp.h"

#include "AppLog.h"

namespace {

struct SignalSlot {
    const char* name;
    guint VelComProxyApp::ImplVelComProxyApp::*id;
};

// The application side's signals, in the order they are subscribed.
const SignalSlot kAppSignals[] = {
    {"appRequestDone", &VelComProxyApp::ImplVelComProxyApp::mAppRequestDoneId},
    {"checkFuncOpModeDone", &VelComProxyApp::ImplVelComProxyApp::mCheckFuncOpModeDoneId},
    {"noticeToApp", &VelComProxyApp::ImplVelComProxyApp::mNoticeToAppId},
    {"noticeTechActiveInfo", &VelComProxyApp::ImplVelComProxyApp::mNoticeTechActiveInfoId},
};

} // namespace

bool VelComProxyApp::ImplVelComProxyApp::subscribeSignals_l(GDBusConnection* _connection)
{
    // After the bus came back on a new connection the old ids are
    // meaningless: drop them so that everything is subscribed again.
    if (hasSubscriptions_l() && !mSubscribedConnection.is(_connection)) {
        VEL_APP_LOG(DLT_LOG_INFO, mName, "The connection changed. Subscribe again.");
        unsubscribeSignals_l();
    }
    mSubscribedConnection.set(_connection);
    for (const SignalSlot& slot : kAppSignals) {
        guint& id = this->*(slot.id);
        if (id != 0) {
            continue;
        }
        id = g_dbus_connection_signal_subscribe(_connection, nullptr, mpOwner->mBusName, slot.name,
                                                mpOwner->mObjectPath, nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
                                                &VelComProxyApp::onVelLibraryAppCallBack, mpOwner, nullptr);
        VEL_APP_LOG(DLT_LOG_INFO, mName, "subscribed:", slot.name, ", id:", id);
    }
    return true;
}

void VelComProxyApp::ImplVelComProxyApp::unsubscribeSignals_l()
{
    GDBusConnection* subscribed = mSubscribedConnection.get();
    for (const SignalSlot& slot : kAppSignals) {
        guint& id = this->*(slot.id);
        if (id != 0 && subscribed != nullptr) {
            g_dbus_connection_signal_unsubscribe(subscribed, id);
            VEL_APP_LOG(DLT_LOG_INFO, mName, "unsubscribed:", slot.name, ", id:", id);
        }
        id = 0;
    }
    g_clear_object(&subscribed);
    mSubscribedConnection.set(nullptr);
}

bool VelComProxyApp::ImplVelComProxyApp::hasSubscriptions_l() const
{
    for (const SignalSlot& slot : kAppSignals) {
        if (this->*(slot.id) != 0) {
            return true;
        }
    }
    return false;
}
