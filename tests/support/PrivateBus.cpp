#include "PrivateBus.h"

#include <cstdlib>

#include "WaitUntil.h"

#ifndef VEL_TEST_BUS_CONFIG
#error "VEL_TEST_BUS_CONFIG must name the private bus configuration"
#endif

namespace veltest {

PrivateBus::PrivateBus() : mConfigPath(VEL_TEST_BUS_CONFIG) {}

PrivateBus::~PrivateBus()
{
    stop();
}

bool PrivateBus::start()
{
    const std::string addressFile = mDir.file("bus-address");
    if (!mDaemon.start({"/usr/bin/dbus-daemon", "--nofork", "--nopidfile", "--print-address=1",
                        "--config-file=" + mConfigPath},
                       addressFile)) {
        return false;
    }
    // The daemon prints its address once it listens.
    const bool listening = waitUntil([&] { return readFile(addressFile).find('\n') != std::string::npos; },
                                     std::chrono::seconds(10));
    if (!listening) {
        mDaemon.stop();
        return false;
    }
    const std::string printed = readFile(addressFile);
    mAddress = printed.substr(0, printed.find('\n'));
    setenv("DBUS_SYSTEM_BUS_ADDRESS", mAddress.c_str(), 1);
    return true;
}

void PrivateBus::stop()
{
    if (mTestConnection != nullptr) {
        g_dbus_connection_close_sync(mTestConnection, nullptr, nullptr);
        g_object_unref(mTestConnection);
        mTestConnection = nullptr;
    }
    mDaemon.stop();
}

void PrivateBus::kill9()
{
    mDaemon.kill9();
}

GDBusConnection* PrivateBus::testConnection()
{
    if (mTestConnection == nullptr && !mAddress.empty()) {
        mTestConnection = g_dbus_connection_new_for_address_sync(
            mAddress.c_str(),
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr);
        if (mTestConnection != nullptr) {
            g_dbus_connection_set_exit_on_close(mTestConnection, FALSE);
        }
    }
    return mTestConnection;
}

bool PrivateBus::nameHasOwner(const std::string& name)
{
    GDBusConnection* connection = testConnection();
    if (connection == nullptr) {
        return false;
    }
    GVariant* reply = g_dbus_connection_call_sync(connection, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                  "org.freedesktop.DBus", "NameHasOwner", g_variant_new("(s)", name.c_str()),
                                                  G_VARIANT_TYPE("(b)"), G_DBUS_CALL_FLAGS_NONE, 2000, nullptr, nullptr);
    if (reply == nullptr) {
        return false;
    }
    gboolean owned = FALSE;
    g_variant_get(reply, "(b)", &owned);
    g_variant_unref(reply);
    return owned;
}

} // namespace veltest
