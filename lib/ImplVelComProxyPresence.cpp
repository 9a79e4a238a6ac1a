#include <dbus/dbus.h>
#include <time.h>

#include "ImplVelComProxy.h"
#include "VelComProxyLog.h"

namespace {
constexpr int kPresenceChecks = 60;
}

bool ImplVelComProxy::checkDbusServiceRegistered(bool useSessionBus, std::string serviceName)
{
    proxyLog(DLT_LOG_INFO, mName, __func__, "checkDbusServiceRegistered()");
    DBusError error;
    dbus_error_init(&error);
    DBusConnection* connection = dbus_bus_get(useSessionBus ? DBUS_BUS_SESSION : DBUS_BUS_SYSTEM, &error);
    if (dbus_error_is_set(&error)) {
        proxyLog(DLT_LOG_ERROR, mName, __func__, "@@@ ERR. Connection Error :", error.message);
        dbus_error_free(&error);
        return false;
    }
    if (connection == nullptr) {
        proxyLog(DLT_LOG_ERROR, mName, __func__, "@@@ ERR. conn object is NULL");
        return false;
    }
    // libdbus's shared connection calls _exit() on disconnect by default; the
    // host process must survive the bus going away.
    dbus_connection_set_exit_on_disconnect(connection, FALSE);

    int count = 0;
    while (count < kPresenceChecks) {
        if (dbus_bus_name_has_owner(connection, serviceName.c_str(), &error)) {
            return true;
        }
        proxyLog(DLT_LOG_INFO, mName, __func__, "serviceName : ", serviceName,
                 " was NOT registered. Re-Check Dbus Service. count : ", count);
        if (dbus_error_is_set(&error)) {
            proxyLog(DLT_LOG_ERROR, mName, __func__, "@@@ ERR.  Connection Error :", error.message);
            dbus_error_free(&error);
        }
        ++count;
        const struct timespec delay = {0, 100000000L};
        nanosleep(&delay, nullptr);
    }
    // The shared connection belongs to libdbus; it is neither closed nor released.
    proxyLog(DLT_LOG_INFO, mName, __func__, "serviceName : ", serviceName,
             " was NOT registered. return FALSE. retry_count : ", count);
    return false;
}
