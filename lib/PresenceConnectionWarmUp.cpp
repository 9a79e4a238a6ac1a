// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "PresenceConnectionWarmUp.h"

#include <dbus/dbus.h>

#include <mutex>
#include <system_error>
#include <thread>

namespace vel_link {

namespace {

void openSharedConnection()
{
    DBusError error;
    dbus_error_init(&error);
    DBusConnection* connection = dbus_bus_get(DBUS_BUS_SYSTEM, &error);
    if (connection != nullptr) {
        // As in the presence check: the host must outlive the bus.
        dbus_connection_set_exit_on_disconnect(connection, FALSE);
        // The reference stays with libdbus's shared connection, exactly like
        // the presence check's own.
    }
    // A failure is not reported here: the presence check asks again and
    // reports what it gets.
    dbus_error_free(&error);
}

} // namespace

void warmUpPresenceConnection()
{
    static std::once_flag once;
    std::call_once(once, [] {
        // Detached: nobody waits for it. A presence check that comes while it
        // runs waits inside dbus_bus_get for the same connection, and a
        // process that ends meanwhile need not wait for a bus that may not
        // answer.
        try {
            std::thread(&openSharedConnection).detach();
        } catch (const std::system_error&) {
            // No thread to spare: the presence check opens the connection itself.
        }
    });
}

} // namespace vel_link
