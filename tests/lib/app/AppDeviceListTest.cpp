// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include <cstring>

#include "AppTestSupport.h"

using apptest::appLine;
using apptest::Call;
using apptest::idsOf;
using apptest::recorder;
using veltest::LogCapture;

namespace {

const std::string kKnownRead = "[VELLIBSHM] readData() (_listType:0, _size:124920)";

class AnAppClientReadingDeviceLists : public apptest::AppClientTest {
protected:
    void SetUp() override
    {
        startAndConnect({&recorder(0)});
    }

    static bool sameBytes(const DEVICE& delivered, const DEVICE& written)
    {
        return std::memcmp(&delivered, &written, sizeof(DEVICE)) == 0;
    }
};

class AnAppClientWithThreeListeners : public AnAppClientReadingDeviceLists {
protected:
    void SetUp() override
    {
        startAndConnect({&recorder(0), &recorder(1), &recorder(2)});
    }
};

} // namespace

TEST_F(AnAppClientWithThreeListeners, ReadsTheStoreOnceForEachCallbackOfAKnownListNotice)
{
    publishDevices(KNOWN_DEVICE_LIST, {"dev-A", "dev-B"}, false);
    notice(0, "2", 0);

    ASSERT_TRUE(recorder(2).waitFor("onRcvUpdateKnownDevices"));
    EXPECT_EQ(LogCapture::count(kKnownRead, veltest::kSeverityInfo), 3u);
    for (int index = 0; index < 3; ++index) {
        const std::vector<Call> calls = recorder(index).calls("onRcvUpdateKnownDevices");
        ASSERT_EQ(calls.size(), 1u) << index;
        EXPECT_EQ(idsOf(calls[0].devices), (std::vector<std::string>{"dev-A", "dev-B"}));
        EXPECT_EQ(calls[0].result, 1);
    }
    EXPECT_EQ(LogCapture::count(appLine("handleUpdatedDeviceInfo_l", "calling.. _pCb->onRcvUpdateKnownDevices() size:2"),
                                veltest::kSeverityInfo),
              3u);
}

TEST_F(AnAppClientWithThreeListeners, GivesEveryCallbackAFreshReadingOfTheDiscoveredList)
{
    publishDevices(DISCOVERED_DEVICE_LIST, {"dev-X", "dev-Y", "dev-Z"}, true);

    ASSERT_TRUE(recorder(2).waitFor("onRcvUpdateDiscoveredDevices"));
    EXPECT_EQ(LogCapture::count("[VELLIBSHM] readData() (_listType:1, _size:37476)"), 3u);
    for (int index = 0; index < 3; ++index) {
        EXPECT_EQ(idsOf(recorder(index).calls("onRcvUpdateDiscoveredDevices").at(0).devices),
                  (std::vector<std::string>{"dev-X", "dev-Y", "dev-Z"}));
    }
}

TEST_F(AnAppClientReadingDeviceLists, ListsTwoKnownDevicesAndWarnsOfEachOfTheEightEmptyRecords)
{
    const std::vector<DEVICE> written = publishDevices(KNOWN_DEVICE_LIST, {"dev-A", "dev-B"}, true);
    ASSERT_EQ(written.size(), 10u);

    ASSERT_TRUE(recorder(0).waitFor("onRcvUpdateKnownDevices"));
    const std::vector<DEVICE> devices = recorder(0).calls("onRcvUpdateKnownDevices").at(0).devices;
    ASSERT_EQ(devices.size(), 2u);
    EXPECT_TRUE(sameBytes(devices[0], written[0]));
    EXPECT_TRUE(sameBytes(devices[1], written[1]));

    EXPECT_EQ(LogCapture::count("]'s deviceId is empty!"), 8u);
    for (int index = 2; index < 10; ++index) {
        EXPECT_TRUE(LogCapture::hasExact(
            appLine("changeArrayToList_l", "@@@ WARN. mpDeviceArray[" + std::to_string(index) + "]'s deviceId is empty!"),
            veltest::kSeverityWarn))
            << index;
    }
    EXPECT_TRUE(LogCapture::hasExact(appLine("changeArrayToList_l", "@@@ WARN. pDevList.size:2"), veltest::kSeverityWarn));
    EXPECT_TRUE(LogCapture::hasExact(appLine("composeDeviceListToIncludeValidItemOnly_l",
                                             "found last item in KnownDevie list. index:2"),
                                     veltest::kSeverityInfo));
    EXPECT_TRUE(LogCapture::hasExact(appLine("processReceivedDeviceList_l", "_listType:0, _count:2"),
                                     veltest::kSeverityInfo));
    EXPECT_TRUE(LogCapture::hasExact(appLine("vellDisplayDeviceList_l", "[1] deviceId:dev-B"), veltest::kSeverityInfo));
}

TEST_F(AnAppClientReadingDeviceLists, ReadsTheWholeKnownListWhateverTheNoticeCounts)
{
    const std::vector<DEVICE> written = publishDevices(KNOWN_DEVICE_LIST, {"dev-A", "dev-B", "dev-C"}, false);
    notice(0, "1", 0);
    notice(0, "50", 0);

    ASSERT_TRUE(recorder(0).waitFor("onRcvUpdateKnownDevices", 2));
    EXPECT_EQ(LogCapture::count(kKnownRead), 2u);
    for (const Call& call : recorder(0).calls("onRcvUpdateKnownDevices")) {
        EXPECT_EQ(idsOf(call.devices), (std::vector<std::string>{"dev-A", "dev-B", "dev-C"}));
    }
}

TEST_F(AnAppClientReadingDeviceLists, SkipsAKnownRecordWithAnEmptyIdentifierAndListsTheOnesAfterIt)
{
    const std::vector<DEVICE> written = publishDevices(KNOWN_DEVICE_LIST, {"dev-A", "", "dev-C"}, true);

    ASSERT_TRUE(recorder(0).waitFor("onRcvUpdateKnownDevices"));
    const std::vector<DEVICE> devices = recorder(0).calls("onRcvUpdateKnownDevices").at(0).devices;
    ASSERT_EQ(idsOf(devices), (std::vector<std::string>{"dev-A", "dev-C"}));
    EXPECT_TRUE(sameBytes(devices[0], written[0]));
    EXPECT_TRUE(sameBytes(devices[1], written[2]));
    EXPECT_TRUE(LogCapture::hasExact(appLine("changeArrayToList_l", "@@@ WARN. mpDeviceArray[1]'s deviceId is empty!"),
                                     veltest::kSeverityWarn));
    // The valid leading records of the known list end at the first empty one.
    EXPECT_TRUE(LogCapture::hasExact(appLine("composeDeviceListToIncludeValidItemOnly_l",
                                             "found last item in KnownDevie list. index:1"),
                                     veltest::kSeverityInfo));
}

TEST_F(AnAppClientReadingDeviceLists, EndsTheValidKnownRecordsAtAnEmptyThirdOneButListsTheLaterOnes)
{
    publishDevices(KNOWN_DEVICE_LIST, {"dev-A", "dev-B", "", "dev-D"}, true);

    ASSERT_TRUE(recorder(0).waitFor("onRcvUpdateKnownDevices"));
    // Two valid leading records; the list handed over still carries dev-D.
    EXPECT_TRUE(LogCapture::hasExact(appLine("composeDeviceListToIncludeValidItemOnly_l",
                                             "found last item in KnownDevie list. index:2"),
                                     veltest::kSeverityInfo));
    EXPECT_EQ(idsOf(recorder(0).calls("onRcvUpdateKnownDevices").at(0).devices),
              (std::vector<std::string>{"dev-A", "dev-B", "dev-D"}));
}

TEST_F(AnAppClientReadingDeviceLists, HandsAnEmptyKnownListOverWhenTheStoreHoldsNoDevice)
{
    publishDevices(KNOWN_DEVICE_LIST, {}, true);

    ASSERT_TRUE(recorder(0).waitFor("onRcvUpdateKnownDevices"));
    EXPECT_TRUE(recorder(0).calls("onRcvUpdateKnownDevices").at(0).devices.empty());
    // The whole list is still read, and every one of its ten records is empty.
    EXPECT_EQ(LogCapture::count(kKnownRead), 1u);
    EXPECT_EQ(LogCapture::count("]'s deviceId is empty!"), 10u);
    EXPECT_TRUE(LogCapture::hasExact(appLine("changeArrayToList_l", "@@@ WARN. pDevList.size:0"), veltest::kSeverityWarn));
    EXPECT_TRUE(LogCapture::hasExact(appLine("composeDeviceListToIncludeValidItemOnly_l",
                                             "found last item in KnownDevie list. index:0"),
                                     veltest::kSeverityInfo));
    EXPECT_TRUE(LogCapture::hasExact(appLine("handleUpdatedDeviceInfo_l", "calling.. _pCb->onRcvUpdateKnownDevices() size:0"),
                                     veltest::kSeverityInfo));
    EXPECT_EQ(LogCapture::count("] deviceId:"), 0u);
    EXPECT_TRUE(simLogged("call informFromApp (uint32 0, '0')"));
}

TEST_F(AnAppClientReadingDeviceLists, ListsTheLaterKnownDevicesWhenTheFirstRecordIsEmpty)
{
    const std::vector<DEVICE> written = publishDevices(KNOWN_DEVICE_LIST, {"", "dev-B", "dev-C"}, true);

    ASSERT_TRUE(recorder(0).waitFor("onRcvUpdateKnownDevices"));
    const std::vector<DEVICE> devices = recorder(0).calls("onRcvUpdateKnownDevices").at(0).devices;
    ASSERT_EQ(idsOf(devices), (std::vector<std::string>{"dev-B", "dev-C"}));
    EXPECT_TRUE(sameBytes(devices[0], written[1]));
    EXPECT_TRUE(LogCapture::hasExact(appLine("changeArrayToList_l", "@@@ WARN. mpDeviceArray[0]'s deviceId is empty!"),
                                     veltest::kSeverityWarn));
    // No valid leading record at all.
    EXPECT_TRUE(LogCapture::hasExact(appLine("composeDeviceListToIncludeValidItemOnly_l",
                                             "found last item in KnownDevie list. index:0"),
                                     veltest::kSeverityInfo));

    // A later reading of a filled list is not disturbed by the empty one.
    publishDevices(KNOWN_DEVICE_LIST, {"dev-A"}, true);
    ASSERT_TRUE(recorder(0).waitFor("onRcvUpdateKnownDevices", 2));
    EXPECT_EQ(idsOf(recorder(0).calls("onRcvUpdateKnownDevices").at(1).devices), std::vector<std::string>{"dev-A"});
}

TEST_F(AnAppClientReadingDeviceLists, TakesTheDiscoveredCountFromTheFirstDetailAndIgnoresTheSecond)
{
    publishDevices(DISCOVERED_DEVICE_LIST, {"dev-1", "dev-2", "dev-3", "dev-4"}, false);
    notice(1, "3", 77);

    ASSERT_TRUE(recorder(0).waitFor("onRcvUpdateDiscoveredDevices"));
    EXPECT_EQ(idsOf(recorder(0).calls("onRcvUpdateDiscoveredDevices").at(0).devices),
              (std::vector<std::string>{"dev-1", "dev-2", "dev-3"}));
    EXPECT_EQ(LogCapture::count("[VELLIBSHM] readData() (_listType:1, _size:37476)"), 1u);
}

TEST_F(AnAppClientReadingDeviceLists, SkipsADiscoveredRecordWithAnEmptyIdentifierAndKeepsTheBytesOfTheOthers)
{
    const std::vector<DEVICE> written = publishDevices(DISCOVERED_DEVICE_LIST, {"dev-A", "", "dev-C"}, true);
    ASSERT_EQ(written.size(), 3u);

    ASSERT_TRUE(recorder(0).waitFor("onRcvUpdateDiscoveredDevices"));
    const std::vector<DEVICE> devices = recorder(0).calls("onRcvUpdateDiscoveredDevices").at(0).devices;
    ASSERT_EQ(idsOf(devices), (std::vector<std::string>{"dev-A", "dev-C"}));
    EXPECT_TRUE(sameBytes(devices[0], written[0]));
    EXPECT_TRUE(sameBytes(devices[1], written[2]));
    EXPECT_TRUE(LogCapture::hasExact(appLine("changeArrayToList_l", "@@@ WARN. mpDeviceArray[1]'s deviceId is empty!"),
                                     veltest::kSeverityWarn));
    EXPECT_TRUE(LogCapture::hasExact(
        appLine("handleUpdatedDeviceInfo_l", "calling.. _pCb->onRcvUpdateDiscoveredDevices() size:2"),
        veltest::kSeverityInfo));
}

TEST_F(AnAppClientReadingDeviceLists, HandsAnEmptyDiscoveredListOverWithoutReadingForACountOfZero)
{
    publishDevices(DISCOVERED_DEVICE_LIST, {"dev-X"}, false);
    notice(1, "0", 0);

    ASSERT_TRUE(recorder(0).waitFor("onRcvUpdateDiscoveredDevices"));
    EXPECT_TRUE(recorder(0).calls("onRcvUpdateDiscoveredDevices").at(0).devices.empty());
    EXPECT_EQ(LogCapture::count("readData()"), 0u);
    EXPECT_TRUE(LogCapture::hasExact(
        appLine("composeDeviceList_l", "@@@ WARN. (deviceCount == 0) is true! Do nothing! Return!"),
        veltest::kSeverityWarn));
}

TEST_F(AnAppClientReadingDeviceLists, ReplacesTheListOnEveryNotice)
{
    publishDevices(DISCOVERED_DEVICE_LIST, {"dev-1", "dev-2"}, true);
    ASSERT_TRUE(recorder(0).waitFor("onRcvUpdateDiscoveredDevices"));
    publishDevices(DISCOVERED_DEVICE_LIST, {"dev-3"}, true);
    ASSERT_TRUE(recorder(0).waitFor("onRcvUpdateDiscoveredDevices", 2));

    EXPECT_EQ(idsOf(recorder(0).calls("onRcvUpdateDiscoveredDevices").at(1).devices),
              std::vector<std::string>{"dev-3"});
}

TEST_F(AnAppClientReadingDeviceLists, TellsTheServiceWhichListItHasHandedOver)
{
    publishDevices(KNOWN_DEVICE_LIST, {"dev-A"}, true);
    EXPECT_TRUE(simLogged("call informFromApp (uint32 0, '0')"));
    publishDevices(DISCOVERED_DEVICE_LIST, {"dev-B"}, true);
    EXPECT_TRUE(simLogged("call informFromApp (uint32 0, '1')"));
    EXPECT_TRUE(LogCapture::hasExact(appLine("sendInformFromApp_l", "_appInfo:0, _param:1"), veltest::kSeverityInfo));
}

namespace {

// A service that publishes its lists at start and announces them to every
// application that registers.
class AnAppClientOfAnAnnouncingService : public apptest::AppClientTest {
protected:
    void SetUp() override
    {
        startService({"--app-known=phone-1,phone-2", "--app-discovered=tablet-9"});
        if (HasFatalFailure()) {
            return;
        }
        connectApp({&recorder(0)});
    }
};

} // namespace

TEST_F(AnAppClientOfAnAnnouncingService, ListsTheDevicesAnnouncedAtRegistration)
{
    ASSERT_TRUE(recorder(0).waitFor("onRcvUpdateKnownDevices"));
    ASSERT_TRUE(recorder(0).waitFor("onRcvUpdateDiscoveredDevices"));
    EXPECT_EQ(idsOf(recorder(0).calls("onRcvUpdateKnownDevices").at(0).devices),
              (std::vector<std::string>{"phone-1", "phone-2"}));
    EXPECT_EQ(idsOf(recorder(0).calls("onRcvUpdateDiscoveredDevices").at(0).devices),
              std::vector<std::string>{"tablet-9"});
    EXPECT_TRUE(simLogged("emit noticeToApp (uint32 1, '1', 0)"));
}
