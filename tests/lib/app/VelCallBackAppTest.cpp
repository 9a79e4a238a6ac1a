// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include <functional>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "log_contexts.h"
#include "support/LogCapture.h"
#include "support/VtableSlot.h"
#include "vel/VelCallBackApp.h"

using veltest::LogCapture;
using veltest::vtableSlot;

namespace {

const TECHNOLOGY_e kTechnology = static_cast<TECHNOLOGY_e>(5);

struct DefaultBody {
    const char* operation;
    std::function<void(VelCallBackApp&)> call;
};

std::vector<DefaultBody> defaultBodies()
{
    static std::list<DEVICE> devices;
    return {
        {"onRcvResponseAbortDiscovery", [](VelCallBackApp& cb) { cb.onRcvResponseAbortDiscovery(0); }},
        {"onRcvResponseConnectService", [](VelCallBackApp& cb) { cb.onRcvResponseConnectService("d", kTechnology, 0); }},
        {"onRcvResponseDisconnectService",
         [](VelCallBackApp& cb) { cb.onRcvResponseDisconnectService("d", kTechnology, 0); }},
        {"onRcvResponseEmergencyCallIndicator", [](VelCallBackApp& cb) { cb.onRcvResponseEmergencyCallIndicator(0); }},
        {"onRcvResponseReconnectSuspend", [](VelCallBackApp& cb) { cb.onRcvResponseReconnectSuspend(0); }},
        {"onRcvResponseRejectTechnologySelection",
         [](VelCallBackApp& cb) { cb.onRcvResponseRejectTechnologySelection("d", 0); }},
        {"onRcvResponseRemoveDevice", [](VelCallBackApp& cb) { cb.onRcvResponseRemoveDevice("d", 0); }},
        {"onRcvResponseRestoreFactorySettings", [](VelCallBackApp& cb) { cb.onRcvResponseRestoreFactorySettings(0); }},
        {"onRcvResponseSetPrioritizedDevice", [](VelCallBackApp& cb) { cb.onRcvResponseSetPrioritizedDevice(0); }},
        {"onRcvResponseStartReconnect", [](VelCallBackApp& cb) { cb.onRcvResponseStartReconnect(0); }},
        {"onRcvResponseStartDiscovery", [](VelCallBackApp& cb) { cb.onRcvResponseStartDiscovery(0); }},
        {"onRcvUpdateDeviceDisconnectionInfo",
         [](VelCallBackApp& cb) { cb.onRcvUpdateDeviceDisconnectionInfo("d", kTechnology, 0, 0); }},
        {"onRcvUpdateEmergencyCallIndicator", [](VelCallBackApp& cb) { cb.onRcvUpdateEmergencyCallIndicator(true, 0); }},
        {"onRcvUpdateGetTechnologySelection", [](VelCallBackApp& cb) { cb.onRcvUpdateGetTechnologySelection("d", 0); }},
        {"onRcvUpdateIncomingServiceRequestLimitExceeded",
         [](VelCallBackApp& cb) { cb.onRcvUpdateIncomingServiceRequestLimitExceeded("d", kTechnology, 0); }},
        {"onRcvNoticeLinkLossToApp", [](VelCallBackApp& cb) { cb.onRcvNoticeLinkLossToApp("d", kTechnology, 0); }},
        {"onRcvUpdateKnownDevices", [](VelCallBackApp& cb) { cb.onRcvUpdateKnownDevices(devices, 0); }},
        {"onRcvUpdateSingleDeviceCoexMode", [](VelCallBackApp& cb) { cb.onRcvUpdateSingleDeviceCoexMode(true, 0); }},
        {"onRcvTechActiveInfo", [](VelCallBackApp& cb) { cb.onRcvTechActiveInfo({}); }},
    };
}

} // namespace

TEST(AVelCallBackApp, AnnouncesItsConstructionAndRegistersItsLogContext)
{
    LogCapture::clear();
    VelCallBackApp callback;

    EXPECT_TRUE(LogCapture::hasExact("[CBAPP] VelCallBackApp() constructor", veltest::kSeverityInfo));
    EXPECT_TRUE(LogCapture::hasExact("[VELLOG][OrnaLogWrapper] contextid:CB_A", veltest::kSeverityDebug));
    EXPECT_EQ(std::string(VELCBCAPP.contextID, sizeof(VELCBCAPP.contextID)), "CB_A");
}

TEST(AVelCallBackApp, WritesOneWarningNamingTheOperationFromEveryDefaultBody)
{
    VelCallBackApp callback;
    for (const DefaultBody& body : defaultBodies()) {
        LogCapture::clear();
        body.call(callback);
        const std::string expected = std::string("[CBAPP] @@@ WARN. ") + body.operation + " not implemented";
        EXPECT_EQ(LogCapture::texts(), std::vector<std::string>{expected}) << body.operation;
        EXPECT_TRUE(LogCapture::hasExact(expected, veltest::kSeverityWarn)) << body.operation;
    }
}

TEST(AVelCallBackApp, NamesItsNeighbourWhenTheDiscoveredListIsLeftAtItsDefault)
{
    VelCallBackApp callback;
    std::list<DEVICE> devices;
    LogCapture::clear();

    callback.onRcvUpdateDiscoveredDevices(devices, 1);

    EXPECT_EQ(LogCapture::texts(),
              std::vector<std::string>{"[CBAPP] @@@ WARN. onRcvUpdateDeviceDisconnectionInfo not implemented"});
    EXPECT_EQ(LogCapture::count("onRcvUpdateDiscoveredDevices"), 0u);
}

TEST(AVelCallBackApp, AnswersTrueFromTheDefaultTechActiveInfo)
{
    VelCallBackApp callback;
    EXPECT_TRUE(callback.onRcvTechActiveInfo({TECH_ACTIVE_INFO_s{kTechnology, true}}));
}

TEST(AVelCallBackApp, LeavesReadinessToTheAgentBase)
{
    VelCallBackApp callback;
    LogCapture::clear();

    callback.onRcvMVELReady(true);

    EXPECT_TRUE(LogCapture::hasExact("[CBAG] @@@ WARN. onRcvMVELReady not implemented", veltest::kSeverityWarn));
}

TEST(AVelCallBackApp, UnregistersItsLogContextWhenDestroyed)
{
    auto callback = std::make_unique<VelCallBackApp>();
    LogCapture::clear();

    callback.reset();

    EXPECT_TRUE(LogCapture::hasExact("[VELLOG][OrnaLogWrapper] Found. Earse this.", veltest::kSeverityDebug));
}

TEST(AVelCallBackApp, KeepsItsVirtualFunctionsInTheirPublishedSlots)
{
    EXPECT_EQ(vtableSlot(&VelCallBackApp::onRcvMVELReady), 2u);
    EXPECT_EQ(vtableSlot(&VelCallBackApp::onRcvResponseAbortDiscovery), 3u);
    EXPECT_EQ(vtableSlot(&VelCallBackApp::onRcvResponseConnectService), 4u);
    EXPECT_EQ(vtableSlot(&VelCallBackApp::onRcvResponseDisconnectService), 5u);
    EXPECT_EQ(vtableSlot(&VelCallBackApp::onRcvResponseEmergencyCallIndicator), 6u);
    EXPECT_EQ(vtableSlot(&VelCallBackApp::onRcvResponseReconnectSuspend), 7u);
    EXPECT_EQ(vtableSlot(&VelCallBackApp::onRcvResponseRejectTechnologySelection), 8u);
    EXPECT_EQ(vtableSlot(&VelCallBackApp::onRcvResponseRemoveDevice), 9u);
    EXPECT_EQ(vtableSlot(&VelCallBackApp::onRcvResponseRestoreFactorySettings), 10u);
    EXPECT_EQ(vtableSlot(&VelCallBackApp::onRcvResponseSetPrioritizedDevice), 11u);
    EXPECT_EQ(vtableSlot(&VelCallBackApp::onRcvResponseStartReconnect), 12u);
    EXPECT_EQ(vtableSlot(&VelCallBackApp::onRcvResponseStartDiscovery), 13u);
    EXPECT_EQ(vtableSlot(&VelCallBackApp::onRcvUpdateDeviceDisconnectionInfo), 14u);
    EXPECT_EQ(vtableSlot(&VelCallBackApp::onRcvUpdateDiscoveredDevices), 15u);
    EXPECT_EQ(vtableSlot(&VelCallBackApp::onRcvUpdateEmergencyCallIndicator), 16u);
    EXPECT_EQ(vtableSlot(&VelCallBackApp::onRcvUpdateGetTechnologySelection), 17u);
    EXPECT_EQ(vtableSlot(&VelCallBackApp::onRcvUpdateIncomingServiceRequestLimitExceeded), 18u);
    EXPECT_EQ(vtableSlot(&VelCallBackApp::onRcvNoticeLinkLossToApp), 19u);
    EXPECT_EQ(vtableSlot(&VelCallBackApp::onRcvUpdateKnownDevices), 20u);
    EXPECT_EQ(vtableSlot(&VelCallBackApp::onRcvUpdateSingleDeviceCoexMode), 21u);
    EXPECT_EQ(vtableSlot(&VelCallBackApp::onRcvTechActiveInfo), 22u);
}
