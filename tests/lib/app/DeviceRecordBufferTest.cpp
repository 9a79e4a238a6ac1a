// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "app/DeviceRecordBuffer.h"

namespace {

bool allZero(const DEVICE* records, std::size_t bytes)
{
    const auto* bytesOf = reinterpret_cast<const unsigned char*>(records);
    for (std::size_t i = 0; i < bytes; ++i) {
        if (bytesOf[i] != 0) {
            return false;
        }
    }
    return true;
}

} // namespace

TEST(ADeviceRecordBuffer, ComesBackZeroedAfterAnUninitialisedOneWasFilledAndFreed)
{
    // The kept blocks serve both kinds of request: what one left behind must
    // never show through in a zeroed one.
    DEVICE* scribbled = allocateUninitialisedDeviceRecords(VEL_DEVICE_LIST_BYTES);
    ASSERT_NE(scribbled, nullptr);
    std::memset(static_cast<void*>(scribbled), 0xAB, VEL_DEVICE_LIST_BYTES);
    freeDeviceRecords(scribbled);
    EXPECT_EQ(scribbled, nullptr);

    DEVICE* zeroed = allocateDeviceRecords(VEL_DEVICE_LIST_BYTES);
    ASSERT_NE(zeroed, nullptr);
    EXPECT_TRUE(allZero(zeroed, VEL_DEVICE_LIST_BYTES));
    freeDeviceRecords(zeroed);
}

TEST(ADeviceRecordBuffer, ZeroesAPartialListToo)
{
    DEVICE* scribbled = allocateUninitialisedDeviceRecords(VEL_DEVICE_LIST_BYTES);
    ASSERT_NE(scribbled, nullptr);
    std::memset(static_cast<void*>(scribbled), 0xCD, VEL_DEVICE_LIST_BYTES);
    freeDeviceRecords(scribbled);

    DEVICE* three = allocateDeviceRecords(3 * sizeof(DEVICE));
    ASSERT_NE(three, nullptr);
    EXPECT_TRUE(allZero(three, 3 * sizeof(DEVICE)));
    freeDeviceRecords(three);
}

TEST(ADeviceRecordBuffer, GivesNothingForZeroBytes)
{
    EXPECT_EQ(allocateDeviceRecords(0), nullptr);
    EXPECT_EQ(allocateUninitialisedDeviceRecords(0), nullptr);
}

TEST(ADeviceRecordBuffer, IsPageAligned)
{
    DEVICE* records = allocateDeviceRecords(sizeof(DEVICE));
    ASSERT_NE(records, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(records) % 4096, 0u);
    freeDeviceRecords(records);
}
