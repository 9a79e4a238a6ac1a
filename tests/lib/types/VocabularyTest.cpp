// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

#include "vel/VelTypes.h"

TEST(TheDeviceRecord, KeepsTheServicesSizeAndDeviceIdOffset)
{
    EXPECT_EQ(sizeof(DEVICE), 12492u);
    EXPECT_EQ(offsetof(DEVICE, deviceId), 4608u);
    EXPECT_EQ(VEL_DEVICE_LIST_BYTES, 124920u);
    EXPECT_EQ(VEL_MAX_DEVICE_COUNT, 10u);
    DEVICE records[2];
    EXPECT_EQ(reinterpret_cast<char*>(&records[1]) - reinterpret_cast<char*>(&records[0]), 12492);
}

TEST(TheSharedEnumerations, AreThirtyTwoBitsWide)
{
    EXPECT_EQ(sizeof(CLIENT_TYPE_e), 4u);
    EXPECT_EQ(sizeof(TECHNOLOGY_e), 4u);
    EXPECT_EQ(sizeof(ORNA_RESULT_e), 4u);
    EXPECT_EQ(sizeof(APP_REQUEST_e), 4u);
    EXPECT_EQ(sizeof(APP_INFO_e), 4u);
    EXPECT_EQ(sizeof(ORNA_NOTICE_e), 4u);
    EXPECT_EQ(sizeof(ORNA_FUNC_ITEM_e), 4u);
    EXPECT_EQ(sizeof(DEVICE_LIST_TYPE), 4u);
    EXPECT_TRUE((std::is_same<std::underlying_type_t<TECHNOLOGY_e>, uint32_t>::value));
}

TEST(TheSharedEnumerations, CarryTheServicesValues)
{
    EXPECT_EQ(TECHNOLOGY_NONE, 28u);
    EXPECT_EQ(APPREQ_CONNECT_SERVICE, 0u);
    EXPECT_EQ(APPREQ_DISCONNECT_SERVICE, 1u);
    EXPECT_EQ(APPREQ_REMOVE_DEVICE, 3u);
    EXPECT_EQ(APPREQ_REJECT_TECHNOLOGY_SELECTION, 5u);
    EXPECT_EQ(APPREQ_SET_PRIORITIZED_DEVICE, 6u);
    EXPECT_EQ(APPREQ_RECONNECT_SUSPEND, 7u);
    EXPECT_EQ(APPREQ_CHECK_MAX_PAIRED, 8u);
    EXPECT_EQ(APPREQ_CHECK_PAIRED, 9u);
    EXPECT_EQ(APPINFO_RESPONSE_UPDATE, 0u);
    EXPECT_EQ(NOTICE_KNOWN_DEVICES_UPDATED, 0u);
    EXPECT_EQ(NOTICE_DISCOVERED_DEVICES_UPDATED, 1u);
    EXPECT_EQ(NOTICE_GET_TECHNOLOGY_SELECTION, 3u);
    EXPECT_EQ(NOTICE_INCOMING_SERVICE_REQUEST_LIMIT_EXCEEDED, 4u);
    EXPECT_EQ(NOTICE_LINK_LOSS, 7u);
    EXPECT_EQ(FUNC_ITEM_RESTORE_FACTORY_SETTINGS, 2u);
    EXPECT_EQ(KNOWN_DEVICE_LIST, 0u);
    EXPECT_EQ(DISCOVERED_DEVICE_LIST, 1u);
    EXPECT_EQ(CLIENT_TYPE_APPLICATION_FIRST, 100u);
    EXPECT_EQ(CLIENT_TYPE_APPLICATION_LAST, 105u);
    EXPECT_EQ(CLIENT_TYPE_CORE_ENGINE_FIRST, 200u);
    EXPECT_EQ(CLIENT_TYPE_CORE_ENGINE_LAST, 203u);
    EXPECT_EQ(CLIENT_TYPE_CONTROLLER, 400u);
}

TEST(TheSharedEnumerations, HoldValuesTheyDoNotName)
{
    // The service may send any 32-bit value; it must survive the round trip.
    const TECHNOLOGY_e unnamed = static_cast<TECHNOLOGY_e>(0xFFFFFFF0u);
    EXPECT_EQ(static_cast<uint32_t>(unnamed), 0xFFFFFFF0u);
}

TEST(TheTechActiveInfoRecord, HoldsTechnologyThenActiveFlag)
{
    TECH_ACTIVE_INFO_s info{static_cast<TECHNOLOGY_e>(6), true};
    EXPECT_EQ(info.technology, 6u);
    EXPECT_TRUE(info.active);
    EXPECT_LT(offsetof(TECH_ACTIVE_INFO_s, technology), offsetof(TECH_ACTIVE_INFO_s, active));
}
