// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>
#include <sys/prctl.h>

#include <set>

#include "vel/VelLibUtil.h"

namespace {

bool matched(uint32_t filter, uint32_t service)
{
    return VelLibUtil::isServiceMatched(static_cast<DEV_FILTER_TYPE_e>(filter), static_cast<SERVICE_e>(service));
}

} // namespace

TEST(AVelLibUtil, MatchesServiceSevenUnderFilterZeroOnly)
{
    EXPECT_TRUE(matched(0, 7));
    EXPECT_FALSE(matched(1, 7));
}

TEST(AVelLibUtil, MatchesNothingUnderAnyOtherFilter)
{
    for (uint32_t service = 0; service <= 20; ++service) {
        EXPECT_FALSE(matched(2, service)) << service;
        EXPECT_FALSE(matched(0xFFFFFFFFu, service)) << service;
    }
}

TEST(AVelLibUtil, NeverMatchesValuesAboveEightEvenWithTheRightResidue)
{
    EXPECT_FALSE(matched(0, 10));
    EXPECT_FALSE(matched(1, 11));
    EXPECT_FALSE(matched(0, 13));
}

TEST(AVelLibUtil, KeepsTheExactListsForBothFilters)
{
    const std::set<uint32_t> groupA{1, 4, 7};
    const std::set<uint32_t> groupB{2, 5, 8};
    for (uint32_t service = 0; service <= 12; ++service) {
        EXPECT_EQ(matched(DEV_FILTER_TYPE_GROUP_A, service), groupA.count(service) == 1) << service;
        EXPECT_EQ(matched(DEV_FILTER_TYPE_GROUP_B, service), groupB.count(service) == 1) << service;
    }
}

TEST(AVelLibUtil, ReturnsAllFifteenCharactersOfALongProcessNameWithoutNewline)
{
    ASSERT_EQ(prctl(PR_SET_NAME, "abcdefghijklmnopqrstuvwxyz", 0, 0, 0), 0);

    const std::string name = VelLibUtil::getClientName();

    EXPECT_EQ(name, "abcdefghijklmno");
    EXPECT_EQ(name.size(), 15u);
}

TEST(AVelLibUtil, ReturnsTheProcessNameAsTheKernelKeepsIt)
{
    ASSERT_EQ(prctl(PR_SET_NAME, "short", 0, 0, 0), 0);

    EXPECT_EQ(VelLibUtil::getClientName(), "short");
}

TEST(AVelLibUtil, UsesThirtyTwoBitEnumerations)
{
    EXPECT_EQ(sizeof(DEV_FILTER_TYPE_e), 4u);
    EXPECT_EQ(sizeof(SERVICE_e), 4u);
}
