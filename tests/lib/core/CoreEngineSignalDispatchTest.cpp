// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CoreEngineFixture.h"
#include "LogCapture.h"

using namespace coretest;
using veltest::LogCapture;

namespace {

GVariant* actionToCore(unsigned int action, unsigned int technology)
{
    return g_variant_new("(uusuuusssuu)", action, technology, "321", 0x1234u, 0x5678u, 3u, "SER", "/dev/bus/1",
                         "AA:BB", 9u, 8u);
}

GVariant* actionToCoreWireless(unsigned int action, unsigned int technology)
{
    return g_variant_new("(uusssuu)", action, technology, "654", "/spp/node0", "info-text", 5u, 6u);
}

GVariant* checkCapability(const std::vector<WIFI_CREDENTIALS_s>& records)
{
    return g_variant_new("(suss@a(ssyuuss))", "777", 6u, "/spp/node1", "BT:MAC", credentialsArray(records));
}

WIFI_CREDENTIALS_s record(const std::string& ssid)
{
    WIFI_CREDENTIALS_s r;
    r.ssid = ssid;
    r.password = "secret";
    r.channel = 44;
    r.securityType = static_cast<SECURITY_TYPE_e>(2);
    r.port = 8080;
    r.ip = "10.1.1.1";
    r.bssid = "B5";
    return r;
}

} // namespace

class ACoreEngineReceiver : public ACoreEngineWithService {
protected:
    void SetUp() override
    {
        ACoreEngineWithService::SetUp();
        connectCore(&processCallback());
        LogCapture::clear();
    }

    bool emit(const std::string& method, GVariant* parameters) { return control(method, parameters); }

    // A last signal that always reaches a callback: all signals emitted before
    // it have been dispatched once it has.
    void emitMarkerAndWait()
    {
        ASSERT_TRUE(emit("EmitNoticeToCoreLinkLoss", g_variant_new("(s)", "marker")));
        ASSERT_TRUE(processCallback().waitForCall("onRcvInfoLinkLoss(marker)", kBusWait));
    }

    // Callbacks other than the ready calls and the marker.
    std::vector<std::string> dispatched() const
    {
        std::vector<std::string> calls;
        for (const std::string& call : processCallback().calls()) {
            if (call.rfind("onRcvMVELReady", 0) != 0 && call != "onRcvInfoLinkLoss(marker)") {
                calls.push_back(call);
            }
        }
        return calls;
    }
};

TEST_F(ACoreEngineReceiver, HandsEachActionToCoreToItsCallback)
{
    ASSERT_TRUE(emit("EmitActionToCore", actionToCore(0, 4)));
    ASSERT_TRUE(emit("EmitActionToCore", actionToCore(1, 4)));
    ASSERT_TRUE(emit("EmitActionToCore", actionToCore(3, 5)));
    ASSERT_TRUE(emit("EmitActionToCore", actionToCore(6, 14)));
    emitMarkerAndWait();
    const std::vector<std::string> expected = {
        "onRcvFindTechnology(4660, 22136, 3, SER, /dev/bus/1)",
        "onRcvReqConnect(4, 321, 4660, 22136, 3, SER, /dev/bus/1, AA:BB, 9)",
        "onRcvReqDisconnect(5, 321, 4660, 22136, 3, SER, /dev/bus/1, 8)",
        "onRcvReqCheckCapability(14, 321, 4660, 22136)",
    };
    EXPECT_EQ(dispatched(), expected);
}

TEST_F(ACoreEngineReceiver, CallsNothingForActionToCoreWithAction2Or4Or5)
{
    ASSERT_TRUE(emit("EmitActionToCore", actionToCore(2, 4)));
    ASSERT_TRUE(emit("EmitActionToCore", actionToCore(4, 4)));
    ASSERT_TRUE(emit("EmitActionToCore", actionToCore(5, 4)));
    emitMarkerAndWait();
    EXPECT_TRUE(dispatched().empty());
    EXPECT_EQ(LogCapture::count("[VELLIBCORE][receiveActionToCore] @@@ ERR. Unexpected _action!",
                                veltest::kSeverityError),
              3u);
}

TEST_F(ACoreEngineReceiver, LogsTheArgumentsOfEveryReceivedAction)
{
    ASSERT_TRUE(emit("EmitActionToCore", actionToCore(1, 4)));
    emitMarkerAndWait();
    EXPECT_TRUE(LogCapture::hasExact("[VELLIBCORE][receiveActionToCore] _action:1, _technology:4, _deviceId:321, "
                                     "_vendorId:4660, _productId:22136, _portNum:3, _serial:SER, "
                                     "_devpath:/dev/bus/1, _macAddress:AA:BB, _cond:9, _reason:8",
                                     veltest::kSeverityInfo));
}

TEST_F(ACoreEngineReceiver, HandsWirelessConnectAndDisconnectToTheirCallbacks)
{
    ASSERT_TRUE(emit("EmitActionToCoreWireless", actionToCoreWireless(1, 99)));
    ASSERT_TRUE(emit("EmitActionToCoreWireless", actionToCoreWireless(3, 2)));
    ASSERT_TRUE(emit("EmitActionToCoreWireless", actionToCoreWireless(3, 4)));
    ASSERT_TRUE(emit("EmitActionToCoreWireless", actionToCoreWireless(3, 14)));
    emitMarkerAndWait();
    const std::vector<std::string> expected = {
        "onRcvReqConnectWireless(654, 99, /spp/node0, info-text, 5)",
        "onRcvReqDisconnectWireless(2, 654, info-text, 6)",
        "onRcvReqDisconnectWireless(4, 654, info-text, 6)",
        "onRcvReqDisconnectWireless(14, 654, info-text, 6)",
    };
    EXPECT_EQ(dispatched(), expected);
}

TEST_F(ACoreEngineReceiver, PassesTheNodePathForAWirelessDisconnectOnTechnology6)
{
    ASSERT_TRUE(emit("EmitActionToCoreWireless", actionToCoreWireless(3, 6)));
    emitMarkerAndWait();
    const std::vector<std::string> expected = {"onRcvReqDisconnectWireless(6, 654, /spp/node0, 6)"};
    EXPECT_EQ(dispatched(), expected);
}

TEST_F(ACoreEngineReceiver, RefusesAWirelessDisconnectOnAnotherTechnologyAndOtherActions)
{
    ASSERT_TRUE(emit("EmitActionToCoreWireless", actionToCoreWireless(3, 5)));
    ASSERT_TRUE(emit("EmitActionToCoreWireless", actionToCoreWireless(0, 4)));
    ASSERT_TRUE(emit("EmitActionToCoreWireless", actionToCoreWireless(6, 4)));
    emitMarkerAndWait();
    EXPECT_TRUE(dispatched().empty());
    EXPECT_EQ(LogCapture::count("[VELLIBCORE][receiveActionToCoreWireless] @@@ ERR. Unexpected _technology!",
                                veltest::kSeverityError),
              1u);
    EXPECT_EQ(LogCapture::count("[VELLIBCORE][receiveActionToCoreWireless] @@@ ERR. Unexpected _action!",
                                veltest::kSeverityError),
              2u);
}

TEST_F(ACoreEngineReceiver, DropsACapabilityCheckWithAnEmptyCredentialsList)
{
    ASSERT_TRUE(emit("EmitCheckCapability", checkCapability({})));
    emitMarkerAndWait();
    EXPECT_TRUE(dispatched().empty());
    EXPECT_TRUE(LogCapture::hasExact("[VELLIBCORE][onVelLibraryCoreengineCallBack] wifiCredentialsList is empty! "
                                     "Return!",
                                     veltest::kSeverityError));
}

TEST_F(ACoreEngineReceiver, CallsTheWholeListCallbackFirstAndTheFirstRecordCallbackSecond)
{
    ASSERT_TRUE(emit("EmitCheckCapability", checkCapability({record("net")})));
    emitMarkerAndWait();
    const std::vector<std::string> expected = {
        "onRcvReqCheckCapabilityWirelessEx(777, 6, /spp/node1, BT:MAC, [{net/secret/44/2/8080/10.1.1.1/B5}])",
        "onRcvReqCheckCapabilityWireless(777, 6, /spp/node1, BT:MAC, {net/secret/44/2/8080/10.1.1.1/B5})",
    };
    EXPECT_EQ(dispatched(), expected);
    EXPECT_TRUE(LogCapture::hasExact("[VELLIBCORE][onVelLibraryCoreengineCallBack] wifiCredentialsList[0]'s Info. "
                                     "ssid:net, password:secret, channel:44, securityType:2, port:8080, "
                                     "ip:10.1.1.1, bssid:B5",
                                     veltest::kSeverityInfo));
}

TEST_F(ACoreEngineReceiver, HandsEveryRecordInOrderButOnlyTheFirstToTheSingleRecordCallback)
{
    ASSERT_TRUE(emit("EmitCheckCapability", checkCapability({record("a"), record("b"), record("c")})));
    emitMarkerAndWait();
    const std::vector<std::string> calls = dispatched();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_NE(calls[0].find("[{a/secret/44/2/8080/10.1.1.1/B5} {b/secret/44/2/8080/10.1.1.1/B5} "
                            "{c/secret/44/2/8080/10.1.1.1/B5}]"),
              std::string::npos)
        << calls[0];
    EXPECT_NE(calls[1].find(", {a/secret/"), std::string::npos) << calls[1];
}

TEST_F(ACoreEngineReceiver, HandsRequestCompletionsAndLinkLossOn)
{
    ASSERT_TRUE(emit("EmitCoreRequestDone", g_variant_new("(uus)", 2u, 401u, "done-info")));
    ASSERT_TRUE(emit("EmitNoticeToCoreLinkLoss", g_variant_new("(s)", "192.168.1.9")));
    emitMarkerAndWait();
    const std::vector<std::string> expected = {"onRcvReqDone(2, 401, done-info)",
                                               "onRcvInfoLinkLoss(192.168.1.9)"};
    EXPECT_EQ(dispatched(), expected);
}

TEST_F(ACoreEngineReceiver, TurnsNotices6And8And9IntoTheirCallbacks)
{
    ASSERT_TRUE(emit("EmitNoticeToCore", g_variant_new("(uss)", 6u, "old-id", "new-id")));
    ASSERT_TRUE(emit("EmitNoticeToCore", g_variant_new("(uss)", 8u, "dev8", "ignored")));
    ASSERT_TRUE(emit("EmitNoticeToCore", g_variant_new("(uss)", 9u, "dev9", "ignored")));
    emitMarkerAndWait();
    const std::vector<std::string> expected = {
        "onRcvChangedDeviceID(old-id, new-id)",
        "onRcvDeviceStatusChanged(0, dev8)",
        "onRcvDeviceStatusChanged(1, dev9)",
    };
    EXPECT_EQ(dispatched(), expected);
}

TEST_F(ACoreEngineReceiver, WarnsAboutNotice7AndCallsNothing)
{
    ASSERT_TRUE(emit("EmitNoticeToCore", g_variant_new("(uss)", 7u, "1", "2")));
    emitMarkerAndWait();
    EXPECT_TRUE(dispatched().empty());
    EXPECT_TRUE(LogCapture::hasExact("[VELLIBCORE][receiveNoticeToCore] notice type is invalid",
                                     veltest::kSeverityWarn));
}

TEST_F(ACoreEngineReceiver, NeverCallsTheTwoCallbacksThatNoSignalReaches)
{
    ASSERT_TRUE(emit("EmitActionToCore", actionToCore(1, 4)));
    ASSERT_TRUE(emit("EmitActionToCoreWireless", actionToCoreWireless(3, 6)));
    ASSERT_TRUE(emit("EmitCheckCapability", checkCapability({record("x")})));
    ASSERT_TRUE(emit("EmitCoreRequestDone", g_variant_new("(uus)", 1u, 0u, "")));
    for (unsigned int notice = 0; notice < 12; ++notice) {
        ASSERT_TRUE(emit("EmitNoticeToCore", g_variant_new("(uss)", notice, "a", "b")));
    }
    emitMarkerAndWait();
    EXPECT_EQ(processCallback().count("onRcvInfoLinkLossIP"), 0u);
    EXPECT_EQ(processCallback().count("onRcvOriginalDeviceInfo"), 0u);
    EXPECT_FALSE(dispatched().empty());
}

TEST_F(ACoreEngineReceiver, IgnoresSignalsMeantForApplications)
{
    ASSERT_TRUE(mSim.emitSignal("appRequestDone", g_variant_new("(uusu)", 0u, 0u, "1", 4u)));
    emitMarkerAndWait();
    EXPECT_TRUE(dispatched().empty());
}

// Every core signal with parameters of the wrong type: one error line each,
// no callback, and the process keeps dispatching.
TEST_F(ACoreEngineReceiver, RefusesEachSignalWithParametersOfTheWrongType)
{
    const std::vector<std::pair<std::string, std::string>> signalsAndFormats = {
        {"actionToCore", "(uusuuusssuu)"},   {"actionToCoreWireless", "(uusssuu)"},
        {"checkCapability", "(sussa(ssyuuss))"}, {"coreRequestDone", "(uus)"},
        {"noticeToCoreLinkLoss", "(s)"},     {"noticeToCore", "(uss)"},
    };
    for (const auto& entry : signalsAndFormats) {
        ASSERT_TRUE(mSim.emitSignal(entry.first, g_variant_new("(u)", 1u))) << entry.first;
    }
    emitMarkerAndWait();
    EXPECT_TRUE(dispatched().empty());
    for (const auto& entry : signalsAndFormats) {
        EXPECT_EQ(LogCapture::count("[VELLIBCORE][onVelLibraryCoreengineCallBack] @@@ ERR. " + entry.first +
                                        " parameters are (u), expected " + entry.second + "! Return!",
                                    veltest::kSeverityError),
                  1u)
            << entry.first;
    }
}

TEST_F(ACoreEngineReceiver, RefusesACredentialsArrayOfAnotherElementType)
{
    ASSERT_TRUE(mSim.emitSignal("checkCapability", g_variant_new("(sussas)", "1", 6u, "p", "m", nullptr)));
    emitMarkerAndWait();
    EXPECT_TRUE(dispatched().empty());
    EXPECT_EQ(LogCapture::count("@@@ ERR. checkCapability parameters are (sussas)", veltest::kSeverityError), 1u);
}

class ACoreEngineWithoutCallback : public ACoreEngineWithService {
};

TEST_F(ACoreEngineWithoutCallback, LogsAndDropsEverySignal)
{
    connectCore(nullptr);
    LogCapture::clear();
    ASSERT_TRUE(control("EmitActionToCore", actionToCore(1, 4)));
    ASSERT_TRUE(control("EmitActionToCoreWireless", actionToCoreWireless(1, 4)));
    ASSERT_TRUE(control("EmitCheckCapability", checkCapability({record("x")})));
    ASSERT_TRUE(control("EmitCoreRequestDone", g_variant_new("(uus)", 1u, 0u, "i")));
    ASSERT_TRUE(control("EmitNoticeToCoreLinkLoss", g_variant_new("(s)", "ip")));
    ASSERT_TRUE(control("EmitNoticeToCore", g_variant_new("(uss)", 6u, "a", "b")));
    // Each receive step logs its arguments first, then drops the signal.
    ASSERT_TRUE(LogCapture::waitFor("mpCoreCB is NULL !", kBusWait, 6));
    for (const char* step : {"receiveActionToCore", "receiveActionToCoreWireless", "receiveCheckCapability",
                             "receiveCoreRequestDone", "receiveNoticeToCoreLinkLoss", "receiveNoticeToCore"}) {
        EXPECT_EQ(LogCapture::count(std::string("[VELLIBCORE][") + step + "] mpCoreCB is NULL !",
                                    veltest::kSeverityInfo),
                  1u)
            << step;
        EXPECT_EQ(LogCapture::count(std::string("[VELLIBCORE][") + step + "] _"), 1u) << step;
    }
    EXPECT_EQ(LogCapture::count("not implemented"), 0u);
}

class ACoreEngineOverridingNothing : public ACoreEngineWithService {
};

TEST_F(ACoreEngineOverridingNothing, WritesOneWarningPerRequestAndNothingElse)
{
    static auto* plain = new VelCallBackCoreEngine();
    connectCore(plain);
    LogCapture::clear();
    ASSERT_TRUE(control("EmitActionToCore", actionToCore(0, 4)));
    ASSERT_TRUE(control("EmitActionToCore", actionToCore(1, 4)));
    ASSERT_TRUE(control("EmitActionToCore", actionToCore(3, 4)));
    ASSERT_TRUE(control("EmitActionToCore", actionToCore(6, 4)));
    ASSERT_TRUE(control("EmitActionToCoreWireless", actionToCoreWireless(1, 4)));
    ASSERT_TRUE(control("EmitActionToCoreWireless", actionToCoreWireless(3, 6)));
    ASSERT_TRUE(control("EmitCoreRequestDone", g_variant_new("(uus)", 1u, 0u, "i")));
    ASSERT_TRUE(control("EmitNoticeToCoreLinkLoss", g_variant_new("(s)", "ip")));
    ASSERT_TRUE(control("EmitNoticeToCore", g_variant_new("(uss)", 6u, "a", "b")));
    ASSERT_TRUE(control("EmitNoticeToCore", g_variant_new("(uss)", 9u, "a", "b")));
    ASSERT_TRUE(control("EmitCheckCapability", checkCapability({record("x")})));
    // The capability check is last and raises two callbacks.
    ASSERT_TRUE(LogCapture::waitFor("onRcvReqCheckCapabilityWireless not implemented", kBusWait));
    const std::vector<std::string> expected = {
        "[CBCORE] @@@ WARN. onRcvFindTechnology not implemented",
        "[CBCORE] @@@ WARN. onRcvReqConnect not implemented",
        "[CBCORE] @@@ WARN. onRcvReqDisconnect not implemented",
        "[CBCORE] @@@ WARN. onRcvReqCheckCapability not implemented",
        "[CBCORE] @@@ WARN. onRcvReqConnectWireless not implemented",
        "[CBCORE] @@@ WARN. onRcvReqDisconnectWireless not implemented",
        "[CBCORE] @@@ WARN. onRcvReqDone not implemented",
        "[CBCORE] @@@ WARN. onRcvInfoLinkLoss not implemented",
        "[CBCORE] @@@ WARN. onRcvChangedDeviceID not implemented",
        "[CBCORE] @@@ WARN. onRcvDeviceStatusChanged not implemented",
        "[CBCORE] @@@ WARN. onRcvReqCheckCapabilityWirelessEx not implemented",
        "[CBCORE] @@@ WARN. onRcvReqCheckCapabilityWireless not implemented",
    };
    std::vector<std::string> warnings;
    for (const veltest::LogLine& line : LogCapture::lines()) {
        if (line.severity == veltest::kSeverityWarn || line.severity == veltest::kSeverityError) {
            warnings.push_back(line.text);
        }
    }
    EXPECT_EQ(warnings, expected);
}
