// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <signal.h>

#include <gtest/gtest.h>

#include <chrono>

#include "AppTestSupport.h"

using apptest::appLine;
using apptest::recorder;
using veltest::LogCapture;

namespace {

constexpr std::chrono::seconds kWait(20);

// The bus daemon crashes and comes back at the same address; the service
// comes back with it. Every connection the application had is gone.
class AnAppClientAcrossABusRestart : public apptest::AppClientTest {
protected:
    void SetUp() override
    {
        startAndConnect({&recorder(0)});
        ASSERT_NE(mApp, nullptr);
        // Nothing reports the new bus to the old watch; the recovery timer's
        // attempt is what reconnects.
        mApp->setSignalNoForRecovery(SIGUSR1);
    }
};

} // namespace

TEST_F(AnAppClientAcrossABusRestart, SubscribesAgainOnTheNewConnectionAndGetsEachSignalOnce)
{
    ASSERT_TRUE(mBus.restart());
    ASSERT_TRUE(recorder(0).waitFor("onRcvMVELReady(false)", 1, kWait));
    // The simulator ends with its bus connection.
    mSim.process().waitExit(kWait);
    ASSERT_TRUE(mSim.start());

    // The recovery timer runs 10 s.
    ASSERT_TRUE(mSim.waitForLog("call registerMe (uint32 100,", std::chrono::seconds(40), 2))
        << "no registration after the restart";
    ASSERT_TRUE(recorder(0).waitFor("onRcvMVELReady(true)", 2, std::chrono::seconds(40)));
    EXPECT_TRUE(LogCapture::hasExact(appLine("subscribeSignals_l", "The connection changed. Subscribe again."),
                                     veltest::kSeverityInfo));

    requestDone(0, 4, "dev-1", 5);
    funcOpModeDone(2, 9);
    notice(3, "dev-7", 99);
    techActiveInfo({{static_cast<TECHNOLOGY_e>(5), true}});
    ASSERT_TRUE(recorder(0).waitFor("onRcvTechActiveInfo", 1, kWait));
    // Anything delivered twice would have arrived by the time a later signal is handled.
    requestDone(1, 4, "dev-1", 6);
    ASSERT_TRUE(recorder(0).waitFor("onRcvResponseDisconnectService", 1, kWait));

    EXPECT_EQ(recorder(0).count("onRcvResponseConnectService"), 1u);
    EXPECT_EQ(recorder(0).count("onRcvResponseRestoreFactorySettings"), 1u);
    EXPECT_EQ(recorder(0).count("onRcvUpdateGetTechnologySelection"), 1u);
    EXPECT_EQ(recorder(0).count("onRcvTechActiveInfo"), 1u);
    EXPECT_EQ(recorder(0).count("onRcvResponseDisconnectService"), 1u);
}
