// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <dbus/dbus.h>
#include <time.h>

#include "ImplVelComProxy.h"
#include "VelComProxyLog.h"

namespace {

constexpr int kPresenceChecks = 60;

// The shared connection while it is alive. libdbus keeps handing out its
// shared connection after the bus behind it has gone (it forgets it only
// when someone dispatches it, which nobody does here), and every probe on
// it would fail. Then a connection of our own is used instead: asking for
// it fails at once while there is no bus, and works again once the bus is
// back. The shared connection's queue is left alone, as the host may own it.
DBusConnection* presenceConnection(DBusBusType busType, DBusError* error, bool& isPrivate)
{
    isPrivate = false;
    DBusConnection* connection = dbus_bus_get(busType, error);
    if (connection == nullptr) {
        return nullptr;
    }
    // Reads what is pending without waiting, which is how a closed socket
    // shows up on a connection nobody iterates.
    if (dbus_connection_read_write(connection, 0) && dbus_connection_get_is_connected(connection)) {
        return connection;
    }
    dbus_connection_unref(connection);
    connection = dbus_bus_get_private(busType, error);
    isPrivate = connection != nullptr;
    return connection;
}

} // namespace

bool ImplVelComProxy::checkDbusServiceRegistered(bool useSessionBus, std::string serviceName)
{
    proxyLog(DLT_LOG_INFO, mName, __func__, "checkDbusServiceRegistered()");
    DBusError error;
    dbus_error_init(&error);
    bool isPrivate = false;
    DBusConnection* connection =
        presenceConnection(useSessionBus ? DBUS_BUS_SESSION : DBUS_BUS_SYSTEM, &error, isPrivate);
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
    bool registered = false;
    while (count < kPresenceChecks) {
        if (dbus_bus_name_has_owner(connection, serviceName.c_str(), &error)) {
            registered = true;
            break;
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
    // The shared connection belongs to libdbus; it is neither closed nor
    // released. A connection of our own is.
    if (isPrivate) {
        dbus_connection_close(connection);
        dbus_connection_unref(connection);
    }
    if (registered) {
        return true;
    }
    proxyLog(DLT_LOG_INFO, mName, __func__, "serviceName : ", serviceName,
             " was NOT registered. return FALSE. retry_count : ", count);
    return false;
}
