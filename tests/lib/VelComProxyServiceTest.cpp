// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <dbus/dbus.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <memory>
#include <mutex>

#include "ImplVelAgent.h"
#include "ServiceFixture.h"

using namespace linktest;
using veltest::LogCapture;

namespace {

const std::string kService = "serviceName : com.qor.vel_communicator";

std::size_t countExact(const std::string& text, int severity)
{
    std::size_t n = 0;
    for (const auto& line : LogCapture::lines()) {
        n += line.text == text && line.severity == severity ? 1 : 0;
    }
    return n;
}

std::size_t countErrors()
{
    std::size_t errors = 0;
    for (const auto& line : LogCapture::lines()) {
        errors += line.severity == veltest::kSeverityError ? 1 : 0;
    }
    return errors;
}

// A callback agent whose ready report blocks until the test lets it go.
class BlockingAgent : public VelCallBackAgent {
public:
    void onRcvMVELReady(bool) override
    {
        std::unique_lock<std::mutex> lock(mMutex);
        mInside = true;
        mChanged.notify_all();
        // Bounded, so that a broken test cannot stall the main-loop thread for good.
        mChanged.wait_for(lock, std::chrono::seconds(20), [this] { return mReleased; });
        mInside = false;
        mChanged.notify_all();
    }

    bool waitUntilInside(std::chrono::milliseconds timeout)
    {
        std::unique_lock<std::mutex> lock(mMutex);
        return mChanged.wait_for(lock, timeout, [this] { return mInside; });
    }

    bool releaseAndWaitUntilLeft(std::chrono::milliseconds timeout)
    {
        std::unique_lock<std::mutex> lock(mMutex);
        mReleased = true;
        mChanged.notify_all();
        return mChanged.wait_for(lock, timeout, [this] { return !mInside; });
    }

private:
    std::mutex mMutex;
    std::condition_variable mChanged;
    bool mInside = false;
    bool mReleased = false;
};

} // namespace

TEST_F(AClientProxyWithService, KeepsItsStateWhenDestroyedWhileOneOfItsCallbacksRuns)
{
    ASSERT_TRUE(sim.start());
    BlockingAgent blocking;
    auto facade = std::make_unique<TestFacade>(kAppKind, "client", &blocking);
    ASSERT_TRUE(facade->doInitialize());
    ASSERT_TRUE(blocking.waitUntilInside(std::chrono::seconds(20)));
    LogCapture::clear();

    // Waits up to 2 s for the callback, then gives up on it.
    facade.reset();

    EXPECT_TRUE(LogCapture::hasExact(proxyLine("client", "~VelComProxy", "@@@ WARN. A callback is still running. Keep its state!"),
                                     veltest::kSeverityWarn));
    EXPECT_EQ(LogCapture::count("unregister"), 0u);
    ASSERT_TRUE(blocking.releaseAndWaitUntilLeft(std::chrono::seconds(10)));
    // The main-loop thread is free again and the process goes on.
    EXPECT_TRUE(flushDefaultContext());
    // Later events find the proxy's gate closed and touch nothing.
    sim.stop();
    ASSERT_TRUE(LogCapture::waitFor("[VELLIB] OnDBusNameVanished()", std::chrono::seconds(10)));
    EXPECT_TRUE(flushDefaultContext());
    EXPECT_EQ(LogCapture::count("D-Bus service name is vanished."), 0u);
}

TEST_F(AClientProxyWithService, ConnectsSubscribesRegistersAndReportsReadyWhenTheServiceIsUp)
{
    ASSERT_TRUE(sim.start());
    TestFacade& facade = makeFacade();

    ASSERT_TRUE(facade.doInitialize());
    ASSERT_TRUE(waitForEvents(1));

    EXPECT_EQ(agent.events(), std::vector<bool>{true});
    EXPECT_TRUE(LogCapture::hasExact(proxyLine("client", "prepareToCommunicateWithStub", "Watching mvel service"),
                                     veltest::kSeverityInfo));
    const int appeared = indexOfLine(proxyLine("client", "agentCallback", "D-Bus service name is appeared."));
    const int lazy = indexOfLine(proxyLine("client", "lazyInitialize", "Not implemented. Lazy initilize()"), appeared);
    const int check = indexOfLine(
        proxyLine("client", "checkDbusServiceRegistered", "checkDbusServiceRegistered()"), lazy);
    const int open = indexOfLine(proxyLine("client", "openProxy", "openProxy()"), check);
    const int registering = indexOfLine(proxyLine("client", "registerMe", "registerMe()"), open);
    ASSERT_GE(appeared, 0);
    EXPECT_GT(lazy, appeared);
    EXPECT_GT(check, lazy);
    EXPECT_GT(open, check);
    EXPECT_GT(registering, open);
    EXPECT_TRUE(VelComProxy::mIsAppearedMVELService);
    EXPECT_NE(facade.proxy(), nullptr);
    EXPECT_NE(facade.connection(), nullptr);
    EXPECT_EQ(facade.mSubscribeCalls.load(), 1);
    EXPECT_TRUE(facade.mConnectionAtSubscribe.load());
    EXPECT_EQ(sim.countLog(registerCall(100, "client")), 1u);
    EXPECT_EQ(LogCapture::count("MVEL is NOT registered"), 0u);
    EXPECT_EQ(countErrors(), 0u);
}

TEST_F(AClientProxyWithService, FindsAServiceThatAppearsThreeSecondsLateAfterAboutThirtyProbes)
{
    ASSERT_TRUE(sim.start({"--appear-delay=3000"}, false));
    ASSERT_TRUE(sim.waitForLog("mvel-sim running", std::chrono::seconds(10)));
    TestFacade& facade = makeFacade();
    LogCapture::clear();

    // Blocks in the presence check until the simulator takes its name.
    facade.agentCallback(true);

    const auto probes = linesStartingWith(proxyLine("client", "checkDbusServiceRegistered", kService));
    // About 3 s of 100 ms pauses; the bounds allow for a slow machine.
    ASSERT_GE(probes.size(), 20u);
    ASSERT_LE(probes.size(), 40u);
    for (std::size_t i = 0; i < probes.size(); ++i) {
        EXPECT_EQ(probes[i].text, proxyLine("client", "checkDbusServiceRegistered",
                                            kService + " was NOT registered. Re-Check Dbus Service. count : " +
                                                std::to_string(i)));
        EXPECT_EQ(probes[i].severity, veltest::kSeverityInfo);
    }
    EXPECT_EQ(LogCapture::count("return FALSE"), 0u);
    EXPECT_EQ(countErrors(), 0u);
    EXPECT_EQ(sim.countLog(registerCall(100, "client")), 1u);
    EXPECT_EQ(agent.events(), std::vector<bool>{true});
}

TEST_F(AClientProxyWithService, GivesUpAfterSixtyRefusalsAndStillReportsReady)
{
    ASSERT_TRUE(sim.start({"--refuse-register=60"}));
    TestFacade& facade = makeFacade();
    const auto started = std::chrono::steady_clock::now();

    ASSERT_TRUE(facade.doInitialize());
    ASSERT_TRUE(waitForEvents(1));

    // Sixty tries 100 ms apart cannot take less than about six seconds.
    EXPECT_GE(std::chrono::steady_clock::now() - started, std::chrono::milliseconds(5900));
    for (int count = 0; count < 60; ++count) {
        EXPECT_EQ(countExact(proxyLine("client", "registerMe",
                                       "MVEL is NOT registered. Re-Check count : " + std::to_string(count)),
                             veltest::kSeverityInfo),
                  1u)
            << count;
    }
    EXPECT_TRUE(LogCapture::hasExact(
        proxyLine("client", "registerMe", "MVEL is NOT registered. return FALSE. retry_count : 60"),
        veltest::kSeverityInfo));
    EXPECT_EQ(sim.countLog(registerCall(100, "client")), 60u);
    EXPECT_EQ(sim.countLog("result=false"), 60u);
    EXPECT_EQ(agent.events(), std::vector<bool>{true});
}

class AClientProxyRefusedAtFirst : public AClientProxyWithService {
protected:
    // The simulator answers the first two registrations in `mode`, which the
    // proxy must take as refusals, and accepts the third.
    void expectTwoRefusalsThenRegistration(const std::string& mode, const std::string& simLine);
};

void AClientProxyRefusedAtFirst::expectTwoRefusalsThenRegistration(const std::string& mode,
                                                                   const std::string& simLine)
{
    ASSERT_TRUE(sim.start({"--register-reply=" + mode}));
    TestFacade& facade = makeFacade();

    ASSERT_TRUE(facade.doInitialize());
    ASSERT_TRUE(sim.waitForLog(simLine, std::chrono::seconds(10), 2));
    GVariant* reply = sim.control("com.qor.vel_sim.Control", "SetRegisterReply", g_variant_new("(s)", "true"));
    ASSERT_NE(reply, nullptr);
    g_variant_unref(reply);
    ASSERT_TRUE(waitForEvents(1));

    EXPECT_TRUE(LogCapture::hasExact(proxyLine("client", "registerMe", "MVEL is NOT registered. Re-Check count : 0"),
                                     veltest::kSeverityInfo));
    EXPECT_TRUE(LogCapture::hasExact(proxyLine("client", "registerMe", "MVEL is NOT registered. Re-Check count : 1"),
                                     veltest::kSeverityInfo));
    EXPECT_EQ(LogCapture::count("return FALSE"), 0u);
    EXPECT_EQ(countErrors(), 0u);
    EXPECT_EQ(sim.countLog("result=true"), 1u);
    EXPECT_EQ(agent.events(), std::vector<bool>{true});
}

TEST_F(AClientProxyRefusedAtFirst, TreatsARegisterMeReplyOfTheWrongTypeAsARefusal)
{
    expectTwoRefusalsThenRegistration("wrong-type", "answered with a wrong reply type");
}

TEST_F(AClientProxyRefusedAtFirst, TreatsADBusErrorReplyToRegisterMeAsARefusalAndTriesAgain)
{
    expectTwoRefusalsThenRegistration("error", "answered with an error");
}

TEST_F(AClientProxyWithService, TreatsARegisterMeLeftUnansweredAsARefusalOnceTheCallTimesOut)
{
    ASSERT_TRUE(sim.start({"--register-reply=silent"}));
    TestFacade& facade = makeFacade();

    ASSERT_TRUE(facade.doInitialize());
    ASSERT_TRUE(sim.waitForLog("left unanswered", std::chrono::seconds(10)));
    GVariant* reply = sim.control("com.qor.vel_sim.Control", "SetRegisterReply", g_variant_new("(s)", "true"));
    ASSERT_NE(reply, nullptr);
    g_variant_unref(reply);
    // The unanswered call ends with D-Bus's default timeout of 25 s.
    ASSERT_TRUE(waitForEvents(1, std::chrono::seconds(90)));

    EXPECT_TRUE(LogCapture::hasExact(proxyLine("client", "registerMe", "MVEL is NOT registered. Re-Check count : 0"),
                                     veltest::kSeverityInfo));
    EXPECT_EQ(LogCapture::count("MVEL is NOT registered. Re-Check count : "), 1u);
    EXPECT_EQ(countErrors(), 0u);
    EXPECT_EQ(sim.countLog("left unanswered"), 1u);
    EXPECT_EQ(sim.countLog("result=true"), 1u);
    EXPECT_EQ(agent.events(), std::vector<bool>{true});
}

TEST_F(AClientProxyWithService, ReconnectsSubscribesAndRegistersAgainAfterTheServiceRestarts)
{
    ASSERT_TRUE(sim.start());
    TestFacade& facade = makeFacade();
    ASSERT_TRUE(facade.doInitialize());
    ASSERT_TRUE(waitForEvents(1));
    LogCapture::clear();

    sim.stop();
    ASSERT_TRUE(waitForEvents(2));

    EXPECT_EQ(agent.events(), (std::vector<bool>{true, false}));
    EXPECT_EQ(facade.proxy(), nullptr);
    EXPECT_EQ(facade.connection(), nullptr);
    EXPECT_FALSE(VelComProxy::mIsAppearedMVELService);
    EXPECT_TRUE(LogCapture::hasExact(proxyLine("client", "agentCallback", "D-Bus service name is vanished."),
                                     veltest::kSeverityInfo));
    EXPECT_TRUE(LogCapture::hasExact("[VELLIB] Recovery timer is not set. Signo is default value (-1)",
                                     veltest::kSeverityWarn));

    ASSERT_TRUE(sim.start());
    ASSERT_TRUE(waitForEvents(3));

    EXPECT_EQ(agent.events(), (std::vector<bool>{true, false, true}));
    EXPECT_NE(facade.proxy(), nullptr);
    EXPECT_NE(facade.connection(), nullptr);
    EXPECT_EQ(facade.mSubscribeCalls.load(), 2);
    EXPECT_EQ(facade.mLazyCalls.load(), 1);
    // The simulator's log covers both of its runs.
    EXPECT_EQ(sim.countLog(registerCall(100, "client")), 2u);
}

TEST_F(AClientProxyWithService, LetsTwoProxiesShareOneWatchAndConnectBoth)
{
    ASSERT_TRUE(sim.start());
    TestFacade& application = makeFacade(kAppKind, "client");
    TestFacade& engine = makeFacade(kCoreKind, "engine");
    ASSERT_TRUE(application.doInitialize());
    ASSERT_TRUE(waitForEvents(1));

    // The name is already known, so the second proxy connects on this thread.
    ASSERT_TRUE(engine.doInitialize());
    EXPECT_EQ(agent.size(), 2u);

    EXPECT_EQ(LogCapture::count("[VELLIB] Watching mvel D-Bus service name. Watcher ID : "), 1u);
    EXPECT_EQ(LogCapture::count("[VELLIB] Already registered for checking D-Bus service name"), 1u);
    EXPECT_EQ(ImplVelAgent::mReferenceCnt, 2);
    EXPECT_EQ(sim.countLog(registerCall(100, "client")), 1u);
    EXPECT_EQ(sim.countLog(registerCall(200, "engine")), 1u);

    sim.stop();
    ASSERT_TRUE(waitForEvents(4));
    EXPECT_EQ(LogCapture::count(proxyLine("client", "agentCallback", "D-Bus service name is vanished.")), 1u);
    EXPECT_EQ(LogCapture::count(proxyLine("engine", "agentCallback", "D-Bus service name is vanished.")), 1u);

    ASSERT_TRUE(sim.start());
    ASSERT_TRUE(waitForEvents(6));
    EXPECT_EQ(agent.events(), (std::vector<bool>{true, true, false, false, true, true}));
    EXPECT_EQ(sim.countLog(registerCall(100, "client")), 2u);
    EXPECT_EQ(sim.countLog(registerCall(200, "engine")), 2u);
}

TEST_F(AClientProxyWithService, ReportsAFailedProxyCreationAndConnectsOnTheNextAppearance)
{
    ASSERT_TRUE(sim.start());
    TestFacade& facade = makeFacade();
    const std::string goodAddress = bus.address();
    // The presence check keeps libdbus's shared connection to the good bus,
    // while GLib, not connected yet, is sent to an address where nothing listens.
    facade.mOnLazyInitialize = [] {
        DBusError error;
        dbus_error_init(&error);
        ASSERT_NE(dbus_bus_get(DBUS_BUS_SYSTEM, &error), nullptr);
        setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/vel-test-no-bus", 1);
    };

    facade.agentCallback(true);

    EXPECT_TRUE(LogCapture::hasExact(proxyLine("client", "checkProxyAvailable", "@@@ ERR. (mProxy != 0) is false !"),
                                     veltest::kSeverityError));
    EXPECT_TRUE(LogCapture::hasExact(proxyLine("client", "openProxy", "proxy_new_for_bus_sync Error"),
                                     veltest::kSeverityError));
    EXPECT_EQ(facade.proxy(), nullptr);
    EXPECT_EQ(facade.pendingError(), nullptr);
    EXPECT_EQ(facade.mSubscribeCalls.load(), 0);
    EXPECT_EQ(LogCapture::count("registerMe()"), 0u);
    EXPECT_EQ(sim.countLog("call registerMe"), 0u);
    EXPECT_EQ(agent.events(), std::vector<bool>{true});

    setenv("DBUS_SYSTEM_BUS_ADDRESS", goodAddress.c_str(), 1);
    facade.agentCallback(true);

    EXPECT_NE(facade.proxy(), nullptr);
    EXPECT_EQ(facade.mSubscribeCalls.load(), 1);
    EXPECT_EQ(sim.countLog(registerCall(100, "client")), 1u);
    EXPECT_EQ(agent.events(), (std::vector<bool>{true, true}));
}

TEST_F(AClientProxyWithService, SkipsRegistrationWhenTheFacadeCannotSubscribe)
{
    ASSERT_TRUE(sim.start());
    TestFacade& facade = makeFacade();
    facade.mSubscribeResult = false;

    ASSERT_TRUE(facade.doInitialize());
    ASSERT_TRUE(waitForEvents(1));

    EXPECT_EQ(facade.mSubscribeCalls.load(), 1);
    EXPECT_EQ(sim.countLog("call registerMe"), 0u);
    EXPECT_EQ(agent.events(), std::vector<bool>{true});
}

namespace {

// Unique names on the bus held by this process, the test's own connection
// left out.
std::size_t connectionsOfThisProcess(veltest::PrivateBus& bus)
{
    GDBusConnection* connection = bus.testConnection();
    GVariant* names = g_dbus_connection_call_sync(connection, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                  "org.freedesktop.DBus", "ListNames", nullptr,
                                                  G_VARIANT_TYPE("(as)"), G_DBUS_CALL_FLAGS_NONE, 5000, nullptr,
                                                  nullptr);
    if (names == nullptr) {
        return 0;
    }
    const std::string own = g_dbus_connection_get_unique_name(connection);
    std::size_t count = 0;
    GVariantIter* iter = nullptr;
    const gchar* name = nullptr;
    g_variant_get(names, "(as)", &iter);
    while (g_variant_iter_next(iter, "&s", &name)) {
        if (name[0] != ':' || own == name) {
            continue;
        }
        GVariant* pid = g_dbus_connection_call_sync(
            connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
            "GetConnectionUnixProcessID", g_variant_new("(s)", name), G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE,
            5000, nullptr, nullptr);
        if (pid != nullptr) {
            guint32 value = 0;
            g_variant_get(pid, "(u)", &value);
            count += static_cast<pid_t>(value) == getpid() ? 1 : 0;
            g_variant_unref(pid);
        }
    }
    g_variant_iter_free(iter);
    g_variant_unref(names);
    return count;
}

} // namespace

TEST_F(AClientProxyWithService, HasItsPresenceConnectionReadyBeforeTheServiceAppears)
{
    TestFacade& facade = makeFacade();

    ASSERT_TRUE(facade.doInitialize());

    // The watch's GDBus connection and libdbus's shared connection for the
    // presence check, both opened while nothing owns the service's name.
    EXPECT_TRUE(veltest::waitUntil([&] { return connectionsOfThisProcess(bus) == 2; }, std::chrono::seconds(10)));
    ASSERT_TRUE(waitForEvents(1));
    EXPECT_EQ(agent.events(), std::vector<bool>{false});
    EXPECT_EQ(LogCapture::count("checkDbusServiceRegistered()"), 0u);

    // When the service comes, the check uses that connection and the client
    // registers as before, without a further connection.
    ASSERT_TRUE(sim.start());
    ASSERT_TRUE(waitForEvents(2));
    EXPECT_EQ(agent.events(), (std::vector<bool>{false, true}));
    EXPECT_EQ(sim.countLog(registerCall(100, "client")), 1u);
    EXPECT_EQ(connectionsOfThisProcess(bus), 2u);
    EXPECT_EQ(countErrors(), 0u);
}
