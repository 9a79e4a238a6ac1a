// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <signal.h>

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "CoreEngineFixture.h"
#include "LogCapture.h"

using namespace coretest;
using veltest::LogCapture;

namespace {

// The recovery timer runs 10 s, registration after it may take a few more.
constexpr std::chrono::seconds kRecoveryWait(40);

// The bus daemon crashes and comes back at the same address; the service
// comes back with it. Every connection the core engine had is gone.
class ACoreEngineAcrossABusRestart : public ACoreEngineWithService {
protected:
    void SetUp() override
    {
        ACoreEngineWithService::SetUp();
        mCore = connectCore(&processCallback());
        ASSERT_NE(mCore, nullptr);
        // Nothing reports the new bus to the old watch; the recovery timer's
        // attempt is what reconnects.
        mCore->setSignalNoForRecovery(SIGUSR1);
    }

    VelComProxyCoreEngine* mCore = nullptr;
};

} // namespace

TEST_F(ACoreEngineAcrossABusRestart, SubscribesAgainOnTheNewConnectionAndGetsEachSignalOnce)
{
    ASSERT_TRUE(mBus.restart());
    ASSERT_TRUE(processCallback().waitForCall("onRcvMVELReady(false)", kBusWait));
    // The simulator ends with its bus connection.
    mSim.process().waitExit(kBusWait);
    ASSERT_TRUE(mSim.start());

    ASSERT_TRUE(mSim.waitForLog("registerMe type=200", kRecoveryWait)) << "no registration after the restart";
    ASSERT_TRUE(processCallback().waitForCall("onRcvMVELReady(true)", kRecoveryWait, 2));
    // One set of subscriptions per connection: the first and the new one.
    EXPECT_EQ(LogCapture::count("subscription ids:"), 2u);

    ASSERT_TRUE(control("EmitCoreRequestDone", g_variant_new("(uus)", 2u, 0u, "after-restart")));
    ASSERT_TRUE(control("EmitNoticeToCore", g_variant_new("(uss)", 6u, "old-id", "new-id")));
    ASSERT_TRUE(processCallback().waitForCall("onRcvChangedDeviceID(old-id, new-id)", kBusWait));
    // Anything delivered twice would have arrived by the time a later signal is handled.
    ASSERT_TRUE(control("EmitNoticeToCoreLinkLoss", g_variant_new("(s)", "marker")));
    ASSERT_TRUE(processCallback().waitForCall("onRcvInfoLinkLoss(marker)", kBusWait));

    EXPECT_EQ(processCallback().count("onRcvReqDone(2, 0, after-restart)"), 1u);
    EXPECT_EQ(processCallback().count("onRcvChangedDeviceID(old-id, new-id)"), 1u);
    EXPECT_EQ(processCallback().count("onRcvInfoLinkLoss(marker)"), 1u);
}
