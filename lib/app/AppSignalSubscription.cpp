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
    if (_connection == nullptr) {
        VEL_APP_LOG(DLT_LOG_ERROR, mName, "@@@ ERR. Connection is null!");
        return false;
    }
    // After the bus came back on a new connection the old ids are
    // meaningless: drop them so that everything is subscribed again.
    if (mpSubscribedConnection != nullptr && mpSubscribedConnection != _connection) {
        VEL_APP_LOG(DLT_LOG_INFO, mName, "The connection changed. Subscribe again.");
        unsubscribeSignals_l();
    }
    if (mpSubscribedConnection == nullptr) {
        mpSubscribedConnection = G_DBUS_CONNECTION(g_object_ref(_connection));
    }
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
    for (const SignalSlot& slot : kAppSignals) {
        guint& id = this->*(slot.id);
        if (id != 0 && mpSubscribedConnection != nullptr) {
            g_dbus_connection_signal_unsubscribe(mpSubscribedConnection, id);
            VEL_APP_LOG(DLT_LOG_INFO, mName, "unsubscribed:", slot.name, ", id:", id);
        }
        id = 0;
    }
    if (mpSubscribedConnection != nullptr) {
        g_object_unref(mpSubscribedConnection);
        mpSubscribedConnection = nullptr;
    }
}
