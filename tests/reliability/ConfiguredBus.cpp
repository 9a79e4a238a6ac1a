#include "ConfiguredBus.h"

#include <cstdlib>

#include "WaitUntil.h"

namespace reltest {

ConfiguredBus::~ConfiguredBus()
{
    stop();
}

bool ConfiguredBus::start()
{
    const std::string addressFile = mDir.file("bus-address");
    if (!mDaemon.start({"/usr/bin/dbus-daemon", "--nofork", "--nopidfile", "--print-address=1",
                        "--config-file=" + mConfigPath},
                       addressFile)) {
        return false;
    }
    // The daemon prints its address once it listens.
    if (!veltest::waitUntil([&] { return veltest::readFile(addressFile).find('\n') != std::string::npos; },
                            std::chrono::seconds(10))) {
        mDaemon.stop();
        return false;
    }
    const std::string printed = veltest::readFile(addressFile);
    mAddress = printed.substr(0, printed.find('\n'));
    setenv("DBUS_SYSTEM_BUS_ADDRESS", mAddress.c_str(), 1);
    return true;
}

void ConfiguredBus::stop()
{
    if (mTestConnection != nullptr) {
        g_dbus_connection_close_sync(mTestConnection, nullptr, nullptr);
        g_object_unref(mTestConnection);
        mTestConnection = nullptr;
    }
    mDaemon.stop();
}

GDBusConnection* ConfiguredBus::testConnection()
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

} // namespace reltest
