// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include "PrivateBus.h"
#include "SimProcess.h"
#include "VelctlRunner.h"

using namespace velctltest;

TEST(VelctlController, SendsAControlModeAfterRegisteringAsKind400)
{
    veltest::PrivateBus bus;
    ASSERT_TRUE(bus.start());
    veltest::SimProcess sim(bus);
    ASSERT_TRUE(sim.start());
    const VelctlRun run = runVelctl({"controller", "mode", "3", "14", "2"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "control mode 3 sent for technology 14, item 2\n");
    EXPECT_EQ(run.err, "");
    // velctl flushes before it exits, so the call is on its way by then.
    ASSERT_TRUE(sim.waitForLog("call sendControlMode ", 10s));
    // The simulator notes each call as it arrives, on the bus's thread, and
    // its answer to the registration later, on its main thread.
    EXPECT_TRUE(sim.waitForLog("registerMe type=400 name=[libvel.controller.velctl] result=true", 10s));
    std::vector<std::string> relevant;
    for (const std::string& line : sim.logLines()) {
        if (line.rfind("call registerMe ", 0) == 0 || line.rfind("call sendControlMode ", 0) == 0) {
            relevant.push_back(line);
        }
    }
    const std::vector<std::string> expected = {"call registerMe (uint32 400, '[libvel.controller.velctl]')",
                                               "call sendControlMode (uint32 3, uint32 14, uint32 2)"};
    EXPECT_EQ(relevant, expected);
}
