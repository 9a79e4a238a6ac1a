// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// The proxy base without any service: naming, the main-loop thread and the
// steps that fail before the bus is reached.
#include <gtest/gtest.h>
#include <sys/prctl.h>

#include <cstdlib>
#include <memory>

#include "LinkTestSupport.h"
#include "TestFacade.h"
#include "WaitUntil.h"

using namespace linktest;
using veltest::LogCapture;

namespace {

constexpr CLIENT_TYPE_e kAppKind = static_cast<CLIENT_TYPE_e>(100);

class AProxyWithoutService : public ::testing::Test {
protected:
    void SetUp() override
    {
        // Nothing here may reach a real bus.
        setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/vel-test-no-bus", 1);
        VelComProxy::mIsAppearedMVELService = false;
        VelComProxy::mSignalNoForAgent = -1;
        LogCapture::clear();
    }
};

} // namespace

TEST_F(AProxyWithoutService, LogsItsKindAndNameAndFormsTheAdjustedName)
{
    ASSERT_EQ(prctl(PR_SET_NAME, "hostproc", 0, 0, 0), 0);

    TestFacade facade(kAppKind, "client", nullptr);

    EXPECT_EQ(facade.name(), "[hostproc.client]");
    EXPECT_TRUE(LogCapture::hasExact("[VELLIB][VelComProxy] constructor _clientType:100, _clientName:client",
                                     veltest::kSeverityInfo));
    EXPECT_TRUE(LogCapture::hasExact("[VELLIB][getAdjustedName_l] _clientName:client", veltest::kSeverityInfo));
    EXPECT_TRUE(LogCapture::hasExact("[VELLIB][getAdjustedName_l] _clientName does not contain processName!",
                                     veltest::kSeverityInfo));
    EXPECT_TRUE(LogCapture::hasExact("[VELLIB][getAdjustedName_l] adjustedName:[hostproc.client]",
                                     veltest::kSeverityInfo));
    EXPECT_TRUE(LogCapture::hasExact("[VELLIB][hostproc.client][setName] _name:[hostproc.client]",
                                     veltest::kSeverityInfo));
}

TEST_F(AProxyWithoutService, KeepsAClientNameThatAlreadyContainsTheProcessName)
{
    ASSERT_EQ(prctl(PR_SET_NAME, "hostproc", 0, 0, 0), 0);
    TestFacade facade(kAppKind, "hostproc_main", nullptr);
    LogCapture::clear();

    EXPECT_EQ(facade.getAdjustedName_l("my.hostproc.ui"), "[my.hostproc.ui]");

    EXPECT_EQ(facade.name(), "[hostproc_main]");
    EXPECT_EQ(LogCapture::count("does not contain processName"), 0u);
    EXPECT_TRUE(LogCapture::hasExact("[VELLIB][hostproc_main][getAdjustedName_l] adjustedName:[my.hostproc.ui]"));
}

TEST_F(AProxyWithoutService, PrefixesTheProcessNameToAClientNameThatLacksIt)
{
    ASSERT_EQ(prctl(PR_SET_NAME, "hostproc", 0, 0, 0), 0);
    TestFacade facade(kAppKind, "client", nullptr);

    EXPECT_EQ(facade.getAdjustedName_l("viewer"), "[hostproc.viewer]");
}

TEST_F(AProxyWithoutService, SearchesTheClientNameForTheTruncatedProcessName)
{
    // The kernel keeps 15 characters: "averyverylongpr".
    ASSERT_EQ(prctl(PR_SET_NAME, "averyverylongprocessname", 0, 0, 0), 0);
    TestFacade facade(kAppKind, "averyverylongprocessname.ui", nullptr);

    EXPECT_EQ(facade.name(), "[averyverylongprocessname.ui]");
    EXPECT_EQ(facade.getAdjustedName_l("ui"), "[averyverylongpr.ui]");
}

TEST_F(AProxyWithoutService, RunsTheDefaultMainContextOnItsOwnThread)
{
    TestFacade facade(kAppKind, "client", nullptr);

    ASSERT_TRUE(LogCapture::waitFor("][runMainLoop] run Thread", std::chrono::seconds(10)));
    EXPECT_TRUE(LogCapture::hasExact(proxyLine("client", "runMainLoop", "run Thread"), veltest::kSeverityInfo));
    EXPECT_TRUE(flushDefaultContext());
}

TEST_F(AProxyWithoutService, KeepsTheMainLoopThreadRunningAfterDestruction)
{
    auto facade = std::make_unique<TestFacade>(kAppKind, "client", nullptr);
    ASSERT_TRUE(LogCapture::waitFor("run Thread", std::chrono::seconds(10)));
    LogCapture::clear();

    facade.reset();

    EXPECT_TRUE(LogCapture::hasExact(proxyLine("client", "~VelComProxy", "destructor"), veltest::kSeverityInfo));
    // The abandoned thread still dispatches the default context.
    EXPECT_TRUE(flushDefaultContext());
}

TEST_F(AProxyWithoutService, OnlyClearsTheFlagAndTellsTheAgentWhenNothingWasConnected)
{
    RecordingAgent agent;
    TestFacade facade(kAppKind, "client", &agent);
    VelComProxy::mIsAppearedMVELService = true;
    LogCapture::clear();

    facade.agentCallback(false);

    EXPECT_FALSE(VelComProxy::mIsAppearedMVELService);
    EXPECT_EQ(agent.events(), std::vector<bool>{false});
    const auto lines = linesStartingWith("[VELLIB]");
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].text, proxyLine("client", "agentCallback", "agentCallback is executed for recovery. Appeared : 0"));
    EXPECT_EQ(lines[1].text, proxyLine("client", "agentCallback", "D-Bus service name is vanished."));
    EXPECT_EQ(facade.proxy(), nullptr);
    EXPECT_EQ(facade.connection(), nullptr);
}

TEST_F(AProxyWithoutService, StopsWithoutTellingTheAgentWhenLazyInitialisationFails)
{
    RecordingAgent agent;
    TestFacade facade(kAppKind, "client", &agent);
    facade.mLazyResult = false;
    LogCapture::clear();

    facade.agentCallback(true);
    facade.agentCallback(true);

    EXPECT_TRUE(VelComProxy::mIsAppearedMVELService);
    EXPECT_EQ(LogCapture::count(proxyLine("client", "agentCallback", "@@@ ERR. Lazy initialize is in fail. Return !!!"),
                                veltest::kSeverityError),
              2u);
    // Not yet initialised, so every appearance tries again.
    EXPECT_EQ(facade.mLazyCalls.load(), 2);
    EXPECT_TRUE(agent.events().empty());
    EXPECT_EQ(LogCapture::count("checkDbusServiceRegistered()"), 0u);
}

TEST_F(AProxyWithoutService, SaysTheBaseLazyInitialisationIsNotImplemented)
{
    TestFacade facade(kAppKind, "client", nullptr);
    LogCapture::clear();

    EXPECT_TRUE(facade.VelComProxy::lazyInitialize());

    EXPECT_TRUE(LogCapture::hasExact(proxyLine("client", "lazyInitialize", "Not implemented. Lazy initilize()"),
                                     veltest::kSeverityInfo));
}

TEST_F(AProxyWithoutService, ReportsTheProxyUnavailableBeforeItIsOpened)
{
    TestFacade facade(kAppKind, "client", nullptr);
    LogCapture::clear();

    EXPECT_FALSE(facade.checkProxyAvailable());

    EXPECT_TRUE(LogCapture::hasExact(proxyLine("client", "checkProxyAvailable", "@@@ ERR. (mProxy != 0) is false !"),
                                     veltest::kSeverityError));
}

TEST_F(AProxyWithoutService, StoresTheRecoverySignalNumberForEveryProxy)
{
    TestFacade facade(kAppKind, "client", nullptr);
    LogCapture::clear();

    EXPECT_TRUE(facade.setSignalNoForRecovery(10));

    EXPECT_EQ(VelComProxy::mSignalNoForAgent, 10);
    EXPECT_TRUE(LogCapture::hasExact(proxyLine("client", "setSignalNoForRecovery", "signalNo:10"),
                                     veltest::kSeverityInfo));
}

TEST_F(AProxyWithoutService, FailsThePresenceCheckAtOnceWhenTheBusCannotBeReachedAndStillReportsReady)
{
    RecordingAgent agent;
    TestFacade facade(kAppKind, "client", &agent);
    LogCapture::clear();

    facade.agentCallback(true);

    const auto errors =
        linesStartingWith(proxyLine("client", "checkDbusServiceRegistered", "@@@ ERR. Connection Error :"));
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_EQ(errors[0].severity, veltest::kSeverityError);
    EXPECT_GT(errors[0].text.size(), proxyLine("client", "checkDbusServiceRegistered", "@@@ ERR. Connection Error :").size());
    EXPECT_EQ(LogCapture::count("was NOT registered"), 0u);
    EXPECT_TRUE(LogCapture::hasExact(proxyLine("client", "agentCallback", "@@@ ERR. MVEL is NOT READY"),
                                     veltest::kSeverityError));
    EXPECT_EQ(facade.mSubscribeCalls.load(), 0);
    EXPECT_EQ(agent.events(), std::vector<bool>{true});
}
