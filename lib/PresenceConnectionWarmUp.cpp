#include "PresenceConnectionWarmUp.h"

#include <dbus/dbus.h>

#include <future>
#include <mutex>
#include <system_error>

namespace vel_link {

namespace {

std::mutex& warmUpMutex()
{
    static std::mutex mutex;
    return mutex;
}

// Never destroyed: a process may end while the warm-up still runs, and
// destroying the future would then wait for a bus that may not answer. A
// presence check that comes while it runs simply waits inside dbus_bus_get
// for the same connection.
std::shared_future<void>& warmUp()
{
    static auto* future = new std::shared_future<void>();
    return *future;
}

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
    std::lock_guard<std::mutex> lock(warmUpMutex());
    if (warmUp().valid()) {
        return;
    }
    try {
        warmUp() = std::async(std::launch::async, &openSharedConnection).share();
    } catch (const std::system_error&) {
        // No thread to spare: the presence check opens the connection itself.
    }
}

} // namespace vel_link
