// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include <list>
#include <string>
#include <vector>

#include "CoreEngineFixture.h"
#include "LogCapture.h"

using namespace coretest;
using veltest::LogCapture;

namespace {

TECHNOLOGY_e tech(unsigned int value)
{
    return static_cast<TECHNOLOGY_e>(value);
}

CLIENT_TYPE_e client(unsigned int value)
{
    return static_cast<CLIENT_TYPE_e>(value);
}

WIFI_CREDENTIALS_s record(const std::string& ssid, uint8_t channel)
{
    WIFI_CREDENTIALS_s r;
    r.ssid = ssid;
    r.password = "pw-" + ssid;
    r.channel = channel;
    r.securityType = static_cast<SECURITY_TYPE_e>(4);
    r.port = 7000u + channel;
    r.ip = "192.168.0." + std::to_string(channel);
    r.bssid = "02:00:00:00:00:" + std::to_string(channel);
    return r;
}

} // namespace

class ACoreEngineQuery : public ACoreEngineWithService {
protected:
    void SetUp() override
    {
        ACoreEngineWithService::SetUp();
        mCore = connectCore(&processCallback());
        LogCapture::clear();
    }

    VelComProxyCoreEngine* mCore = nullptr;
};

TEST_F(ACoreEngineQuery, TakesClientTypeAndDataOfADeviceIdQueryFromTheTechnology)
{
    struct Row {
        unsigned int technology;
        const char* sent;
    };
    const std::vector<Row> table = {
        {4, "(uint32 200, uint32 1, 'support_wireless', false, '')"},
        {5, "(uint32 200, uint32 1, 'unsupport_wireless', false, '')"},
        {6, "(uint32 201, uint32 1, 'support_wireless', false, '')"},
        {7, "(uint32 201, uint32 1, 'unsupport_wireless', false, '')"},
        {14, "(uint32 105, uint32 1, 'support_wireless', false, '')"},
        {15, "(uint32 105, uint32 1, 'unsupport_wireless', false, '')"},
    };
    for (const Row& row : table) {
        std::string deviceId;
        // The caller's client type is only logged.
        ASSERT_TRUE(mCore->sendReqGetDeviceIdSync(client(203), COREREQ_GET_DEVID, tech(row.technology), deviceId));
        EXPECT_EQ(deviceId, std::to_string(row.technology) + "0001");
        const std::vector<std::string> calls = simCalls("actionFromCore");
        ASSERT_FALSE(calls.empty());
        EXPECT_EQ(calls.back(), std::string("call actionFromCore ") + row.sent);
    }
}

TEST_F(ACoreEngineQuery, SendsClientType105ForTechnology14WhateverTheCallerGives)
{
    ASSERT_TRUE(control("SetDeviceId", g_variant_new("(us)", 14u, "424242")));
    std::string deviceId;
    ASSERT_TRUE(mCore->sendReqGetDeviceIdSync(client(200), COREREQ_GET_DEVID, tech(14), deviceId));
    EXPECT_EQ(deviceId, "424242");
    const std::vector<std::string> calls = simCalls("actionFromCore");
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0], "call actionFromCore (uint32 105, uint32 1, 'support_wireless', false, '')");
}

TEST_F(ACoreEngineQuery, RefusesADeviceIdQueryForATechnologyOutsideTheTable)
{
    std::string deviceId = "unchanged";
    EXPECT_FALSE(mCore->sendReqGetDeviceIdSync(client(200), COREREQ_GET_DEVID, tech(3), deviceId));
    EXPECT_EQ(deviceId, "unchanged");
    EXPECT_TRUE(LogCapture::hasExact(
        "[VELLIBCORE][sendReqGetDeviceIdSync] @@@ ERR. _technology is not valid. Return !!!", veltest::kSeverityError));
    EXPECT_TRUE(simCalls("actionFromCore").empty());
}

TEST_F(ACoreEngineQuery, RefusesEveryQueryGivenTheWrongRequest)
{
    std::string text;
    WIFI_CREDENTIALS_s credentials;
    std::list<WIFI_CREDENTIALS_s> list;
    EXPECT_FALSE(mCore->sendReqGetDeviceIdSync(client(200), COREREQ_GET_HU_BT_MAC, tech(4), text));
    EXPECT_FALSE(mCore->sendReqGetDeviceIdSync(client(200), COREREQ_GET_HU_BT_MAC, tech(4), "AA", text));
    EXPECT_FALSE(mCore->sendReqGetWifiCredentialsSync(client(200), COREREQ_GET_DEVID, credentials));
    EXPECT_FALSE(mCore->sendReqGetWifiCredentialsSyncEx(client(200), COREREQ_GET_DEVID, list));
    EXPECT_FALSE(mCore->sendReqGetHUBTMacAddressSync(client(200), COREREQ_GET_DEVID, text));
    EXPECT_EQ(LogCapture::count("[VELLIBCORE][sendReqGetDeviceIdSync] @@@ ERR. Not CORE_REQUEST_e::COREREQ_GET_DEVID!",
                                veltest::kSeverityError),
              2u);
    EXPECT_TRUE(LogCapture::hasExact("[VELLIBCORE][sendReqGetWifiCredentialsSync] @@@ ERR. Not "
                                     "CORE_REQUEST_e::COREREQ_GET_WIFI_CREDENTIALS!",
                                     veltest::kSeverityError));
    EXPECT_TRUE(LogCapture::hasExact("[VELLIBCORE][sendReqGetWifiCredentialsSyncEx] @@@ ERR. Not "
                                     "CORE_REQUEST_e::COREREQ_GET_WIFI_CREDENTIALS!",
                                     veltest::kSeverityError));
    EXPECT_TRUE(LogCapture::hasExact(
        "[VELLIBCORE][sendReqGetHUBTMacAddressSync] @@@ ERR. Not CORE_REQUEST_e::COREREQ_GET_HU_BT_MAC!",
        veltest::kSeverityError));
    EXPECT_TRUE(simCalls("actionFromCore").empty());
}

TEST_F(ACoreEngineQuery, SendsTheGivenClientTypeAndMacWithTheSecondDeviceIdOverload)
{
    std::string deviceId;
    ASSERT_TRUE(mCore->sendReqGetDeviceIdSync(client(202), COREREQ_GET_DEVID, tech(4), "AA:BB", deviceId));
    ASSERT_TRUE(mCore->sendReqGetDeviceIdSync(client(202), COREREQ_GET_DEVID, tech(5), "CC:DD", deviceId));
    const std::vector<std::string> expected = {
        "call actionFromCore (uint32 202, uint32 1, 'support_wireless', false, 'AA:BB')",
        "call actionFromCore (uint32 202, uint32 1, 'unsupport_wireless', false, 'CC:DD')",
    };
    EXPECT_EQ(simCalls("actionFromCore"), expected);
}

TEST_F(ACoreEngineQuery, SendsEmptyDataWithTheSecondOverloadForTechnology6)
{
    std::string deviceId = "unchanged";
    ASSERT_TRUE(mCore->sendReqGetDeviceIdSync(client(201), COREREQ_GET_DEVID, tech(6), "EE:FF", deviceId));
    const std::vector<std::string> calls = simCalls("actionFromCore");
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0], "call actionFromCore (uint32 201, uint32 1, '', false, 'EE:FF')");
    // The simulator knows no technology for empty data and answers an empty id.
    EXPECT_EQ(deviceId, "");
}

TEST_F(ACoreEngineQuery, ReturnsTheHeadUnitBluetoothAddress)
{
    ASSERT_TRUE(control("SetBtMacAddress", g_variant_new("(s)", "10:20:30:40:50:60")));
    std::string mac;
    ASSERT_TRUE(mCore->sendReqGetHUBTMacAddressSync(client(201), COREREQ_GET_HU_BT_MAC, mac));
    EXPECT_EQ(mac, "10:20:30:40:50:60");
    const std::vector<std::string> calls = simCalls("actionFromCore");
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0], "call actionFromCore (uint32 201, uint32 3, '', false, '')");
}

TEST_F(ACoreEngineQuery, ReturnsThreeCredentialRecordsInReplyOrder)
{
    ASSERT_TRUE(control("SetWifiCredentials",
                        g_variant_new("(@a(ssyuuss))",
                                      credentialsArray({record("one", 1), record("two", 6), record("three", 11)}))));
    std::list<WIFI_CREDENTIALS_s> list;
    ASSERT_TRUE(mCore->sendReqGetWifiCredentialsSyncEx(client(200), COREREQ_GET_WIFI_CREDENTIALS, list));
    std::vector<std::string> described;
    for (const WIFI_CREDENTIALS_s& r : list) {
        described.push_back(RecordingCoreEngineCallback::describe(r));
    }
    const std::vector<std::string> expected = {
        "{one/pw-one/1/4/7001/192.168.0.1/02:00:00:00:00:1}",
        "{two/pw-two/6/4/7006/192.168.0.6/02:00:00:00:00:6}",
        "{three/pw-three/11/4/7011/192.168.0.11/02:00:00:00:00:11}",
    };
    EXPECT_EQ(described, expected);
    EXPECT_TRUE(LogCapture::hasExact("[VELLIBCORE][sendActionFromCoreSync] wifiCredentialsList[2]'s Info. "
                                     "ssid:three, password:pw-three, channel:11, securityType:4, port:7011, "
                                     "ip:192.168.0.11, bssid:02:00:00:00:00:11",
                                     veltest::kSeverityInfo));
    EXPECT_TRUE(LogCapture::hasExact("[VELLIBCORE][sendActionFromCoreSync] _wifiCredentialsList.size():3",
                                     veltest::kSeverityInfo));

    WIFI_CREDENTIALS_s first;
    ASSERT_TRUE(mCore->sendReqGetWifiCredentialsSync(client(200), COREREQ_GET_WIFI_CREDENTIALS, first));
    EXPECT_EQ(RecordingCoreEngineCallback::describe(first), expected[0]);
    const std::vector<std::string> calls = simCalls("actionFromCore");
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0], "call actionFromCore (uint32 200, uint32 2, '', false, '')");
    EXPECT_EQ(calls[1], calls[0]);
}

TEST_F(ACoreEngineQuery, ReplacesTheCallersListWithTheReceivedOne)
{
    std::list<WIFI_CREDENTIALS_s> list = {record("stale", 2)};
    ASSERT_TRUE(mCore->sendReqGetWifiCredentialsSyncEx(client(200), COREREQ_GET_WIFI_CREDENTIALS, list));
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list.front().ssid, "vel-sim-ap");
}

TEST_F(ACoreEngineQuery, FailsBothCredentialQueriesOnAnEmptyReply)
{
    ASSERT_TRUE(control("SetWifiCredentials", g_variant_new("(@a(ssyuuss))", credentialsArray({}))));
    WIFI_CREDENTIALS_s credentials;
    std::list<WIFI_CREDENTIALS_s> list;
    EXPECT_FALSE(mCore->sendReqGetWifiCredentialsSync(client(200), COREREQ_GET_WIFI_CREDENTIALS, credentials));
    EXPECT_FALSE(mCore->sendReqGetWifiCredentialsSyncEx(client(200), COREREQ_GET_WIFI_CREDENTIALS, list));
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(LogCapture::count("[VELLIBCORE][sendActionFromCoreSync] wifiCredentialsList is empty! Return!",
                                veltest::kSeverityError),
              2u);
    EXPECT_EQ(simCalls("actionFromCore").size(), 2u);
}

TEST_F(ACoreEngineQuery, FailsOnAReplyOfTheWrongTypeWithoutUnpackingIt)
{
    ASSERT_TRUE(control("SetMalformedReply", g_variant_new("(b)", TRUE)));
    std::string text = "unchanged";
    std::list<WIFI_CREDENTIALS_s> list;
    EXPECT_FALSE(mCore->sendReqGetHUBTMacAddressSync(client(200), COREREQ_GET_HU_BT_MAC, text));
    EXPECT_FALSE(mCore->sendReqGetWifiCredentialsSyncEx(client(200), COREREQ_GET_WIFI_CREDENTIALS, list));
    EXPECT_EQ(text, "unchanged");
    EXPECT_TRUE(list.empty());
    EXPECT_TRUE(LogCapture::hasExact("[VELLIBCORE][sendActionFromCoreSync] @@@ ERR. (!dbusProcessed || (information "
                                     "== nullptr)) is true! Return!",
                                     veltest::kSeverityError));
    EXPECT_TRUE(LogCapture::hasExact("[VELLIBCORE][sendActionFromCoreSync] @@@ ERR. dbusProcessed is false! Return!",
                                     veltest::kSeverityError));
}

TEST_F(ACoreEngineQuery, FailsWhenTheServiceHasGone)
{
    mSim.stop();
    ASSERT_TRUE(processCallback().waitForCall("onRcvMVELReady(false)", kBusWait));
    std::string mac;
    EXPECT_FALSE(mCore->sendReqGetHUBTMacAddressSync(client(200), COREREQ_GET_HU_BT_MAC, mac));
    EXPECT_EQ(LogCapture::count("@@@ ERR. (mProxy != 0) is false !", veltest::kSeverityError), 1u);
}
