// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include <atomic>

#include "CoreEngineFixture.h"
#include "LogCapture.h"
#include "WaitUntil.h"

using namespace coretest;
using veltest::LogCapture;

namespace {

std::atomic<int> gSeenByTheTest{0};

void countSignal(GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*, GVariant*, gpointer)
{
    gSeenByTheTest.fetch_add(1);
}

} // namespace

TEST_F(ACoreEngineWithService, TurnsAwaySignalsThatArriveAfterItWasDestroyed)
{
    VelComProxyCoreEngine* core = connectCore(&processCallback());
    ASSERT_NE(core, nullptr);
    // A subscription of the test's own on the same connection, made after the
    // facade's: the main-loop thread hands it each signal after the facade.
    GDBusConnection* connection = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
    ASSERT_NE(connection, nullptr);
    const guint subscription = g_dbus_connection_signal_subscribe(
        connection, nullptr, "com.qor.vel_communicator", "noticeToCoreLinkLoss", "/com/qor/vel_communicator", nullptr,
        G_DBUS_SIGNAL_FLAGS_NONE, countSignal, nullptr, nullptr);
    ASSERT_TRUE(control("EmitNoticeToCoreLinkLoss", g_variant_new("(s)", "before")));
    ASSERT_TRUE(processCallback().waitForCall("onRcvInfoLinkLoss(before)", kBusWait));
    ASSERT_TRUE(veltest::waitUntil([] { return gSeenByTheTest.load() == 1; }, kBusWait));
    LogCapture::clear();

    delete core;

    EXPECT_EQ(LogCapture::count("[~VelComProxy] destructor"), 1u);
    ASSERT_TRUE(control("EmitNoticeToCoreLinkLoss", g_variant_new("(s)", "after")));
    ASSERT_TRUE(veltest::waitUntil([] { return gSeenByTheTest.load() == 2; }, kBusWait));
    EXPECT_EQ(processCallback().count("onRcvInfoLinkLoss(after)"), 0u);
    EXPECT_EQ(LogCapture::count("receiveNoticeToCoreLinkLoss"), 0u);
    g_dbus_connection_signal_unsubscribe(connection, subscription);
    g_object_unref(connection);
}
