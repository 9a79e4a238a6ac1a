// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CoreEngineFixture.h"
#include "LogCapture.h"

using namespace coretest;
using veltest::LogCapture;

namespace {

ORNA_RESULT_e result(unsigned int value)
{
    return static_cast<ORNA_RESULT_e>(value);
}

TECHNOLOGY_e tech(unsigned int value)
{
    return static_cast<TECHNOLOGY_e>(value);
}

CLIENT_TYPE_e client(unsigned int value)
{
    return static_cast<CLIENT_TYPE_e>(value);
}

std::string inform(const std::string& values)
{
    return "call informFromCore (" + values + ")";
}

std::string action(const std::string& values)
{
    return "call actionFromCore (" + values + ")";
}

} // namespace

class ACoreEngineSender : public ACoreEngineWithService {
protected:
    void SetUp() override
    {
        ACoreEngineWithService::SetUp();
        mCore = connectCore(&processCallback());
        LogCapture::clear();
    }

    // Sends a report that always goes out and waits for it: every call made
    // before it on the same connection has reached the simulator by then.
    void sendMarkerAndWait()
    {
        ASSERT_TRUE(mCore->sendUsbSerial("999", "marker"));
        ASSERT_TRUE(mSim.waitForLog("'marker'", kBusWait));
    }

    std::vector<std::string> coreCallsBeforeMarker()
    {
        std::vector<std::string> calls;
        for (const std::string& line : mSim.logLines()) {
            if (line.find("'marker'") != std::string::npos) {
                break;
            }
            if (line.rfind("call informFromCore ", 0) == 0 || line.rfind("call actionFromCore ", 0) == 0) {
                calls.push_back(line);
            }
        }
        return calls;
    }

    VelComProxyCoreEngine* mCore = nullptr;
};

TEST_F(ACoreEngineSender, SendsEveryRequestAndReportWithItsBusValuesInCallOrder)
{
    ASSERT_TRUE(mCore->sendReqDisableBT(client(201), COREREQ_DISABLE_BT, "AA:BB:CC"));
    ASSERT_TRUE(mCore->sendReqWifiStart(client(202), "123"));
    ASSERT_TRUE(mCore->sendReqUserSwitch(client(203), "user7", true));
    ASSERT_TRUE(mCore->responseFindTechnologyDone(result(7), "123", tech(4)));
    ASSERT_TRUE(mCore->responseConnectDone(result(0), "124", tech(6), "info"));
    ASSERT_TRUE(mCore->responseIAP2ConnectDone(result(100), "125", tech(5), false));
    ASSERT_TRUE(mCore->sendDisconnectDone(result(0), "126", tech(2)));
    ASSERT_TRUE(mCore->sendIAP2DisconnectDone(result(401), "127", tech(5)));
    ASSERT_TRUE(mCore->sendVideoSetupNotResponse("128", tech(14)));
    ASSERT_TRUE(mCore->sendFriendlyName("129", tech(4), "Car Phone"));
    ASSERT_TRUE(mCore->sendBTMACAddress("130", "AA:00"));
    ASSERT_TRUE(mCore->sendWifiMACAddress("131", "BB:00"));
    ASSERT_TRUE(mCore->sendUsbSerial("132", "SER1"));
    ASSERT_TRUE(mCore->sendCapability(tech(4), "133", result(400), "N1"));
    ASSERT_TRUE(mCore->sendCapability(tech(4), "134", result(401), "N2"));
    ASSERT_TRUE(mCore->sendCapability(tech(6), "135", result(100), "N3"));
    ASSERT_TRUE(mCore->sendCapability(tech(14), "136", true, "N4"));
    ASSERT_TRUE(mCore->sendCapability(tech(15), "137", false, "N5"));

    ASSERT_TRUE(mSim.waitForLog("'137'", kBusWait));
    const std::vector<std::string> expected = {
        action("uint32 201, uint32 0, 'AA:BB:CC', false, ''"),
        action("uint32 202, uint32 5, '123', false, ''"),
        action("uint32 203, uint32 4, 'user7', true, ''"),
        inform("uint32 0, uint32 0, uint32 7, '123', uint32 4, '', true"),
        inform("uint32 0, uint32 1, uint32 0, '124', uint32 6, 'info', true"),
        inform("uint32 0, uint32 2, uint32 100, '125', uint32 5, '', false"),
        inform("uint32 0, uint32 3, uint32 0, '126', uint32 2, '', true"),
        inform("uint32 0, uint32 4, uint32 401, '127', uint32 5, '', true"),
        inform("uint32 6, uint32 1, uint32 0, '128', uint32 14, '', true"),
        inform("uint32 4, uint32 13, uint32 900, '129', uint32 4, 'Car Phone', true"),
        inform("uint32 2, uint32 13, uint32 900, '130', uint32 28, 'AA:00', true"),
        inform("uint32 3, uint32 13, uint32 900, '131', uint32 28, 'BB:00', true"),
        inform("uint32 7, uint32 13, uint32 900, '132', uint32 28, 'SER1', true"),
        inform("uint32 5, uint32 13, uint32 0, '133', uint32 4, 'N1', true"),
        inform("uint32 5, uint32 13, uint32 0, '134', uint32 4, 'N2', false"),
        inform("uint32 5, uint32 13, uint32 100, '135', uint32 6, 'N3', false"),
        inform("uint32 5, uint32 13, uint32 900, '136', uint32 14, 'N4', true"),
        inform("uint32 5, uint32 13, uint32 900, '137', uint32 15, 'N5', false"),
    };
    std::vector<std::string> received;
    for (const std::string& line : mSim.logLines()) {
        if (line.rfind("call informFromCore ", 0) == 0 || line.rfind("call actionFromCore ", 0) == 0) {
            received.push_back(line);
        }
    }
    EXPECT_EQ(received, expected);
}

TEST_F(ACoreEngineSender, DoesNothingButLogForARoleSwitch)
{
    EXPECT_TRUE(mCore->sendRoleswitchStarted("55", tech(4)));
    EXPECT_TRUE(LogCapture::hasExact("[VELLIBCORE][sendRoleswitchStarted] Do nothing. Return true! _deviceId:55, "
                                     "_technology:4",
                                     veltest::kSeverityInfo));
    sendMarkerAndWait();
    EXPECT_TRUE(coreCallsBeforeMarker().empty());
}

TEST_F(ACoreEngineSender, RefusesADeviceIdWithANonDigitCharacter)
{
    EXPECT_FALSE(mCore->sendWifiMACAddress("12a", "BB:00"));
    const std::vector<veltest::LogLine> errors = LogCapture::matching("@@@ ERR.");
    ASSERT_EQ(errors.size(), 2u);
    EXPECT_EQ(errors[0].text, "[VELLIBCORE][isDeviceIdValid] @@@ ERR. deviceId has non-digit character!");
    EXPECT_EQ(errors[0].severity, veltest::kSeverityError);
    EXPECT_EQ(errors[1].text, "[VELLIBCORE][sendWifiMACAddress] @@@ ERR. Device ID is NOT VALID: 12a");
    EXPECT_EQ(errors[1].severity, veltest::kSeverityError);
    sendMarkerAndWait();
    EXPECT_TRUE(coreCallsBeforeMarker().empty());
}

TEST_F(ACoreEngineSender, RefusesAnEmptyDeviceId)
{
    EXPECT_FALSE(mCore->sendWifiMACAddress("", "BB:00"));
    const std::vector<veltest::LogLine> errors = LogCapture::matching("@@@ ERR.");
    ASSERT_EQ(errors.size(), 2u);
    EXPECT_EQ(errors[0].text, "[VELLIBCORE][isDeviceIdValid] @@@ ERR. None DeviceID!");
    EXPECT_EQ(errors[0].severity, veltest::kSeverityError);
    EXPECT_EQ(errors[1].text, "[VELLIBCORE][sendWifiMACAddress] @@@ ERR. Device ID is NOT VALID: ");
    EXPECT_EQ(errors[1].severity, veltest::kSeverityError);
    sendMarkerAndWait();
    EXPECT_TRUE(coreCallsBeforeMarker().empty());
}

TEST_F(ACoreEngineSender, ChecksTheDeviceIdInEverySenderThatValidatesIt)
{
    EXPECT_FALSE(mCore->sendReqWifiStart(client(200), "12a"));
    EXPECT_FALSE(mCore->responseFindTechnologyDone(result(0), "12a", tech(4)));
    EXPECT_FALSE(mCore->sendVideoSetupNotResponse("12a", tech(4)));
    EXPECT_FALSE(mCore->sendFriendlyName("12a", tech(4), "n"));
    EXPECT_FALSE(mCore->sendBTMACAddress("12a", "m"));
    EXPECT_FALSE(mCore->sendWifiMACAddress("12a", "m"));
    EXPECT_FALSE(mCore->sendUsbSerial("12a", "s"));
    EXPECT_FALSE(mCore->sendCapability(tech(4), "12a", result(400), "n"));
    EXPECT_FALSE(mCore->sendCapability(tech(4), "12a", true, "n"));
    for (const char* sender : {"sendReqWifiStart", "responseFindTechnologyDone", "sendVideoSetupNotResponse",
                               "sendFriendlyName", "sendBTMACAddress", "sendWifiMACAddress", "sendUsbSerial"}) {
        EXPECT_EQ(LogCapture::count(std::string("[VELLIBCORE][") + sender + "] @@@ ERR. Device ID is NOT VALID: 12a",
                                    veltest::kSeverityError),
                  1u)
            << sender;
    }
    EXPECT_EQ(LogCapture::count("[VELLIBCORE][sendCapability] @@@ ERR. Device ID is NOT VALID: 12a",
                                veltest::kSeverityError),
              2u);
    sendMarkerAndWait();
    EXPECT_TRUE(coreCallsBeforeMarker().empty());
}

TEST_F(ACoreEngineSender, PassesDeviceIdsUncheckedWhereNoCheckIsMade)
{
    EXPECT_TRUE(mCore->sendReqUserSwitch(client(200), "12a", false));
    EXPECT_TRUE(mCore->responseConnectDone(result(0), "12a", tech(4), ""));
    EXPECT_TRUE(mCore->responseIAP2ConnectDone(result(0), "12a", tech(5), true));
    EXPECT_TRUE(mCore->sendDisconnectDone(result(0), "12a", tech(4)));
    EXPECT_TRUE(mCore->sendIAP2DisconnectDone(result(0), "12a", tech(5)));
    sendMarkerAndWait();
    const std::vector<std::string> calls = coreCallsBeforeMarker();
    ASSERT_EQ(calls.size(), 5u);
    for (const std::string& call : calls) {
        EXPECT_NE(call.find("'12a'"), std::string::npos) << call;
    }
    EXPECT_EQ(LogCapture::count("@@@ ERR."), 0u);
}

TEST_F(ACoreEngineSender, AcceptsALongAllDigitDeviceId)
{
    const std::string longId(300, '7');
    EXPECT_TRUE(mCore->sendUsbSerial(longId, "s"));
    EXPECT_TRUE(mSim.waitForLog("'" + longId + "'", kBusWait));
}

TEST_F(ACoreEngineSender, MapsCapabilityResultsOntoResultAndFlag)
{
    ASSERT_TRUE(mCore->sendCapability(tech(4), "1", result(401), "n"));
    ASSERT_TRUE(mCore->sendCapability(tech(4), "2", result(400), "n"));
    ASSERT_TRUE(mCore->sendCapability(tech(4), "3", result(100), "n"));
    sendMarkerAndWait();
    const std::vector<std::string> expected = {
        inform("uint32 5, uint32 13, uint32 0, '1', uint32 4, 'n', false"),
        inform("uint32 5, uint32 13, uint32 0, '2', uint32 4, 'n', true"),
        inform("uint32 5, uint32 13, uint32 100, '3', uint32 4, 'n', false"),
    };
    EXPECT_EQ(coreCallsBeforeMarker(), expected);
}

TEST_F(ACoreEngineSender, RefusesACapabilityResultOutsideTheMapping)
{
    EXPECT_FALSE(mCore->sendCapability(tech(4), "1", result(200), "n"));
    EXPECT_TRUE(LogCapture::hasExact("[VELLIBCORE][sendCapability] @@@ ERR. Unexpected result! Return!",
                                     veltest::kSeverityError));
    sendMarkerAndWait();
    EXPECT_TRUE(coreCallsBeforeMarker().empty());
}

TEST_F(ACoreEngineSender, FiltersNonPrintableBytesFromCapabilityNamesOnly)
{
    ASSERT_TRUE(mCore->sendCapability(tech(4), "1", result(400), "A\tB"));
    ASSERT_TRUE(mCore->sendCapability(tech(4), "2", true, "A\tB"));
    ASSERT_TRUE(mCore->sendFriendlyName("3", tech(4), "A\tB"));
    sendMarkerAndWait();
    const std::vector<std::string> expected = {
        inform("uint32 5, uint32 13, uint32 0, '1', uint32 4, 'AB', true"),
        inform("uint32 5, uint32 13, uint32 900, '2', uint32 4, 'AB', true"),
        inform("uint32 4, uint32 13, uint32 900, '3', uint32 4, 'A\\tB', true"),
    };
    EXPECT_EQ(coreCallsBeforeMarker(), expected);
    EXPECT_EQ(LogCapture::count("[VELLIBCORE][filterFriendlyName] friendlyName has non-printable character!",
                                veltest::kSeverityInfo),
              2u);
}

TEST_F(ACoreEngineSender, SendsAnEmptyNameWhenEveryByteIsNonPrintable)
{
    ASSERT_TRUE(mCore->sendCapability(tech(4), "1", false, std::string("\x01\x02\x7f", 3)));
    sendMarkerAndWait();
    const std::vector<std::string> expected = {inform("uint32 5, uint32 13, uint32 900, '1', uint32 4, '', false")};
    EXPECT_EQ(coreCallsBeforeMarker(), expected);
    EXPECT_EQ(LogCapture::count("friendlyName has non-printable character!", veltest::kSeverityInfo), 3u);
}

TEST_F(ACoreEngineSender, RefusesToDisableBluetoothWithAnotherRequest)
{
    EXPECT_FALSE(mCore->sendReqDisableBT(client(200), COREREQ_GET_DEVID, "AA"));
    EXPECT_TRUE(LogCapture::hasExact("[VELLIBCORE][sendReqDisableBT] @@@ ERR. Not CORE_REQUEST_e::COREREQ_DISABLE_BT!",
                                     veltest::kSeverityError));
    sendMarkerAndWait();
    EXPECT_TRUE(coreCallsBeforeMarker().empty());
}
