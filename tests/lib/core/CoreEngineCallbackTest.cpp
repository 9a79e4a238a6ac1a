// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include "LogCapture.h"
#include "VtableSlot.h"
#include "vel/VelCallBackCoreEngine.h"

using veltest::LogCapture;

namespace {

const TECHNOLOGY_e kTech = static_cast<TECHNOLOGY_e>(4);
const unsigned int kNumber = 1;
const std::string kText = "x";

} // namespace

TEST(ADefaultCoreEngineCallback, LogsItsConstructionAtInfoLevel)
{
    LogCapture::clear();
    VelCallBackCoreEngine callback;
    EXPECT_TRUE(LogCapture::hasExact("[CBCORE] VelCallBackCoreEngine() constructor", veltest::kSeverityInfo));
}

TEST(ADefaultCoreEngineCallback, WritesOneNotImplementedWarningPerMethodAndNothingElse)
{
    VelCallBackCoreEngine callback;
    LogCapture::clear();

    callback.onRcvFindTechnology(kNumber, kNumber, kNumber, kText, kText);
    callback.onRcvReqConnect(kTech, kText, kNumber, kNumber, kNumber, kText, kText, kText,
                             static_cast<CONNECT_CONDITION_e>(0));
    callback.onRcvReqConnectWireless(kText, kTech, kText, kText, static_cast<CONNECT_CONDITION_e>(0));
    callback.onRcvReqDisconnect(kTech, kText, kNumber, kNumber, kNumber, kText, kText,
                                static_cast<ORNA_DISCONN_REASON_e>(0));
    callback.onRcvReqDisconnectWireless(kTech, kText, kText, static_cast<ORNA_DISCONN_REASON_e>(0));
    callback.onRcvReqDone(COREREQ_GET_DEVID, static_cast<ORNA_RESULT_e>(0), kText);
    callback.onRcvReqCheckCapability(kTech, kText, kNumber, kNumber);
    callback.onRcvReqCheckCapabilityWireless(kText, kTech, kText, kText, WIFI_CREDENTIALS_s());
    callback.onRcvReqCheckCapabilityWirelessEx(kText, kTech, kText, kText, {});
    callback.onRcvInfoLinkLoss(kText);
    callback.onRcvInfoLinkLossIP(kText);
    callback.onRcvChangedDeviceID(kText, kText);
    callback.onRcvOriginalDeviceInfo(kText, kTech, kNumber, kNumber);
    callback.onRcvDeviceStatusChanged(static_cast<DEVICE_STATE_e>(1), kText);

    const std::vector<std::string> expected = {
        "[CBCORE] @@@ WARN. onRcvFindTechnology not implemented",
        "[CBCORE] @@@ WARN. onRcvReqConnect not implemented",
        "[CBCORE] @@@ WARN. onRcvReqConnectWireless not implemented",
        "[CBCORE] @@@ WARN. onRcvReqDisconnect not implemented",
        "[CBCORE] @@@ WARN. onRcvReqDisconnectWireless not implemented",
        "[CBCORE] @@@ WARN. onRcvReqDone not implemented",
        "[CBCORE] @@@ WARN. onRcvReqCheckCapability not implemented",
        "[CBCORE] @@@ WARN. onRcvReqCheckCapabilityWireless not implemented",
        "[CBCORE] @@@ WARN. onRcvReqCheckCapabilityWirelessEx not implemented",
        "[CBCORE] @@@ WARN. onRcvInfoLinkLoss not implemented",
        "[CBCORE] @@@ WARN. onRcvInfoLinkLossIP not implemented",
        "[CBCORE] @@@ WARN. onRcvChangedDeviceID not implemented",
        "[CBCORE] @@@ WARN. onRcvOriginalDeviceInfo not implemented",
        "[CBCORE] @@@ WARN. onRcvDeviceStatusChanged not implemented",
    };
    const std::vector<veltest::LogLine> lines = LogCapture::lines();
    ASSERT_EQ(lines.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(lines[i].text, expected[i]);
        EXPECT_EQ(lines[i].severity, veltest::kSeverityWarn) << lines[i].text;
    }
}

// A core engine built against the interface calls through the base class;
// the overriding object must be reached whatever method the library picks.
TEST(ACoreEngineCallback, ReachesTheOverridingMethodThroughTheBaseClass)
{
    struct Override : VelCallBackCoreEngine {
        std::string seen;
        void onRcvDeviceStatusChanged(const DEVICE_STATE_e& state, const std::string& information1) override
        {
            seen = std::to_string(static_cast<unsigned int>(state)) + ":" + information1;
        }
    } callback;
    LogCapture::clear();
    VelCallBackCoreEngine& base = callback;
    base.onRcvDeviceStatusChanged(static_cast<DEVICE_STATE_e>(1), "777");
    EXPECT_EQ(callback.seen, "1:777");
    EXPECT_EQ(LogCapture::count("not implemented"), 0u);
}

TEST(AVelCallBackCoreEngine, KeepsItsVirtualFunctionsInTheirPublishedSlots)
{
    using veltest::vtableSlot;
    EXPECT_EQ(vtableSlot(&VelCallBackCoreEngine::onRcvMVELReady), 2u);
    EXPECT_EQ(vtableSlot(&VelCallBackCoreEngine::onRcvFindTechnology), 3u);
    EXPECT_EQ(vtableSlot(&VelCallBackCoreEngine::onRcvReqConnect), 4u);
    EXPECT_EQ(vtableSlot(&VelCallBackCoreEngine::onRcvReqConnectWireless), 5u);
    EXPECT_EQ(vtableSlot(&VelCallBackCoreEngine::onRcvReqDisconnect), 6u);
    EXPECT_EQ(vtableSlot(&VelCallBackCoreEngine::onRcvReqDisconnectWireless), 7u);
    EXPECT_EQ(vtableSlot(&VelCallBackCoreEngine::onRcvReqDone), 8u);
    EXPECT_EQ(vtableSlot(&VelCallBackCoreEngine::onRcvReqCheckCapability), 9u);
    EXPECT_EQ(vtableSlot(&VelCallBackCoreEngine::onRcvReqCheckCapabilityWireless), 10u);
    EXPECT_EQ(vtableSlot(&VelCallBackCoreEngine::onRcvReqCheckCapabilityWirelessEx), 11u);
    EXPECT_EQ(vtableSlot(&VelCallBackCoreEngine::onRcvInfoLinkLoss), 12u);
    EXPECT_EQ(vtableSlot(&VelCallBackCoreEngine::onRcvInfoLinkLossIP), 13u);
    EXPECT_EQ(vtableSlot(&VelCallBackCoreEngine::onRcvChangedDeviceID), 14u);
    EXPECT_EQ(vtableSlot(&VelCallBackCoreEngine::onRcvOriginalDeviceInfo), 15u);
    EXPECT_EQ(vtableSlot(&VelCallBackCoreEngine::onRcvDeviceStatusChanged), 16u);
}
