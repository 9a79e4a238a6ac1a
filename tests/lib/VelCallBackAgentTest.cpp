// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include "LogCapture.h"
#include "vel/VelCallBackAgent.h"

using veltest::LogCapture;

TEST(AVelCallBackAgent, AnnouncesItsConstruction)
{
    LogCapture::clear();

    VelCallBackAgent agent;

    EXPECT_TRUE(LogCapture::hasExact("[CBAGENT] VelCallBackAgent() constructor", veltest::kSeverityInfo));
}

TEST(AVelCallBackAgent, WarnsThatTheReadyNoticeIsNotImplementedByDefault)
{
    VelCallBackAgent agent;
    LogCapture::clear();

    agent.onRcvMVELReady(true);
    agent.onRcvMVELReady(false);

    EXPECT_EQ(LogCapture::count("[CBAG] @@@ WARN. onRcvMVELReady not implemented", veltest::kSeverityWarn), 2u);
    EXPECT_EQ(LogCapture::lines().size(), 2u);
}
