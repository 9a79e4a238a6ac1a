#include "BusTypeWarmUp.h"

#include <gio/gio.h>
#include <gio/gunixconnection.h>
#include <gio/gunixsocketaddress.h>

#include <mutex>

#include "vel/mvel_interface.h"

namespace vel_link {

void warmUpBusTypes()
{
    static std::once_flag once;
    std::call_once(once, [] {
        // What a GDBus connection, its authentication and the generated
        // proxy instantiate on their first use.
        const GType types[] = {
            G_TYPE_DBUS_CONNECTION,
            G_TYPE_DBUS_MESSAGE,
            G_TYPE_DBUS_AUTH_OBSERVER,
            G_TYPE_SOCKET,
            G_TYPE_SOCKET_CLIENT,
            G_TYPE_UNIX_SOCKET_ADDRESS,
            G_TYPE_UNIX_CONNECTION,
            G_TYPE_CREDENTIALS,
            G_TYPE_TASK,
            G_TYPE_CANCELLABLE,
            G_TYPE_DBUS_PROXY,
            com_qor_vel_communicator_proxy_get_type(),
        };
        for (GType type : types) {
            g_type_class_unref(g_type_class_ref(type));
        }
    });
}

} // namespace vel_link
