// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include <chrono>
#include <set>

#include "AppTestSupport.h"
#include "support/PrivateBus.h"

using apptest::appLine;
using apptest::kClientName;
using apptest::recorder;
using veltest::LogCapture;

namespace {

const CLIENT_TYPE_e kApp = static_cast<CLIENT_TYPE_e>(100);
const std::string kClassTag = "[VELLIBAPP][VelComProxyApp][getInstance] ";

// Hands a signal to the facade the way the bus does.
void deliver(VelComProxyApp* app, const char* signal, GVariant* parameters)
{
    g_variant_ref_sink(parameters);
    VelComProxyApp::onVelLibraryAppCallBack(nullptr, ":1.1", "/com/qor/vel_communicator",
                                            "com.qor.vel_communicator", signal, parameters, app);
    g_variant_unref(parameters);
}

void deliverConnectDone(VelComProxyApp* app)
{
    deliver(app, "appRequestDone", g_variant_new("(uusu)", 0u, 0u, "dev-1", 5u));
}

} // namespace

TEST(AVelComProxyApp, LogsTheClientTypeAndNameOnEveryRequestForTheFacade)
{
    LogCapture::clear();
    VelComProxyApp::getInstance(kApp, kClientName, &recorder(0));

    EXPECT_TRUE(LogCapture::hasExact(kClassTag + "mClientType:100, mClientName:apptest", veltest::kSeverityInfo));
    EXPECT_TRUE(LogCapture::hasExact(kClassTag + "do.. instance.mCbList.push_back(_cbApp)", veltest::kSeverityInfo));
    EXPECT_TRUE(LogCapture::hasExact("[VELLOG][OrnaLogWrapper] contextid:LIBA", veltest::kSeverityDebug));
}

TEST(AVelComProxyApp, KeepsOneEntryAndLogsAnErrorWhenTheSameCallbackIsRegisteredTwice)
{
    VelComProxyApp* first = VelComProxyApp::getInstance(kApp, kClientName, &recorder(0));
    LogCapture::clear();
    VelComProxyApp* second = VelComProxyApp::getInstance(kApp, kClientName, &recorder(0));

    EXPECT_EQ(first, second);
    EXPECT_TRUE(LogCapture::hasExact(kClassTag + "current mCbList.size() :1", veltest::kSeverityInfo));
    EXPECT_TRUE(LogCapture::hasExact(kClassTag + "@@@ ERR. The same callback has been registered already! Not add more!",
                                     veltest::kSeverityError));
    EXPECT_EQ(LogCapture::count("push_back"), 0u);

    deliverConnectDone(first);
    EXPECT_EQ(recorder(0).count("onRcvResponseConnectService"), 1u);
}

TEST(AVelComProxyApp, AddsFurtherCallbacksAtTheEndOfItsList)
{
    VelComProxyApp* app = VelComProxyApp::getInstance(kApp, kClientName, &recorder(0));
    VelComProxyApp::getInstance(kApp, kClientName, &recorder(1));
    LogCapture::clear();
    VelComProxyApp::getInstance(kApp, kClientName, &recorder(2));
    EXPECT_TRUE(LogCapture::hasExact(kClassTag + "current mCbList.size() :2", veltest::kSeverityInfo));

    deliverConnectDone(app);

    const std::vector<apptest::Call> calls = apptest::RecordingCallBack::allCalls();
    ASSERT_EQ(calls.size(), 3u);
    EXPECT_EQ(calls[0].callback, "first");
    EXPECT_EQ(calls[1].callback, "second");
    EXPECT_EQ(calls[2].callback, "third");
}

TEST(AVelComProxyApp, HandsOutOneSharedDummyForClientTypes99And106)
{
    LogCapture::clear();
    VelComProxyApp* for99 = VelComProxyApp::getInstance(static_cast<CLIENT_TYPE_e>(99), kClientName, &recorder(0));
    VelComProxyApp* for106 = VelComProxyApp::getInstance(static_cast<CLIENT_TYPE_e>(106), kClientName, &recorder(1));
    VelComProxyApp* for100 = VelComProxyApp::getInstance(kApp, kClientName, &recorder(2));

    EXPECT_EQ(for99, for106);
    EXPECT_NE(for99, for100);
    EXPECT_EQ(LogCapture::count("[VELLIBAPP][VelComProxyApp][getInstance_l] @@@ ERR. Unexpected _clientType! Create Dummy!",
                                veltest::kSeverityError),
              2u);
}

TEST(AVelComProxyApp, KeepsOneFacadePerApplicationClientType)
{
    std::set<VelComProxyApp*> facades;
    for (unsigned type = 100; type <= 105; ++type) {
        facades.insert(VelComProxyApp::getInstance(static_cast<CLIENT_TYPE_e>(type), kClientName, nullptr));
    }
    EXPECT_EQ(facades.size(), 6u);
    EXPECT_EQ(VelComProxyApp::getInstance(static_cast<CLIENT_TYPE_e>(103), "other", nullptr),
              VelComProxyApp::getInstance(static_cast<CLIENT_TYPE_e>(103), kClientName, nullptr));
    EXPECT_EQ(LogCapture::count("Unexpected _clientType"), 0u);
}

TEST(AVelComProxyApp, WarnsAndAddsNothingForANullCallback)
{
    LogCapture::clear();
    VelComProxyApp* app = VelComProxyApp::getInstance(kApp, kClientName, nullptr);

    EXPECT_TRUE(LogCapture::hasExact(kClassTag + "@@@ WARN. _cbApp is nullptr!", veltest::kSeverityWarn));
    LogCapture::clear();
    deliverConnectDone(app);
    EXPECT_TRUE(LogCapture::hasExact(appLine("receiveAppRequestDone", "@@@ WARN. (mCbList.size() == 0) is true. Return!"),
                                     veltest::kSeverityWarn));
}

TEST(AVelComProxyApp, LeavesTheCallbackListAloneForItsOwnClassName)
{
    LogCapture::clear();
    VelComProxyApp* own = VelComProxyApp::getInstance(kApp, "ImplVelComProxyApp", &recorder(0));
    VelComProxyApp* again = VelComProxyApp::getInstance(kApp, kClientName, nullptr);

    EXPECT_EQ(own, again);
    EXPECT_EQ(LogCapture::count("push_back"), 0u);
    deliverConnectDone(own);
    EXPECT_EQ(recorder(0).count("onRcvResponseConnectService"), 0u);
}

TEST(AVelComProxyApp, WarnsOnEveryEmptyListDispatch)
{
    VelComProxyApp* app = VelComProxyApp::getInstance(kApp, kClientName, nullptr);
    LogCapture::clear();

    deliver(app, "checkFuncOpModeDone", g_variant_new("(uu)", 2u, 0u));
    deliver(app, "noticeToApp", g_variant_new("(usi)", 3u, "dev-1", 0));
    deliver(app, "noticeTechActiveInfo", g_variant_new_parsed("(@a(ub) [(2, true)],)"));

    EXPECT_TRUE(LogCapture::hasExact(appLine("receiveCheckFuncOpModeDone", "@@@ WARN. mCbList is empty! Return!"),
                                     veltest::kSeverityWarn));
    EXPECT_TRUE(LogCapture::hasExact(appLine("receiveNoticeToApp", "@@@ WARN. mCbList is empty! Return!"),
                                     veltest::kSeverityWarn));
    EXPECT_TRUE(LogCapture::hasExact(appLine("receiveNoticeTechActiveInfo", "@@@ WARN. mCbList is empty! Return!"),
                                     veltest::kSeverityWarn));
}

TEST(AVelComProxyApp, LeavesOnlyTheSignalNameForASignalItDoesNotKnow)
{
    VelComProxyApp* app = VelComProxyApp::getInstance(kApp, kClientName, &recorder(0));
    apptest::waitForMainLoopThread();
    LogCapture::clear();

    deliver(app, "noticeToCore", g_variant_new("(uss)", 1u, "a", "b"));

    EXPECT_EQ(LogCapture::texts(),
              std::vector<std::string>{appLine("onVelLibraryAppCallBack", "signal_name:noticeToCore")});
    EXPECT_TRUE(apptest::RecordingCallBack::allCalls().empty());
}

TEST(AVelComProxyApp, ReportsSuccessForTheEmergencyCallIndicatorAndSendsNothing)
{
    VelComProxyApp* app = VelComProxyApp::getInstance(kApp, kClientName, nullptr);
    apptest::waitForMainLoopThread();
    LogCapture::clear();

    EXPECT_TRUE(app->doSetEmergencyCallIndicator(true));
    EXPECT_EQ(LogCapture::texts(),
              std::vector<std::string>{appLine("doSetEmergencyCallIndicator", "<TBD> _active:1")});
}

TEST(AVelComProxyApp, ReleasesSafelyWhenNothingWasSetUp)
{
    VelComProxyApp* app = VelComProxyApp::getInstance(kApp, kClientName, nullptr);
    EXPECT_TRUE(app->doRelease());
    EXPECT_TRUE(app->doRelease());
    EXPECT_EQ(LogCapture::count("unsubscribed:"), 0u);
}

TEST(AVelComProxyApp, SendsNoRequestWithoutAProxy)
{
    VelComProxyApp* app = VelComProxyApp::getInstance(kApp, kClientName, nullptr);
    LogCapture::clear();

    EXPECT_FALSE(app->doServiceConnect("dev-1", static_cast<TECHNOLOGY_e>(5), "dev-0"));
    EXPECT_FALSE(app->doServiceDisconnect("dev-1", static_cast<TECHNOLOGY_e>(5)));
    EXPECT_FALSE(app->doRemoveDevice("dev-1"));
    EXPECT_FALSE(app->doRejectTechnologySelection("dev-1"));
    EXPECT_FALSE(app->doSetPrioritizedDevice("dev-1"));
    EXPECT_FALSE(app->doReconnectSuspend(true));
    EXPECT_EQ(LogCapture::count(appLine("sendActionFromApp", "checkProxyAvailable() failed! Return!"),
                                veltest::kSeverityError),
              6u);
    EXPECT_TRUE(LogCapture::hasExact(
        appLine("sendActionFromApp", "_action:0, _deviceId:dev-1, _technology:5, _deviceIdToReplace:dev-0"),
        veltest::kSeverityInfo));

    EXPECT_FALSE(app->checkMaxPaired());
    EXPECT_FALSE(app->checkPaired("dev-1"));
    EXPECT_EQ(LogCapture::count(appLine("sendActionFromAppSync", "@@@ ERR. checkProxyAvailable() failed! Return!"),
                                veltest::kSeverityError),
              2u);
}

TEST(AVelComProxyApp, RefusesToSubscribeWithoutAConnection)
{
    VelComProxyApp* app = VelComProxyApp::getInstance(kApp, kClientName, nullptr);
    LogCapture::clear();

    EXPECT_FALSE(app->subscribe());
    EXPECT_EQ(apptest::textsWith("[VELLIBAPP]"),
              std::vector<std::string>{appLine("subscribe", "@@@ ERR. Connection is null!")});
    EXPECT_TRUE(LogCapture::hasExact(appLine("subscribe", "@@@ ERR. Connection is null!"), veltest::kSeverityError));
}

TEST(AVelComProxyApp, AnswersCheckPairedWithFalseAtOnceWhileTheServiceIsAbsent)
{
    veltest::PrivateBus bus;
    ASSERT_TRUE(bus.start());
    VelComProxyApp* app = VelComProxyApp::getInstance(kApp, kClientName, &recorder(0));
    ASSERT_TRUE(app->doInitialize());

    // "At once": far below the bus's default call timeout of 25 s.
    const auto started = std::chrono::steady_clock::now();
    EXPECT_FALSE(app->checkPaired("dev-1"));
    EXPECT_FALSE(app->checkMaxPaired());
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(5));
    EXPECT_EQ(recorder(0).count("onRcvMVELReady(true)"), 0u);
}

TEST(AVelComProxyApp, InitialisesOnlyOnce)
{
    veltest::PrivateBus bus;
    ASSERT_TRUE(bus.start());
    VelComProxyApp* app = VelComProxyApp::getInstance(kApp, kClientName, nullptr);
    ASSERT_TRUE(app->doInitialize());
    LogCapture::clear();

    EXPECT_TRUE(app->doInitialize());
    EXPECT_EQ(apptest::textsWith("[VELLIBAPP]"),
              std::vector<std::string>{appLine("doInitialize", "@@@ WARN. Aleady initialized! Return!")});
    EXPECT_TRUE(LogCapture::hasExact(appLine("doInitialize", "@@@ WARN. Aleady initialized! Return!"),
                                     veltest::kSeverityWarn));
    EXPECT_EQ(LogCapture::count("Watching mvel service"), 0u);
}
