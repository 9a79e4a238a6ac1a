// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <signal.h>

#include <chrono>
#include <sstream>

#include "ImplVelAgent.h"
#include "ServiceFixture.h"

using namespace linktest;
using veltest::LogCapture;

namespace {

const std::string kTimerSet = "[VELLIB] Recovery timer is set. Signo:10";
const std::string kExpired = "[VELU][VelLibUtil][timeOutCallback] @@@ ERR. VelAgent Timer expired! _signum:10";

volatile sig_atomic_t gTerminationRequests = 0;

void recordTermination(int)
{
    gTerminationRequests = gTerminationRequests + 1;
}

} // namespace

TEST_F(AClientProxyWithService, TriesToReconnectOnceTenSecondsAfterAVanishWhenTheServiceStaysAway)
{
    ASSERT_TRUE(sim.start());
    TestFacade& facade = makeFacade();
    ASSERT_TRUE(facade.setSignalNoForRecovery(SIGUSR1));
    ASSERT_TRUE(facade.doInitialize());
    ASSERT_TRUE(waitForEvents(1));

    sim.stop();
    ASSERT_TRUE(LogCapture::waitFor(kTimerSet, std::chrono::seconds(10)));
    const auto armed = std::chrono::steady_clock::now();
    // The timer is created just after that line, on the main-loop thread.
    EXPECT_TRUE(veltest::waitUntil([] { return countPosixTimers() == 1; }));

    // The recovery timer runs 10 s.
    ASSERT_TRUE(LogCapture::waitFor(kExpired, std::chrono::seconds(20)));
    EXPECT_GE(std::chrono::steady_clock::now() - armed, std::chrono::seconds(9));
    // Then the presence check gives up after its 60 probes.
    ASSERT_TRUE(waitForEvents(3));

    EXPECT_EQ(agent.events(), (std::vector<bool>{true, false, true}));
    EXPECT_EQ(LogCapture::count(kExpired, veltest::kSeverityError), 1u);
    EXPECT_TRUE(LogCapture::hasExact(kExpired, veltest::kSeverityError));
    EXPECT_EQ(LogCapture::count(proxyLine("client", "agentCallback", "agentCallback is executed for recovery. Appeared : 1")),
              2u);
    EXPECT_TRUE(LogCapture::hasExact(
        proxyLine("client", "checkDbusServiceRegistered",
                  "serviceName : com.qor.vel_communicator was NOT registered. return FALSE. retry_count : 60"),
        veltest::kSeverityInfo));
    EXPECT_EQ(LogCapture::count(proxyLine("client", "agentCallback", "@@@ ERR. MVEL is NOT READY"),
                                veltest::kSeverityError),
              1u);

    // The expired timer stays registered until the name comes back.
    EXPECT_EQ(countPosixTimers(), 1);
    ASSERT_TRUE(sim.start());
    ASSERT_TRUE(waitForEvents(4));
    EXPECT_EQ(LogCapture::count("[VELT][VelTimer][removeTimerInfo_l] Found. Remove this."), 1u);
    EXPECT_EQ(countPosixTimers(), 0);
    EXPECT_EQ(sim.countLog(registerCall(100, "client")), 2u);
    EXPECT_EQ(LogCapture::count(kExpired), 1u);
}

TEST_F(AClientProxyWithService, HandsARealTimerExpiryToEachOfTwoProxiesOnce)
{
    ASSERT_TRUE(sim.start());
    TestFacade& application = makeFacade(kAppKind, "client");
    TestFacade& engine = makeFacade(kCoreKind, "engine");
    ASSERT_TRUE(application.setSignalNoForRecovery(SIGUSR1));
    ASSERT_TRUE(application.doInitialize());
    ASSERT_TRUE(engine.doInitialize());
    ASSERT_TRUE(waitForEvents(2));

    sim.stop();
    ASSERT_TRUE(LogCapture::waitFor(kTimerSet, std::chrono::seconds(10)));
    // 10 s of timer, then one presence check of about 6 s per proxy, one
    // after the other on the main-loop thread.
    ASSERT_TRUE(waitForEvents(6, std::chrono::seconds(60)));
    ASSERT_TRUE(flushDefaultContext());

    EXPECT_EQ(agent.events(), (std::vector<bool>{true, true, false, false, true, true}));
    EXPECT_EQ(LogCapture::count(kTimerSet), 1u);
    EXPECT_EQ(LogCapture::count(kExpired, veltest::kSeverityError), 1u);
    for (const char* client : {"client", "engine"}) {
        EXPECT_EQ(LogCapture::count(proxyLine(client, "agentCallback", "agentCallback is executed for recovery. Appeared : 1")),
                  2u)
            << client;
        EXPECT_EQ(LogCapture::count(proxyLine(client, "agentCallback", "@@@ ERR. MVEL is NOT READY"),
                                    veltest::kSeverityError),
                  1u)
            << client;
    }
}

TEST_F(AClientProxyWithService, ErasesTheRecoveryTimerWhenTheServiceReturnsWithinTenSeconds)
{
    ASSERT_TRUE(sim.start());
    TestFacade& facade = makeFacade();
    ASSERT_TRUE(facade.setSignalNoForRecovery(SIGUSR1));
    ASSERT_TRUE(facade.doInitialize());
    ASSERT_TRUE(waitForEvents(1));

    sim.stop();
    ASSERT_TRUE(LogCapture::waitFor(kTimerSet, std::chrono::seconds(10)));
    EXPECT_TRUE(veltest::waitUntil([] { return countPosixTimers() == 1; }));
    ASSERT_TRUE(sim.start());
    ASSERT_TRUE(waitForEvents(3));

    EXPECT_EQ(agent.events(), (std::vector<bool>{true, false, true}));
    std::ostringstream timerIdAddress;
    timerIdAddress << static_cast<const void*>(&ImplVelAgent::mTimerId);
    EXPECT_TRUE(LogCapture::hasExact("[VELT][VelTimer][removeTimerInfo_l] Found. Remove this. it->mpTimerId:" +
                                         timerIdAddress.str() + ", Function:OnDBusNameVanished",
                                     veltest::kSeverityInfo));
    // Deleted, so it can no longer fire.
    EXPECT_EQ(countPosixTimers(), 0);
    EXPECT_EQ(LogCapture::count(kExpired), 0u);
    EXPECT_EQ(sim.countLog(registerCall(100, "client")), 2u);
}

TEST_F(AClientProxyWithService, ArmsNoRecoveryTimerAfterAVanishWithoutASignalNumber)
{
    ASSERT_TRUE(sim.start());
    TestFacade& facade = makeFacade();
    ASSERT_TRUE(facade.doInitialize());
    ASSERT_TRUE(waitForEvents(1));

    sim.stop();
    ASSERT_TRUE(waitForEvents(2));
    ASSERT_TRUE(flushDefaultContext());

    EXPECT_EQ(VelComProxy::mSignalNoForAgent, -1);
    EXPECT_TRUE(LogCapture::hasExact("[VELLIB] Recovery timer is not set. Signo is default value (-1)",
                                     veltest::kSeverityWarn));
    EXPECT_EQ(LogCapture::count("Recovery timer is set"), 0u);
    EXPECT_EQ(countPosixTimers(), 0);
}

TEST_F(AClientProxyWithService, KeepsTheHostRunningAndReportsTheVanishWhenTheBusDaemonStops)
{
    struct sigaction action = {};
    action.sa_handler = recordTermination;
    ASSERT_EQ(sigaction(SIGTERM, &action, nullptr), 0);
    ASSERT_TRUE(sim.start());
    TestFacade& facade = makeFacade();
    ASSERT_TRUE(facade.doInitialize());
    ASSERT_TRUE(waitForEvents(1));

    bus.stop();
    ASSERT_TRUE(waitForEvents(2));
    // The connection's close handling runs on the main-loop thread; once an
    // idle queued after it has run, any termination it would raise has happened.
    ASSERT_TRUE(flushDefaultContext());

    EXPECT_EQ(gTerminationRequests, 0);
    EXPECT_EQ(agent.events(), (std::vector<bool>{true, false}));
    EXPECT_TRUE(LogCapture::hasExact("[VELLIB] OnDBusNameVanished()", veltest::kSeverityInfo));
    EXPECT_EQ(facade.proxy(), nullptr);

    // A reconnection attempt without a bus fails and still reports ready.
    facade.agentCallback(true);

    EXPECT_EQ(agent.events(), (std::vector<bool>{true, false, true}));
    // The closed shared connection is not probed: a new connection is asked
    // for, which fails at once without a bus.
    const auto connectionErrors =
        linesStartingWith(proxyLine("client", "checkDbusServiceRegistered", "@@@ ERR. Connection Error :"));
    ASSERT_EQ(connectionErrors.size(), 1u);
    EXPECT_EQ(connectionErrors[0].severity, veltest::kSeverityError);
    EXPECT_TRUE(
        linesStartingWith(proxyLine("client", "checkDbusServiceRegistered", "@@@ ERR.  Connection Error :")).empty());
    EXPECT_TRUE(LogCapture::hasExact(proxyLine("client", "agentCallback", "@@@ ERR. MVEL is NOT READY"),
                                     veltest::kSeverityError));
    EXPECT_EQ(gTerminationRequests, 0);
}
