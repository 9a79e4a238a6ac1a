// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include <chrono>

#include "AppTestSupport.h"

using apptest::appLine;
using apptest::recorder;
using veltest::LogCapture;

namespace {

const TECHNOLOGY_e kBluetooth = static_cast<TECHNOLOGY_e>(5);
const TECHNOLOGY_e kWifi = static_cast<TECHNOLOGY_e>(6);

class AnAppClientWithService : public apptest::AppClientTest {
protected:
    void SetUp() override
    {
        startAndConnect({&recorder(0)});
        // The result the service reports is passed through untouched.
        setCompletion(17, 0);
    }
};

} // namespace

TEST_F(AnAppClientWithService, SendsAConnectRequestWithItsDeviceTechnologyAndReplacement)
{
    EXPECT_TRUE(mApp->doServiceConnect("dev-1", kBluetooth, "dev-0"));

    EXPECT_TRUE(simLogged("call actionFromApp (uint32 0, 'dev-1', uint32 5, 'dev-0')"));
    EXPECT_TRUE(LogCapture::hasExact(
        appLine("sendActionFromApp", "_action:0, _deviceId:dev-1, _technology:5, _deviceIdToReplace:dev-0"),
        veltest::kSeverityInfo));
    ASSERT_TRUE(recorder(0).waitFor("onRcvResponseConnectService"));
    const apptest::Call call = recorder(0).calls("onRcvResponseConnectService").at(0);
    EXPECT_EQ(call.deviceId, "dev-1");
    EXPECT_EQ(call.technology, 5u);
    EXPECT_EQ(call.result, 17);
}

TEST_F(AnAppClientWithService, SendsADisconnectRequestWithAnEmptyReplacement)
{
    EXPECT_TRUE(mApp->doServiceDisconnect("dev-1", kWifi));

    EXPECT_TRUE(simLogged("call actionFromApp (uint32 1, 'dev-1', uint32 6, '')"));
    ASSERT_TRUE(recorder(0).waitFor("onRcvResponseDisconnectService"));
    const apptest::Call call = recorder(0).calls("onRcvResponseDisconnectService").at(0);
    EXPECT_EQ(call.deviceId, "dev-1");
    EXPECT_EQ(call.technology, 6u);
    EXPECT_EQ(call.result, 17);
}

TEST_F(AnAppClientWithService, SendsARemoveRequestNamingNoTechnology)
{
    EXPECT_TRUE(mApp->doRemoveDevice("dev-1"));

    EXPECT_TRUE(simLogged("call actionFromApp (uint32 3, 'dev-1', uint32 28, '')"));
    ASSERT_TRUE(recorder(0).waitFor("onRcvResponseRemoveDevice"));
    const apptest::Call call = recorder(0).calls("onRcvResponseRemoveDevice").at(0);
    EXPECT_EQ(call.deviceId, "dev-1");
    EXPECT_EQ(call.result, 17);
}

TEST_F(AnAppClientWithService, SendsARejectTechnologySelectionRequestNamingNoTechnology)
{
    EXPECT_TRUE(mApp->doRejectTechnologySelection("dev-2"));

    EXPECT_TRUE(simLogged("call actionFromApp (uint32 5, 'dev-2', uint32 28, '')"));
    ASSERT_TRUE(recorder(0).waitFor("onRcvResponseRejectTechnologySelection"));
    const apptest::Call call = recorder(0).calls("onRcvResponseRejectTechnologySelection").at(0);
    EXPECT_EQ(call.deviceId, "dev-2");
    EXPECT_EQ(call.result, 17);
}

TEST_F(AnAppClientWithService, SendsASetPrioritizedDeviceRequestNamingNoTechnology)
{
    EXPECT_TRUE(mApp->doSetPrioritizedDevice("dev-3"));

    EXPECT_TRUE(simLogged("call actionFromApp (uint32 6, 'dev-3', uint32 28, '')"));
    ASSERT_TRUE(recorder(0).waitFor("onRcvResponseSetPrioritizedDevice"));
    EXPECT_EQ(recorder(0).calls("onRcvResponseSetPrioritizedDevice").at(0).result, 17);
}

TEST_F(AnAppClientWithService, SendsReconnectSuspendTrueAsTheDeviceIdentifierTrue)
{
    EXPECT_TRUE(mApp->doReconnectSuspend(true));
    EXPECT_TRUE(simLogged("call actionFromApp (uint32 7, 'true', uint32 28, '')"));

    EXPECT_TRUE(mApp->doReconnectSuspend(false));
    EXPECT_TRUE(simLogged("call actionFromApp (uint32 7, 'false', uint32 28, '')"));
}

TEST_F(AnAppClientWithService, ReturnsTheServicesAnswerToCheckMaxPaired)
{
    EXPECT_FALSE(mApp->checkMaxPaired());
    EXPECT_TRUE(simLogged("call actionFromApp (uint32 8, '', uint32 28, '')"));
    EXPECT_TRUE(LogCapture::hasExact(appLine("sendActionFromAppSync", "result:0"), veltest::kSeverityInfo));

    setMaxPaired(true);
    EXPECT_TRUE(mApp->checkMaxPaired());
    EXPECT_TRUE(LogCapture::hasExact(appLine("sendActionFromAppSync", "result:1"), veltest::kSeverityInfo));
}

TEST_F(AnAppClientWithService, ReturnsTheServicesAnswerToCheckPaired)
{
    setPaired({"dev-1"});

    EXPECT_TRUE(mApp->checkPaired("dev-1"));
    EXPECT_TRUE(simLogged("call actionFromApp (uint32 9, 'dev-1', uint32 28, '')"));
    EXPECT_FALSE(mApp->checkPaired("dev-2"));
    EXPECT_TRUE(simLogged("call actionFromApp (uint32 9, 'dev-2', uint32 28, '')"));
}

TEST_F(AnAppClientWithService, ReturnsFalseForChecksThatTheServiceAnswersWithAnError)
{
    setPaired({"dev-1"});
    setMaxPaired(true);
    control("SetChecksFailing", g_variant_new("(b)", TRUE));
    LogCapture::clear();

    EXPECT_FALSE(mApp->checkPaired("dev-1"));
    EXPECT_FALSE(mApp->checkMaxPaired());

    EXPECT_EQ(LogCapture::count(appLine("sendActionFromAppSync", "@@@ ERR. dbusProcessed is false! Return!"),
                                veltest::kSeverityError),
              2u);
    EXPECT_EQ(LogCapture::count(appLine("sendActionFromAppSync", "result:")), 0u);
    EXPECT_TRUE(simLogged("answered with an error", 2));
}

TEST_F(AnAppClientWithService, AnswersCheckPairedWithFalseAtOnceAfterTheServiceWentAway)
{
    setPaired({"dev-1"});
    mSim.stop();
    ASSERT_TRUE(recorder(0).waitFor("onRcvMVELReady(false)"));

    // "At once": far below the bus's default call timeout of 25 s.
    const auto started = std::chrono::steady_clock::now();
    EXPECT_FALSE(mApp->checkPaired("dev-1"));
    EXPECT_FALSE(mApp->checkMaxPaired());
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(5));
    EXPECT_EQ(LogCapture::count(appLine("sendActionFromAppSync", "@@@ ERR. checkProxyAvailable() failed! Return!"),
                                veltest::kSeverityError),
              2u);
}

TEST_F(AnAppClientWithService, DeliversACompletionThatTheServiceSendsLater)
{
    setCompletion(3, 300);
    EXPECT_TRUE(mApp->doRemoveDevice("dev-9"));

    ASSERT_TRUE(recorder(0).waitFor("onRcvResponseRemoveDevice"));
    EXPECT_EQ(recorder(0).calls("onRcvResponseRemoveDevice").at(0).result, 3);
}

TEST_F(AnAppClientWithService, AsksForNothingWhenTheEmergencyCallIndicatorIsSet)
{
    EXPECT_TRUE(mApp->doSetEmergencyCallIndicator(false));
    EXPECT_TRUE(LogCapture::hasExact(appLine("doSetEmergencyCallIndicator", "<TBD> _active:0"), veltest::kSeverityInfo));
    // A request sent afterwards is the first one the service sees.
    EXPECT_TRUE(mApp->doSetPrioritizedDevice("dev-3"));
    ASSERT_TRUE(simLogged("call actionFromApp"));
    EXPECT_EQ(mSim.countLog("call actionFromApp"), 1u);
    EXPECT_EQ(mSim.countLog("call informFromApp"), 0u);
}

TEST_F(AnAppClientWithService, StopsDispatchingAfterReleaseAndSubscribesAgainOnRequest)
{
    EXPECT_TRUE(mApp->doRelease());
    EXPECT_EQ(LogCapture::count("unsubscribed:"), 4u);
    EXPECT_TRUE(mApp->doServiceConnect("dev-1", kBluetooth, ""));
    ASSERT_TRUE(simLogged("emit appRequestDone"));
    // The reply to a call made after the emission arrives after the signal on
    // the same connection: the signal has been passed over once this returns.
    EXPECT_FALSE(mApp->checkMaxPaired());

    EXPECT_TRUE(mApp->subscribe());
    EXPECT_TRUE(mApp->doServiceConnect("dev-2", kBluetooth, ""));
    ASSERT_TRUE(recorder(0).waitFor("onRcvResponseConnectService"));
    const std::vector<apptest::Call> calls = recorder(0).calls("onRcvResponseConnectService");
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].deviceId, "dev-2");
}

TEST_F(AnAppClientWithService, DeliversEachCompletionOnceAfterTheServiceCameBack)
{
    mSim.stop();
    ASSERT_TRUE(recorder(0).waitFor("onRcvMVELReady(false)"));
    ASSERT_TRUE(mSim.start());
    ASSERT_TRUE(simLogged("call registerMe (uint32 100,"));
    ASSERT_TRUE(recorder(0).waitFor("onRcvMVELReady(true)", 2));

    EXPECT_TRUE(mApp->doRemoveDevice("dev-5"));
    ASSERT_TRUE(recorder(0).waitFor("onRcvResponseRemoveDevice"));
    // A second delivery would have come right behind the first.
    EXPECT_FALSE(mApp->checkMaxPaired());
    EXPECT_EQ(recorder(0).count("onRcvResponseRemoveDevice"), 1u);
}
