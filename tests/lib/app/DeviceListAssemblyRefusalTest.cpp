// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// The steps of the device-list assembly called one by one with what the
// signal dispatch never hands them (unknown list types, no read buffer, no
// store reader, counts beyond a list): each refuses with its own line.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "AppTestSupport.h"
#include "app/ImplVelComProxyApp.h"

using apptest::kClientName;
using apptest::recorder;
using veltest::LogCapture;

namespace {

const DEVICE_LIST_TYPE kUnknownList = static_cast<DEVICE_LIST_TYPE>(2);

class TheDeviceListSteps : public ::testing::Test {
protected:
    void SetUp() override
    {
        VelComProxyApp* app = VelComProxyApp::getInstance(static_cast<CLIENT_TYPE_e>(100), kClientName, &recorder(0));
        ASSERT_NE(app, nullptr);
        // A second state object of the facade, without a store reader.
        mSteps = std::make_unique<VelComProxyApp::ImplVelComProxyApp>(app, static_cast<CLIENT_TYPE_e>(100),
                                                                      kClientName);
        LogCapture::clear();
    }

    static std::size_t errors(const std::string& function, const std::string& text)
    {
        return LogCapture::count("[" + function + "] @@@ ERR. " + text, veltest::kSeverityError);
    }

    std::unique_ptr<VelComProxyApp::ImplVelComProxyApp> mSteps;
};

} // namespace

TEST_F(TheDeviceListSteps, RefuseAnUnknownListTypeAtEveryStep)
{
    EXPECT_FALSE(mSteps->handleUpdatedDeviceInfo_l(kUnknownList, 1, 0, &recorder(0)));
    EXPECT_FALSE(mSteps->changeArrayToList_l(kUnknownList, 1));
    mSteps->resetDeviceList_l(kUnknownList);
    mSteps->releaseDeviceListResource_l(kUnknownList);

    EXPECT_EQ(errors("composeDeviceList_l", "Unknown device list type. Return !"), 1u);
    EXPECT_EQ(errors("handleUpdatedDeviceInfo_l", "processReceivedDeviceList_l() failed!"), 1u);
    EXPECT_EQ(errors("changeArrayToList_l", "Unknown device list type! Return!"), 1u);
    EXPECT_EQ(errors("resetDeviceList_l", "Unknown device list type."), 1u);
    EXPECT_EQ(errors("releaseDeviceListResource_l", "Unknown listType. (_listType:2"), 1u);
    EXPECT_EQ(recorder(0).count("onRcvUpdateKnownDevices") + recorder(0).count("onRcvUpdateDiscoveredDevices"), 0u);
}

TEST_F(TheDeviceListSteps, RefuseADiscoveredCountBeyondTheListOrBelowZero)
{
    EXPECT_FALSE(mSteps->composeDeviceList_l(DISCOVERED_DEVICE_LIST, VEL_MAX_DEVICE_COUNT + 1));
    EXPECT_FALSE(mSteps->composeDeviceList_l(DISCOVERED_DEVICE_LIST, -1));

    EXPECT_EQ(errors("composeDeviceList_l",
                     "Discovered device count:" + std::to_string(VEL_MAX_DEVICE_COUNT + 1) + " is above the limit of " +
                         std::to_string(VEL_MAX_DEVICE_COUNT) + "! Return!"),
              1u);
    EXPECT_EQ(errors("composeDeviceList_l",
                     "Discovered device count:-1 is above the limit of " + std::to_string(VEL_MAX_DEVICE_COUNT) +
                         "! Return!"),
              1u);
    EXPECT_EQ(LogCapture::count("mpVellShm is NULL"), 0u);
}

TEST_F(TheDeviceListSteps, RefuseToReadWithoutAStoreReader)
{
    EXPECT_FALSE(mSteps->composeDeviceList_l(KNOWN_DEVICE_LIST, 2));
    EXPECT_FALSE(mSteps->composeDeviceList_l(DISCOVERED_DEVICE_LIST, 2));

    EXPECT_EQ(errors("composeDeviceList_l", "mpVellShm is NULL! Return!"), 2u);
}

TEST_F(TheDeviceListSteps, RefuseToConvertOrCopyWithoutAReadBuffer)
{
    EXPECT_FALSE(mSteps->changeArrayToList_l(KNOWN_DEVICE_LIST, 1));
    EXPECT_FALSE(mSteps->composeDeviceListToIncludeValidItemOnly_l());

    EXPECT_EQ(errors("changeArrayToList_l", "(mpDeviceArray == NULL) is true! Return!"), 1u);
    EXPECT_EQ(errors("composeDeviceListToIncludeValidItemOnly_l", "(mpDeviceArray == NULL) is true! Return!"), 1u);
}
