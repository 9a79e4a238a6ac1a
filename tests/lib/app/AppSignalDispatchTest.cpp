// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include "AppTestSupport.h"

using apptest::appLine;
using apptest::Call;
using apptest::recorder;
using apptest::RecordingCallBack;
using veltest::LogCapture;

namespace {

// Three callbacks, registered first, second, third.
class AnAppClientWithThreeCallbacks : public apptest::AppClientTest {
protected:
    void SetUp() override
    {
        startAndConnect({&recorder(0), &recorder(1), &recorder(2)});
    }

    // Names of the callbacks that received the operation, in delivery order.
    static std::vector<std::string> receivers(const std::string& operation)
    {
        std::vector<std::string> names;
        for (const Call& call : RecordingCallBack::allCalls()) {
            if (call.name == operation) {
                names.push_back(call.callback);
            }
        }
        return names;
    }

    const std::vector<std::string> kInOrder{"first", "second", "third"};
};

} // namespace

TEST_F(AnAppClientWithThreeCallbacks, DeliversEachCompletionToEveryCallbackInRegistrationOrder)
{
    requestDone(0, 4, "dev-1", 5);
    requestDone(1, 4, "dev-1", 6);
    requestDone(3, 4, "dev-2", 28);
    requestDone(5, 4, "dev-3", 28);
    requestDone(6, 4, "dev-4", 28);

    ASSERT_TRUE(recorder(2).waitFor("onRcvResponseSetPrioritizedDevice"));
    EXPECT_EQ(receivers("onRcvResponseConnectService"), kInOrder);
    EXPECT_EQ(receivers("onRcvResponseDisconnectService"), kInOrder);
    EXPECT_EQ(receivers("onRcvResponseRemoveDevice"), kInOrder);
    EXPECT_EQ(receivers("onRcvResponseRejectTechnologySelection"), kInOrder);
    EXPECT_EQ(receivers("onRcvResponseSetPrioritizedDevice"), kInOrder);

    const Call disconnect = recorder(1).calls("onRcvResponseDisconnectService").at(0);
    EXPECT_EQ(disconnect.deviceId, "dev-1");
    EXPECT_EQ(disconnect.technology, 6u);
    EXPECT_EQ(disconnect.result, 4);
    EXPECT_EQ(recorder(2).calls("onRcvResponseRejectTechnologySelection").at(0).deviceId, "dev-3");
    EXPECT_TRUE(LogCapture::hasExact(
        appLine("receiveAppRequestDone", "_appRequest:3, _result:4, _deviceId:dev-2, _technology:28"),
        veltest::kSeverityInfo));
    EXPECT_TRUE(LogCapture::hasExact(appLine("onVelLibraryAppCallBack", "signal_name:appRequestDone"),
                                     veltest::kSeverityInfo));
}

TEST_F(AnAppClientWithThreeCallbacks, LogsAReconnectSuspendCompletionOncePerCallbackAndCallsNone)
{
    requestDone(7, 0, "true", 28);

    const std::string rejected = appLine("receiveAppRequestDone", "@@@ ERR. Unexpected appRequest!");
    ASSERT_TRUE(LogCapture::waitFor(rejected, std::chrono::seconds(10), 3));
    EXPECT_EQ(LogCapture::count(rejected, veltest::kSeverityError), 3u);
    EXPECT_EQ(RecordingCallBack::dispatchedCount(), 0u);
}

TEST_F(AnAppClientWithThreeCallbacks, RejectsCompletionsOfRequestsApplicationsDoNotSend)
{
    requestDone(2, 0, "dev-1", 5);
    requestDone(4, 0, "dev-1", 5);
    requestDone(8, 0, "dev-1", 5);

    const std::string rejected = appLine("receiveAppRequestDone", "@@@ ERR. Unexpected appRequest!");
    ASSERT_TRUE(LogCapture::waitFor(rejected, std::chrono::seconds(10), 9));
    EXPECT_EQ(RecordingCallBack::dispatchedCount(), 0u);
}

TEST_F(AnAppClientWithThreeCallbacks, DeliversTheEndOfAFactoryResetToEveryCallback)
{
    funcOpModeDone(2, 9);

    ASSERT_TRUE(recorder(2).waitFor("onRcvResponseRestoreFactorySettings"));
    EXPECT_EQ(receivers("onRcvResponseRestoreFactorySettings"), kInOrder);
    EXPECT_EQ(recorder(0).calls("onRcvResponseRestoreFactorySettings").at(0).result, 9);
    EXPECT_TRUE(LogCapture::hasExact(appLine("receiveCheckFuncOpModeDone", "_function:2, _result:9"),
                                     veltest::kSeverityInfo));
}

TEST_F(AnAppClientWithThreeCallbacks, PassesOverCoreItemsSilentlyAndRejectsOtherItems)
{
    funcOpModeDone(1, 0);
    funcOpModeDone(5, 0);
    funcOpModeDone(3, 0);

    const std::string rejected = appLine("receiveCheckFuncOpModeDone", "@@@ ERR. Unexpected appRequest!");
    ASSERT_TRUE(LogCapture::waitFor(rejected, std::chrono::seconds(10), 3));
    EXPECT_EQ(LogCapture::count(rejected, veltest::kSeverityError), 3u);
    EXPECT_TRUE(LogCapture::hasExact(appLine("receiveCheckFuncOpModeDone", "_function:1, _result:0")));
    EXPECT_TRUE(LogCapture::hasExact(appLine("receiveCheckFuncOpModeDone", "_function:5, _result:0")));
    EXPECT_EQ(RecordingCallBack::dispatchedCount(), 0u);
}

TEST_F(AnAppClientWithThreeCallbacks, HandsATechnologySelectionNoticeOverWithoutItsSecondDetail)
{
    notice(3, "dev-7", 99);

    ASSERT_TRUE(recorder(2).waitFor("onRcvUpdateGetTechnologySelection"));
    EXPECT_EQ(receivers("onRcvUpdateGetTechnologySelection"), kInOrder);
    const Call call = recorder(0).calls("onRcvUpdateGetTechnologySelection").at(0);
    EXPECT_EQ(call.deviceId, "dev-7");
    EXPECT_EQ(call.result, 1);
    EXPECT_TRUE(LogCapture::hasExact(appLine("receiveNoticeToApp", "_notice:3, _info1:dev-7, _info2:99"),
                                     veltest::kSeverityInfo));
}

TEST_F(AnAppClientWithThreeCallbacks, TakesTheSecondDetailAsTheTechnologyOfLimitAndLinkLossNotices)
{
    notice(4, "dev-7", 6);
    notice(7, "dev-8", 14);

    ASSERT_TRUE(recorder(2).waitFor("onRcvNoticeLinkLossToApp"));
    EXPECT_EQ(receivers("onRcvUpdateIncomingServiceRequestLimitExceeded"), kInOrder);
    EXPECT_EQ(receivers("onRcvNoticeLinkLossToApp"), kInOrder);
    const Call limit = recorder(1).calls("onRcvUpdateIncomingServiceRequestLimitExceeded").at(0);
    EXPECT_EQ(limit.deviceId, "dev-7");
    EXPECT_EQ(limit.technology, 6u);
    EXPECT_EQ(limit.result, 1);
    const Call loss = recorder(2).calls("onRcvNoticeLinkLossToApp").at(0);
    EXPECT_EQ(loss.deviceId, "dev-8");
    EXPECT_EQ(loss.technology, 14u);
    EXPECT_EQ(loss.result, 1);
}

TEST_F(AnAppClientWithThreeCallbacks, RejectsNoticesThatAreNotForApplications)
{
    for (unsigned kind : {2u, 5u, 6u, 8u, 9u, 10u}) {
        notice(kind, "dev-1", 0);
    }

    const std::string rejected = appLine("receiveNoticeToApp", "@@@ ERR. Unexpected notice!");
    ASSERT_TRUE(LogCapture::waitFor(rejected, std::chrono::seconds(10), 18));
    EXPECT_EQ(LogCapture::count(rejected, veltest::kSeverityError), 18u);
    EXPECT_EQ(RecordingCallBack::dispatchedCount(), 0u);
}

TEST_F(AnAppClientWithThreeCallbacks, RefusesANoticeWhoseFirstDetailReadsAsANegativeNumber)
{
    notice(0, "-1", 0);
    notice(3, "-5dev", 0);

    const std::string refused = appLine("receiveNoticeToApp", "@@@ ERR. (count < 0) is true! Return!");
    ASSERT_TRUE(LogCapture::waitFor(refused, std::chrono::seconds(10), 2));
    EXPECT_EQ(LogCapture::count(refused, veltest::kSeverityError), 2u);
    EXPECT_EQ(RecordingCallBack::dispatchedCount(), 0u);
    EXPECT_EQ(LogCapture::count("readData()"), 0u);
}

TEST_F(AnAppClientWithThreeCallbacks, HandsTheTechnologyActivityListToEveryCallbackInBusOrder)
{
    recorder(1).setTechActiveInfoAnswer(false);
    techActiveInfo({{static_cast<TECHNOLOGY_e>(2), true}, {static_cast<TECHNOLOGY_e>(6), false}});

    ASSERT_TRUE(recorder(2).waitFor("onRcvTechActiveInfo"));
    EXPECT_EQ(receivers("onRcvTechActiveInfo"), kInOrder);
    const std::vector<TECH_ACTIVE_INFO_s> infos = recorder(0).calls("onRcvTechActiveInfo").at(0).infos;
    ASSERT_EQ(infos.size(), 2u);
    EXPECT_EQ(infos[0].technology, 2u);
    EXPECT_TRUE(infos[0].active);
    EXPECT_EQ(infos[1].technology, 6u);
    EXPECT_FALSE(infos[1].active);

    ASSERT_TRUE(LogCapture::waitFor("onRcvTechActiveInfo() success", std::chrono::seconds(10), 2));
    EXPECT_EQ(LogCapture::count(appLine("receiveNoticeTechActiveInfo", "onRcvTechActiveInfo() success"),
                                veltest::kSeverityInfo),
              2u);
    EXPECT_EQ(LogCapture::count(appLine("receiveNoticeTechActiveInfo", "@@@ ERR. onRcvTechActiveInfo() fail"),
                                veltest::kSeverityError),
              1u);
}

TEST_F(AnAppClientWithThreeCallbacks, HearsNothingOfSignalsMeantForOtherClients)
{
    emitRaw("noticeToCore", g_variant_new("(uss)", 1u, "a", "b"));
    emitRaw("coreRequestDone", g_variant_new("(uus)", 1u, 0u, "x"));
    requestDone(6, 0, "dev-1", 28);

    ASSERT_TRUE(recorder(2).waitFor("onRcvResponseSetPrioritizedDevice"));
    EXPECT_EQ(LogCapture::count("signal_name:noticeToCore"), 0u);
    EXPECT_EQ(LogCapture::count("signal_name:coreRequestDone"), 0u);
    EXPECT_EQ(RecordingCallBack::dispatchedCount(), 3u);
}

namespace {

// An application that overrides nothing.
class AnAppClientWithDefaultCallbacks : public apptest::AppClientTest {
protected:
    void SetUp() override
    {
        startAndConnect({&apptest::silentCallBack()});
    }
};

} // namespace

TEST_F(AnAppClientWithDefaultCallbacks, GetsOneWarningPerDeliveredCallbackAndNothingElse)
{
    LogCapture::clear();
    requestDone(0, 0, "dev-1", 5);
    requestDone(1, 0, "dev-1", 5);
    requestDone(3, 0, "dev-1", 28);
    requestDone(5, 0, "dev-1", 28);
    requestDone(6, 0, "dev-1", 28);
    funcOpModeDone(2, 0);
    notice(3, "dev-1", 0);
    notice(4, "dev-1", 5);
    notice(7, "dev-1", 5);
    publishDevices(KNOWN_DEVICE_LIST, {"dev-1"}, true);
    publishDevices(DISCOVERED_DEVICE_LIST, {"dev-2"}, true);
    techActiveInfo({{static_cast<TECHNOLOGY_e>(2), true}});

    ASSERT_TRUE(LogCapture::waitFor("onRcvTechActiveInfo() success", std::chrono::seconds(10)));
    const std::vector<std::string> expected{
        "[CBAPP] @@@ WARN. onRcvResponseConnectService not implemented",
        "[CBAPP] @@@ WARN. onRcvResponseDisconnectService not implemented",
        "[CBAPP] @@@ WARN. onRcvResponseRemoveDevice not implemented",
        "[CBAPP] @@@ WARN. onRcvResponseRejectTechnologySelection not implemented",
        "[CBAPP] @@@ WARN. onRcvResponseSetPrioritizedDevice not implemented",
        "[CBAPP] @@@ WARN. onRcvResponseRestoreFactorySettings not implemented",
        "[CBAPP] @@@ WARN. onRcvUpdateGetTechnologySelection not implemented",
        "[CBAPP] @@@ WARN. onRcvUpdateIncomingServiceRequestLimitExceeded not implemented",
        "[CBAPP] @@@ WARN. onRcvNoticeLinkLossToApp not implemented",
        "[CBAPP] @@@ WARN. onRcvUpdateKnownDevices not implemented",
        "[CBAPP] @@@ WARN. onRcvUpdateDeviceDisconnectionInfo not implemented",
        "[CBAPP] @@@ WARN. onRcvTechActiveInfo not implemented",
    };
    EXPECT_EQ(apptest::textsWith("[CBAPP]"), expected);
    for (const std::string& line : expected) {
        EXPECT_TRUE(LogCapture::hasExact(line, veltest::kSeverityWarn)) << line;
    }
    EXPECT_TRUE(LogCapture::hasExact(appLine("receiveNoticeTechActiveInfo", "onRcvTechActiveInfo() success"),
                                     veltest::kSeverityInfo));
}
