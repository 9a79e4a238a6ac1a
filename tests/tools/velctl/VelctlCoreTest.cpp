// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include "PrivateBus.h"
#include "SimProcess.h"
#include "VelctlRunner.h"

using namespace velctltest;

class VelctlWithService : public ::testing::Test {
protected:
    void startSim(const std::vector<std::string>& options = {}, bool waitForName = true)
    {
        ASSERT_TRUE(mBus.start());
        ASSERT_TRUE(mSim.start(options, waitForName));
    }

    std::vector<std::string> simLinesStartingWith(const std::string& prefix) const
    {
        std::vector<std::string> lines;
        for (const std::string& line : mSim.logLines()) {
            if (line.rfind(prefix, 0) == 0) {
                lines.push_back(line);
            }
        }
        return lines;
    }

    veltest::PrivateBus mBus;
    veltest::SimProcess mSim{mBus};
};

TEST_F(VelctlWithService, PrintsTheDeviceIdOfATechnology)
{
    startSim({"--core-device-id=14=987654"});
    const VelctlRun run = runVelctl({"core", "device-id", "14"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "987654\n");
    EXPECT_EQ(run.err, "");
    const std::vector<std::string> expected = {
        "call actionFromCore (uint32 105, uint32 1, 'support_wireless', false, '')"};
    EXPECT_EQ(simLinesStartingWith("call actionFromCore "), expected);
}

TEST_F(VelctlWithService, SendsTheMacAddressAndItsClientKindForADeviceIdWithMac)
{
    startSim();
    const VelctlRun run = runVelctl({"--client-type", "200", "core", "device-id", "4", "AA:BB:CC"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "40001\n");
    const std::vector<std::string> expected = {
        "call actionFromCore (uint32 200, uint32 1, 'support_wireless', false, 'AA:BB:CC')"};
    EXPECT_EQ(simLinesStartingWith("call actionFromCore "), expected);
}

TEST_F(VelctlWithService, RegistersAsTheChosenCoreEngineKind)
{
    startSim();
    const VelctlRun run = runVelctl({"-c", "202", "core", "bt-mac"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(simLinesStartingWith("registerMe type=202 ").size(), 1u);
    const std::vector<std::string> expected = {"call actionFromCore (uint32 202, uint32 3, '', false, '')"};
    EXPECT_EQ(simLinesStartingWith("call actionFromCore "), expected);
}

TEST_F(VelctlWithService, PrintsEveryWifiCredentialsRecordInOrderWithThePassphraseMasked)
{
    startSim({"--core-wifi-credentials=home,pw1,6,3,7000,192.168.1.1,02:00:00:00:00:0a",
              "--core-wifi-credentials=car,pw2,149,4,7001,192.168.2.1,02:00:00:00:00:0b"});
    const VelctlRun run = runVelctl({"core", "wifi-credentials"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out,
              "ssid=home password=******** channel=6 security=3 port=7000 ip=192.168.1.1 bssid=02:00:00:00:00:0a\n"
              "ssid=car password=******** channel=149 security=4 port=7001 ip=192.168.2.1 bssid=02:00:00:00:00:0b\n");
}

TEST_F(VelctlWithService, PrintsThePassphraseOnlyWhenAskedToShowSecrets)
{
    startSim({"--core-wifi-credentials=home,pw1,6,3,7000,192.168.1.1,02:00:00:00:00:0a"});
    const VelctlRun run = runVelctl({"--show-secrets", "core", "wifi-credentials"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "ssid=home password=pw1 channel=6 security=3 port=7000 ip=192.168.1.1 bssid=02:00:00:00:00:0a\n");
}

// libvel logs every credentials record it receives; what velctl passes on of
// those lines is masked the same way.
TEST_F(VelctlWithService, MasksThePassphraseInTheLibrarysLinesToo)
{
    startSim({"--core-wifi-credentials=home,s3cr3t-phrase,6,3,7000,192.168.1.1,02:00:00:00:00:0a"});
    const VelctlRun masked = runVelctl({"--verbose", "core", "wifi-credentials"});
    EXPECT_EQ(masked.status, 0) << masked.err;
    EXPECT_EQ(masked.err.find("s3cr3t-phrase"), std::string::npos) << masked.err;
    EXPECT_NE(masked.err.find("ssid:home, password:********, channel:6"), std::string::npos) << masked.err;
    const VelctlRun shown = runVelctl({"--verbose", "--show-secrets", "core", "wifi-credentials"});
    EXPECT_NE(shown.err.find("ssid:home, password:s3cr3t-phrase, channel:6"), std::string::npos) << shown.err;
}

TEST_F(VelctlWithService, FailsWithOneLineWhenTheServiceHasNoCredentials)
{
    startSim({"--core-no-wifi-credentials"});
    const VelctlRun run = runVelctl({"core", "wifi-credentials"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "velctl: the service gave no Wi-Fi credentials (--verbose shows why)\n");
}

TEST_F(VelctlWithService, PrintsTheHeadUnitBluetoothAddress)
{
    startSim({"--core-bt-mac=12:34:56:78:9A:BC"});
    const VelctlRun run = runVelctl({"core", "bt-mac"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "12:34:56:78:9A:BC\n");
}

TEST_F(VelctlWithService, FailsWithOneLineOnAMalformedAnswer)
{
    startSim();
    GVariant* reply = mSim.control("com.qor.vel_sim.Core", "SetMalformedReply", g_variant_new("(b)", TRUE));
    ASSERT_NE(reply, nullptr);
    g_variant_unref(reply);
    const VelctlRun run = runVelctl({"core", "bt-mac"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "velctl: the service gave no Bluetooth MAC address (--verbose shows why)\n");
}

TEST_F(VelctlWithService, WaitsForTheServiceBeforeAsking)
{
    // The name appears 1.5 s after the start; velctl must not ask before.
    startSim({"--appear-delay=1500"}, false);
    const VelctlRun run = runVelctl({"core", "bt-mac"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "00:11:22:33:44:55\n");
    const std::vector<std::string> lines = mSim.logLines();
    std::size_t owns = lines.size(), call = lines.size();
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (lines[i].rfind("owns com.qor.vel_communicator", 0) == 0) {
            owns = std::min(owns, i);
        }
        if (lines[i].rfind("call actionFromCore ", 0) == 0) {
            call = std::min(call, i);
        }
    }
    ASSERT_LT(call, lines.size());
    EXPECT_LT(owns, call);
}

TEST_F(VelctlWithService, KeepsTheLibraryQuietUnlessVerbose)
{
    startSim();
    const VelctlRun quiet = runVelctl({"core", "bt-mac"});
    EXPECT_EQ(quiet.err, "");
    const VelctlRun verbose = runVelctl({"--verbose", "core", "bt-mac"});
    EXPECT_EQ(verbose.status, 0);
    EXPECT_EQ(verbose.out, "00:11:22:33:44:55\n");
    EXPECT_NE(verbose.err.find("libvel[80] [VELLIBCORE][sendReqGetHUBTMacAddressSync] _clientType:200, _request:3"),
              std::string::npos)
        << verbose.err;
}
