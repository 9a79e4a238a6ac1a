// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// The proxy base when the bus connection cannot be had although the proxy
// was made: the failure is injected at g_bus_get_sync (FaultInjection.h).
#include <gtest/gtest.h>

#include "FaultInjection.h"
#include "ServiceFixture.h"

using namespace linktest;
using veltest::FaultyCall;
using veltest::LogCapture;

TEST_F(AClientProxyWithService, ReportsTheMissingConnectionAfterTheProxyAndNeitherSubscribesNorRegisters)
{
    ASSERT_TRUE(sim.start());
    TestFacade& facade = makeFacade();
    // The name watch takes the first connection; the proxy's own is refused.
    veltest::failNextCalls(FaultyCall::BusGetSync, G_IO_ERROR_FAILED, 1, 1);

    ASSERT_TRUE(facade.doInitialize());
    ASSERT_TRUE(waitForEvents(1));
    veltest::clearFaults();

    EXPECT_EQ(veltest::injectedFailures(FaultyCall::BusGetSync), 1u);
    EXPECT_TRUE(LogCapture::hasExact(proxyLine("client", "openProxy", "g_bus_get_sync Error"), veltest::kSeverityError));
    EXPECT_EQ(LogCapture::count("proxy_new_for_bus_sync Error"), 0u);
    EXPECT_NE(facade.proxy(), nullptr);
    EXPECT_EQ(facade.connection(), nullptr);
    EXPECT_EQ(facade.mSubscribeCalls.load(), 0);
    EXPECT_EQ(LogCapture::count("registerMe()"), 0u);
    EXPECT_EQ(sim.countLog(registerCall(100, "client")), 0u);
    // The client still leaves its waiting state.
    EXPECT_EQ(agent.events(), std::vector<bool>{true});
}
