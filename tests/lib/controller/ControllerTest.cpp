// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "LogCapture.h"
#include "PrivateBus.h"
#include "SimProcess.h"
#include "vel/VelComProxyController.h"
#include "vel/VelLibUtil.h"

using namespace std::chrono_literals;
using veltest::LogCapture;

namespace {

constexpr std::chrono::milliseconds kBusWait = 15s;

std::string tag(const char* function)
{
    return "[VELLIBCONT][libvel.controller." + VelLibUtil::getClientName() + "][" + function + "] ";
}

} // namespace

TEST(AController, IsTheSameObjectOnEveryGetInstance)
{
    LogCapture::clear();
    VelComProxyController* first = VelComProxyController::getInstance();
    VelComProxyController* second = VelComProxyController::getInstance();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first, second);
    // Constructed once, under the name formed from the process name.
    EXPECT_EQ(LogCapture::count(tag("VelComProxyController") + "constructor", veltest::kSeverityInfo), 1u);
    EXPECT_EQ(LogCapture::count("[VELLIBCONT][getInstance] ", veltest::kSeverityInfo), 2u);
}

TEST(AController, RegistersAsClientKind400UnderItsProcessName)
{
    LogCapture::clear();
    VelComProxyController::getInstance();
    EXPECT_EQ(LogCapture::count("constructor _clientType:400, _clientName:libvel.controller." +
                                    VelLibUtil::getClientName(),
                                veltest::kSeverityInfo),
              1u);
}

TEST(AController, RefusesToSendAControlModeBeforeDoInitialize)
{
    VelComProxyController* controller = VelComProxyController::getInstance();
    LogCapture::clear();
    EXPECT_FALSE(controller->sendControlMode(1, 4, FUNC_ITEM_RESTORE_FACTORY_SETTINGS));
    EXPECT_TRUE(LogCapture::hasExact(tag("sendControlMode") + "_mode: 1 _technology: 4 _item: 2",
                                     veltest::kSeverityInfo));
    EXPECT_EQ(LogCapture::count("@@@ ERR. (mProxy != 0) is false !", veltest::kSeverityError), 1u);
}

TEST(AController, SubscribesToNothingAndReleasesNothing)
{
    VelComProxyController* controller = VelComProxyController::getInstance();
    LogCapture::clear();
    EXPECT_TRUE(controller->subscribe());
    EXPECT_TRUE(controller->doRelease());
    EXPECT_TRUE(LogCapture::hasExact(tag("subscribe") + "subscribe", veltest::kSeverityInfo));
    EXPECT_TRUE(LogCapture::hasExact(tag("doRelease") + "doRelease", veltest::kSeverityInfo));
}

class AControllerWithService : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(mBus.start());
        ASSERT_TRUE(mSim.start());
    }

    veltest::PrivateBus mBus;
    veltest::SimProcess mSim{mBus};
};

TEST_F(AControllerWithService, SendsTheControlModeOnceRegistered)
{
    VelComProxyController* controller = VelComProxyController::getInstance();
    ASSERT_TRUE(controller->doInitialize());
    // The controller has no callback agent: the simulator's registration line
    // is what tells that the link is up.
    ASSERT_TRUE(mSim.waitForLog("registerMe type=400 name=[libvel.controller.", kBusWait));
    EXPECT_TRUE(controller->sendControlMode(3, 14, static_cast<ORNA_FUNC_ITEM_e>(5)));
    EXPECT_TRUE(controller->sendControlMode(0, 4, FUNC_ITEM_RESTORE_FACTORY_SETTINGS));
    ASSERT_TRUE(mSim.waitForLog("call sendControlMode ", kBusWait, 2));
    std::vector<std::string> calls;
    for (const std::string& line : mSim.logLines()) {
        if (line.rfind("call sendControlMode ", 0) == 0) {
            calls.push_back(line);
        }
    }
    const std::vector<std::string> expected = {"call sendControlMode (uint32 3, uint32 14, uint32 5)",
                                               "call sendControlMode (uint32 0, uint32 4, uint32 2)"};
    EXPECT_EQ(calls, expected);
}

TEST_F(AControllerWithService, RefusesToSendOnceTheServiceHasGone)
{
    VelComProxyController* controller = VelComProxyController::getInstance();
    ASSERT_TRUE(controller->doInitialize());
    ASSERT_TRUE(mSim.waitForLog("registerMe type=400", kBusWait));
    mSim.stop();
    ASSERT_TRUE(LogCapture::waitFor("D-Bus service name is vanished.", kBusWait));
    LogCapture::clear();
    EXPECT_FALSE(controller->sendControlMode(1, 4, FUNC_ITEM_RESTORE_FACTORY_SETTINGS));
    EXPECT_EQ(LogCapture::count("@@@ ERR. (mProxy != 0) is false !", veltest::kSeverityError), 1u);
}

TEST_F(AControllerWithService, LeavesItsLinkUpWhenReleased)
{
    VelComProxyController* controller = VelComProxyController::getInstance();
    ASSERT_TRUE(controller->doInitialize());
    ASSERT_TRUE(mSim.waitForLog("registerMe type=400", kBusWait));
    LogCapture::clear();

    EXPECT_TRUE(controller->doRelease());
    std::vector<std::string> texts = LogCapture::texts();
    EXPECT_EQ(texts, std::vector<std::string>{tag("doRelease") + "doRelease"});

    EXPECT_TRUE(controller->sendControlMode(2, 5, FUNC_ITEM_RESTORE_FACTORY_SETTINGS));
    EXPECT_TRUE(mSim.waitForLog("call sendControlMode (uint32 2, uint32 5, uint32 2)", kBusWait));
    EXPECT_EQ(mSim.countLog("call registerMe"), 1u);
    EXPECT_EQ(LogCapture::count("vanished"), 0u);
}
