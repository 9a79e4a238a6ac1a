// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "PrivateBus.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

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
    return startDaemon({});
}

bool PrivateBus::restart()
{
    const std::string listenAddress = mAddress.substr(0, mAddress.find(','));
    const std::string pathPrefix = "unix:path=";
    if (listenAddress.rfind(pathPrefix, 0) != 0) {
        return false;
    }
    dropTestConnection();
    mDaemon.kill9();
    // The killed daemon leaves its socket file behind.
    unlink(listenAddress.substr(pathPrefix.size()).c_str());
    return startDaemon({"--address=" + listenAddress});
}

bool PrivateBus::startDaemon(const std::vector<std::string>& extraArguments)
{
    const std::string addressFile = mDir.file("bus-address");
    unlink(addressFile.c_str());
    std::vector<std::string> arguments = {"/usr/bin/dbus-daemon", "--nofork", "--nopidfile", "--print-address=1",
                                          "--config-file=" + mConfigPath};
    arguments.insert(arguments.end(), extraArguments.begin(), extraArguments.end());
    if (!mDaemon.start(arguments, addressFile)) {
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
    // Without the daemon's guid, as a system bus address is written: a client
    // checks a guid it is given, and a restarted daemon has a new one.
    mAddress = printed.substr(0, std::min(printed.find('\n'), printed.find(",guid=")));
    setenv("DBUS_SYSTEM_BUS_ADDRESS", mAddress.c_str(), 1);
    return true;
}

void PrivateBus::dropTestConnection()
{
    if (mTestConnection != nullptr) {
        g_dbus_connection_close_sync(mTestConnection, nullptr, nullptr);
        g_object_unref(mTestConnection);
        mTestConnection = nullptr;
    }
}

void PrivateBus::stop()
{
    dropTestConnection();
    mDaemon.stop();
}

void PrivateBus::kill9()
{
    mDaemon.kill9();
}

GDBusConnection* connectToBus(const std::string& address)
{
    GDBusConnection* connection = g_dbus_connection_new_for_address_sync(
        address.c_str(),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, nullptr);
    if (connection != nullptr) {
        g_dbus_connection_set_exit_on_close(connection, FALSE);
    }
    return connection;
}

GDBusConnection* PrivateBus::testConnection()
{
    if (mTestConnection == nullptr && !mAddress.empty()) {
        mTestConnection = connectToBus(mAddress);
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
