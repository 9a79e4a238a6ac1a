// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "DltDaemon.h"
#include "DltReceiver.h"
#include "PrivateBus.h"
#include "SimProcess.h"
#include "VelctlRunner.h"

using namespace std::chrono_literals;
using veltest::DltLine;

namespace {

// velctl and mvel-sim on a private bus, with a private DLT daemon to log to.
class ToolsWithADltDaemon : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(mDaemon.start()) << mDaemon.log();
        ASSERT_TRUE(mReceiver.start(mDaemon.port(), mDir.file("received.txt")));
        // Inherited by every tool the test starts.
        ::setenv("DLT_PIPE_DIR", mDaemon.pipeDir().c_str(), 1);
        ASSERT_TRUE(mBus.start());
    }

    void TearDown() override
    {
        if (HasFailure()) {
            std::fprintf(stderr, "received:\n%s\n", veltest::readFile(mDir.file("received.txt")).c_str());
        }
        mReceiver.stop();
    }

    void expectReceived(const std::string& contextId, const std::string& level, const std::string& text)
    {
        ASSERT_TRUE(mReceiver.waitForText("VELL", text)) << text;
        for (const DltLine& line : mReceiver.linesOf("VELL")) {
            if (line.text == text) {
                EXPECT_EQ(line.contextId, contextId) << text;
                EXPECT_EQ(line.level, level) << text;
                return;
            }
        }
    }

    veltest::TempDir mDir;
    veltest::DltDaemon mDaemon;
    veltest::DltReceiver mReceiver;
    veltest::PrivateBus mBus;
};

} // namespace

TEST_F(ToolsWithADltDaemon, VelctlSendsTheLibrarysLinesToDltAndKeepsItsAnswerOnStdout)
{
    veltest::SimProcess sim(mBus);
    ASSERT_TRUE(sim.start());

    const velctltest::VelctlRun run = velctltest::runVelctl({"--log=dlt", "core", "bt-mac"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "00:11:22:33:44:55\n");
    EXPECT_EQ(run.err, "");

    expectReceived("CBAG", "info", "[CBAGENT] VelCallBackAgent() constructor");
    expectReceived("LIBC", "info", "[VELLIBCORE][getInstance] mClientType:200, mClientName:velctl");
    expectReceived("VELL", "info", "[VELLIB][VelComProxy] constructor _clientType:200, _clientName:velctl");
    expectReceived("LIBR", "info", "[VelAgent] constructor");
    expectReceived("VELT", "warn", "[VELT][VelTimer][erase] @@@ WARN. mTimerInfoList is empty! Return!");
    expectReceived("LIBC", "info", "[VELLIBCORE][sendReqGetHUBTMacAddressSync] _clientType:200, _request:3");
    // Debug lines stay out at the daemon's default level.
    EXPECT_FALSE(mReceiver.hasText("VELL", "[VELLOG][OrnaLogWrapper] contextid:LIBC"));
}

TEST_F(ToolsWithADltDaemon, VelctlPrintsTheLibrarysLinesOnStderrWithLogStderrAndNothingToDlt)
{
    veltest::SimProcess sim(mBus);
    ASSERT_TRUE(sim.start());

    const velctltest::VelctlRun run = velctltest::runVelctl({"--log=stderr", "core", "bt-mac"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.err.find("libvel[80] [VELLIBCORE][getInstance] mClientType:200, mClientName:velctl\n"),
              std::string::npos)
        << run.err;
    EXPECT_NE(run.err.find("libvel[40] [VELLOG][OrnaLogWrapper] contextid:LIBC\n"), std::string::npos) << run.err;

    // A second velctl logging to DLT fences the first: had the first sent
    // anything, it would have arrived before.
    velctltest::runVelctl({"--log=dlt", "core", "bt-mac"});
    ASSERT_TRUE(mReceiver.waitForText("VELL", "[CBAGENT] VelCallBackAgent() constructor"));
    std::size_t constructors = 0;
    for (const DltLine& line : mReceiver.linesOf("VELL")) {
        constructors += line.text == "[CBAGENT] VelCallBackAgent() constructor" ? 1 : 0;
    }
    EXPECT_EQ(constructors, 1u);
}
