// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include "AppTestSupport.h"

using apptest::appLine;
using apptest::recorder;
using veltest::LogCapture;

namespace {

class AnAppClientGivenBadInput : public apptest::AppClientTest {
protected:
    void SetUp() override
    {
        startAndConnect({&recorder(0), &recorder(1)});
    }

    // Whatever came before, a well-formed completion still gets through.
    void expectStillDispatching()
    {
        requestDone(6, 0, "dev-1", 28);
        EXPECT_TRUE(recorder(1).waitFor("onRcvResponseSetPrioritizedDevice"));
        EXPECT_EQ(recorder(0).count("onRcvResponseSetPrioritizedDevice"), 1u);
    }

    void expectRefused(const std::string& line)
    {
        const std::string full = appLine("onVelLibraryAppCallBack", line);
        ASSERT_TRUE(LogCapture::waitFor(full, std::chrono::seconds(10)));
        EXPECT_EQ(LogCapture::count(full, veltest::kSeverityError), 1u);
        EXPECT_EQ(apptest::RecordingCallBack::dispatchedCount(), 0u);
        expectStillDispatching();
    }
};

} // namespace

TEST_F(AnAppClientGivenBadInput, RefusesACompletionOfTheWrongType)
{
    emitRaw("appRequestDone", g_variant_new("(su)", "dev-1", 0u));
    expectRefused("@@@ ERR. appRequestDone carries (su) instead of (uusu)! Return!");
}

TEST_F(AnAppClientGivenBadInput, RefusesAFunctionCheckResultOfTheWrongType)
{
    emitRaw("checkFuncOpModeDone", g_variant_new("(i)", 2));
    expectRefused("@@@ ERR. checkFuncOpModeDone carries (i) instead of (uu)! Return!");
}

TEST_F(AnAppClientGivenBadInput, RefusesANoticeWithAnUnsignedSecondDetail)
{
    // The second detail of a notice is the one signed number of the interface.
    emitRaw("noticeToApp", g_variant_new("(usu)", 3u, "dev-1", 5u));
    expectRefused("@@@ ERR. noticeToApp carries (usu) instead of (usi)! Return!");
}

TEST_F(AnAppClientGivenBadInput, RefusesATechnologyActivityListOfTheWrongType)
{
    emitRaw("noticeTechActiveInfo", g_variant_new_parsed("(@a(uu) [(2, 1)],)"));
    expectRefused("@@@ ERR. noticeTechActiveInfo carries (a(uu)) instead of (a(ub))! Return!");
}

TEST_F(AnAppClientGivenBadInput, RefusesANoticeMissingItsDetails)
{
    emitRaw("noticeToApp", g_variant_new("(u)", 0u));
    expectRefused("@@@ ERR. noticeToApp carries (u) instead of (usi)! Return!");
}

TEST_F(AnAppClientGivenBadInput, RefusesADiscoveredCountFarAboveTheTenRecordLimitWithoutReading)
{
    publishDevices(DISCOVERED_DEVICE_LIST, {"d0", "d1", "d2", "d3", "d4", "d5", "d6", "d7", "d8", "d9"}, false);
    notice(1, "5000", 0);
    notice(1, "99999999999", 0);

    const std::string first =
        appLine("receiveNoticeToApp", "@@@ ERR. Discovered device count:5000 is above the limit of 10! Return!");
    const std::string clamped = appLine(
        "receiveNoticeToApp", "@@@ ERR. Discovered device count:2147483647 is above the limit of 10! Return!");
    ASSERT_TRUE(LogCapture::waitFor(clamped, std::chrono::seconds(10)));
    EXPECT_EQ(LogCapture::count(first, veltest::kSeverityError), 1u);
    EXPECT_EQ(LogCapture::count(clamped, veltest::kSeverityError), 1u);
    EXPECT_EQ(LogCapture::count("readData()"), 0u);
    EXPECT_EQ(apptest::RecordingCallBack::dispatchedCount(), 0u);

    // Ten records are still within bounds.
    notice(1, "10", 0);
    ASSERT_TRUE(recorder(1).waitFor("onRcvUpdateDiscoveredDevices"));
    EXPECT_EQ(recorder(0).calls("onRcvUpdateDiscoveredDevices").at(0).devices.size(), 10u);
    expectStillDispatching();
}

TEST_F(AnAppClientGivenBadInput, GivesNoListWhenTheNoticeCountsMoreRecordsThanTheStoreHolds)
{
    publishDevices(DISCOVERED_DEVICE_LIST, {"d0", "d1"}, false);
    notice(1, "5", 0);

    const std::string failed = appLine("receiveNoticeToApp", "@@@ ERR. handleUpdatedDeviceInfo_l() failed!");
    ASSERT_TRUE(LogCapture::waitFor(failed, std::chrono::seconds(10), 2));
    EXPECT_EQ(LogCapture::count(appLine("handleUpdatedDeviceInfo_l", "@@@ ERR. processReceivedDeviceList_l() failed!"),
                                veltest::kSeverityError),
              2u);
    EXPECT_EQ(apptest::RecordingCallBack::dispatchedCount(), 0u);
    expectStillDispatching();
}
