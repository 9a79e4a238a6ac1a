// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

#include "PrivateBus.h"
#include "SimProcess.h"
#include "WaitUntil.h"
#include "vel/mvel_interface.h"

using namespace std::chrono_literals;

namespace {

constexpr const char* kPath = "/com/qor/vel_communicator";
constexpr const char* kInterface = "com.qor.vel_communicator";

// A service object on a connection of its own, served by a thread of its own,
// so that the test thread can make blocking calls to it.
class InProcessService {
public:
    explicit InProcessService(const std::string& address) : mAddress(address)
    {
        mThread = std::thread([this] { run(); });
        veltest::waitUntil([this] { return mReady.load(); }, 10s);
    }

    ~InProcessService()
    {
        if (mLoop != nullptr) {
            g_main_loop_quit(mLoop);
        }
        mThread.join();
    }

    ComQorVel_communicator* skeleton() const { return mSkeleton; }
    std::string uniqueName() const { return mUniqueName; }

private:
    void run()
    {
        GMainContext* context = g_main_context_new();
        g_main_context_push_thread_default(context);
        GDBusConnection* connection = g_dbus_connection_new_for_address_sync(
            mAddress.c_str(),
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr);
        mSkeleton = com_qor_vel_communicator_skeleton_new();
        g_dbus_interface_skeleton_export(G_DBUS_INTERFACE_SKELETON(mSkeleton), connection, kPath, nullptr);
        mUniqueName = g_dbus_connection_get_unique_name(connection);
        mLoop = g_main_loop_new(context, FALSE);
        mReady = true;
        g_main_loop_run(mLoop);
        g_dbus_interface_skeleton_unexport(G_DBUS_INTERFACE_SKELETON(mSkeleton));
        g_object_unref(mSkeleton);
        g_dbus_connection_close_sync(connection, nullptr, nullptr);
        g_object_unref(connection);
        g_main_loop_unref(mLoop);
        g_main_context_pop_thread_default(context);
        g_main_context_unref(context);
    }

    std::string mAddress;
    std::thread mThread;
    std::atomic<bool> mReady{false};
    GMainLoop* mLoop = nullptr;
    ComQorVel_communicator* mSkeleton = nullptr;
    std::string mUniqueName;
};

// Subscribes to one signal of the interface on the test's own connection and
// keeps the last parameters received.
class SignalCatcher {
public:
    SignalCatcher(GDBusConnection* connection, const char* member) : mConnection(connection)
    {
        mContext = g_main_context_new();
        g_main_context_push_thread_default(mContext);
        mId = g_dbus_connection_signal_subscribe(connection, nullptr, kInterface, member, kPath, nullptr,
                                                 G_DBUS_SIGNAL_FLAGS_NONE, &SignalCatcher::onSignal, this, nullptr);
        g_main_context_pop_thread_default(mContext);
    }

    ~SignalCatcher()
    {
        g_dbus_connection_signal_unsubscribe(mConnection, mId);
        if (mReceived != nullptr) {
            g_variant_unref(mReceived);
        }
        while (g_main_context_iteration(mContext, FALSE)) {
        }
        g_main_context_unref(mContext);
    }

    // Dispatches the catcher's context until a signal came in or the timeout passed.
    GVariant* wait(std::chrono::milliseconds timeout)
    {
        veltest::waitUntil(
            [this] {
                while (g_main_context_iteration(mContext, FALSE)) {
                }
                return mReceived != nullptr;
            },
            timeout);
        return mReceived;
    }

private:
    static void onSignal(GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*, GVariant* parameters,
                         gpointer userData)
    {
        auto* self = static_cast<SignalCatcher*>(userData);
        if (self->mReceived == nullptr) {
            self->mReceived = g_variant_ref(parameters);
        }
    }

    GDBusConnection* mConnection;
    GMainContext* mContext = nullptr;
    guint mId = 0;
    GVariant* mReceived = nullptr;
};

// The caught signal's parameters, compared by type and printed value.
::testing::AssertionResult arrivesAs(SignalCatcher& catcher, const char* type, const char* printed)
{
    GVariant* received = catcher.wait(5s);
    if (received == nullptr) {
        return ::testing::AssertionFailure() << "no signal within 5 s";
    }
    gchar* text = g_variant_print(received, FALSE);
    const std::string got = text;
    g_free(text);
    if (std::string(g_variant_get_type_string(received)) != type || got != printed) {
        return ::testing::AssertionFailure()
               << "got " << g_variant_get_type_string(received) << " " << got << ", want " << type << " " << printed;
    }
    return ::testing::AssertionSuccess();
}

class ThePrivateBus : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(mBus.start()); }

    veltest::PrivateBus mBus;
};

} // namespace

TEST_F(ThePrivateBus, IsWhereTheSystemBusAddressPoints)
{
    EXPECT_EQ(std::string(g_getenv("DBUS_SYSTEM_BUS_ADDRESS")), mBus.address());
    EXPECT_NE(mBus.address().find("unix:"), std::string::npos);
    EXPECT_TRUE(mBus.nameHasOwner("org.freedesktop.DBus"));
}

TEST_F(ThePrivateBus, CarriesARegisterMeCallFromAGeneratedProxyToTheSimulatorAndItsReplyBack)
{
    veltest::SimProcess sim(mBus);
    ASSERT_TRUE(sim.start());

    GError* error = nullptr;
    ComQorVel_communicator* proxy = com_qor_vel_communicator_proxy_new_for_bus_sync(
        G_BUS_TYPE_SYSTEM, G_DBUS_PROXY_FLAGS_NONE, "com.qor.vel_communicator", kPath, nullptr, &error);
    ASSERT_NE(proxy, nullptr) << (error ? error->message : "");
    // The shared connection must not take the test down when the bus stops at teardown.
    g_dbus_connection_set_exit_on_close(g_dbus_proxy_get_connection(G_DBUS_PROXY(proxy)), FALSE);

    gboolean result = FALSE;
    ASSERT_TRUE(com_qor_vel_communicator_call_register_me_sync(proxy, 100, "[test.client]", &result, nullptr, &error))
        << (error ? error->message : "");
    EXPECT_TRUE(result);
    EXPECT_TRUE(sim.waitForLog("call registerMe (uint32 100, '[test.client]')", 5s)) << sim.log();
    g_object_unref(proxy);
}

TEST_F(ThePrivateBus, AnswersAnUnhandledMethodWithTheNotImplementedError)
{
    InProcessService service(mBus.address());
    GError* error = nullptr;
    ComQorVel_communicator* proxy = com_qor_vel_communicator_proxy_new_sync(
        mBus.testConnection(), G_DBUS_PROXY_FLAGS_DO_NOT_LOAD_PROPERTIES, service.uniqueName().c_str(), kPath, nullptr,
        &error);
    ASSERT_NE(proxy, nullptr);

    EXPECT_FALSE(com_qor_vel_communicator_call_inform_medium_op_mode_sync(proxy, 1, 2, 3, 4, nullptr, &error));
    ASSERT_NE(error, nullptr);
    EXPECT_TRUE(g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_UNKNOWN_METHOD));
    g_dbus_error_strip_remote_error(error);
    EXPECT_STREQ(error->message, "Method informMediumOpMode is not implemented on interface com.qor.vel_communicator");
    g_error_free(error);
    g_object_unref(proxy);
}

TEST_F(ThePrivateBus, DeliversNoticeToAppWithASignedThirdArgument)
{
    InProcessService service(mBus.address());
    SignalCatcher catcher(mBus.testConnection(), "noticeToApp");

    com_qor_vel_communicator_emit_notice_to_app(service.skeleton(), 4, "1234", -7);

    GVariant* received = catcher.wait(5s);
    ASSERT_NE(received, nullptr);
    ASSERT_STREQ(g_variant_get_type_string(received), "(usi)");
    guint notice = 0;
    const gchar* info1 = nullptr;
    gint32 info2 = 0;
    g_variant_get(received, "(u&si)", &notice, &info1, &info2);
    EXPECT_EQ(notice, 4u);
    EXPECT_STREQ(info1, "1234");
    EXPECT_EQ(info2, -7);
}

TEST_F(ThePrivateBus, DeliversAppRequestDoneWithItsArgumentTypes)
{
    InProcessService service(mBus.address());
    SignalCatcher catcher(mBus.testConnection(), "appRequestDone");

    com_qor_vel_communicator_emit_app_request_done(service.skeleton(), 0, 1, "42", 5);

    EXPECT_TRUE(arrivesAs(catcher, "(uusu)", "(0, 1, '42', 5)"));
}

TEST_F(ThePrivateBus, DeliversCheckCapabilityWithItsCredentialsArray)
{
    InProcessService service(mBus.address());
    SignalCatcher catcher(mBus.testConnection(), "checkCapability");
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("a(ssyuuss)"));
    g_variant_builder_add(&builder, "(ssyuuss)", "car-ap", "secret", 6, 3u, 7000u, "192.168.1.1", "aa:bb");

    com_qor_vel_communicator_emit_check_capability(service.skeleton(), "77", 4, "/dev/spp0", "00:11",
                                                   g_variant_builder_end(&builder));

    EXPECT_TRUE(arrivesAs(catcher, "(sussa(ssyuuss))", "('77', 4, '/dev/spp0', '00:11', [('car-ap', 'secret', 0x06, 3, 7000, '192.168.1.1', 'aa:bb')])"));
}

TEST_F(ThePrivateBus, DeliversNoticeTechActiveInfoAsAnArrayOfTechnologyAndFlag)
{
    InProcessService service(mBus.address());
    SignalCatcher catcher(mBus.testConnection(), "noticeTechActiveInfo");
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("a(ub)"));
    g_variant_builder_add(&builder, "(ub)", 2u, TRUE);
    g_variant_builder_add(&builder, "(ub)", 6u, FALSE);

    com_qor_vel_communicator_emit_notice_tech_active_info(service.skeleton(), g_variant_builder_end(&builder));

    EXPECT_TRUE(arrivesAs(catcher, "(a(ub))", "([(2, true), (6, false)],)"));
}

TEST_F(ThePrivateBus, NamesTheInterfaceExactlyAsTheBusNameWithoutTurningUnderscoresIntoDots)
{
    InProcessService service(mBus.address());
    SignalCatcher catcher(mBus.testConnection(), "noticeToCoreLinkLoss");

    com_qor_vel_communicator_emit_notice_to_core_link_loss(service.skeleton(), "10.0.0.1");

    // The catcher subscribed with the interface "com.qor.vel_communicator"; a
    // signal under any other interface name would not reach it.
    GVariant* received = catcher.wait(5s);
    ASSERT_NE(received, nullptr);
    EXPECT_STREQ(g_variant_get_type_string(received), "(s)");
    EXPECT_STREQ(com_qor_vel_communicator_interface_info()->name, "com.qor.vel_communicator");
}
