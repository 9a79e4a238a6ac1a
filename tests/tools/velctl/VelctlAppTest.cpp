// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include "PrivateBus.h"
#include "SimProcess.h"
#include "VelctlRunner.h"

using namespace velctltest;

class VelctlApp : public ::testing::Test {
protected:
    void startSim(const std::vector<std::string>& options = {})
    {
        ASSERT_TRUE(mBus.start());
        ASSERT_TRUE(mSim.start(options));
    }

    std::vector<std::string> simLinesStartingWith(const std::string& prefix) const
    {
        std::vector<std::string> lines;
        for (const std::string& line : mSim.logLines()) {
            if (line.rfind(prefix, 0) == 0) {
                lines.push_back(line);
            }
        }
        return lines;
    }

    veltest::PrivateBus mBus;
    veltest::SimProcess mSim{mBus};
};

TEST_F(VelctlApp, ConnectsAServiceAndPrintsItsCompletion)
{
    startSim();
    const VelctlRun run = runVelctl({"app", "connect", "123", "4"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "connect 123 technology 4: result 0\n");
    EXPECT_EQ(run.err, "");
    const std::vector<std::string> expected = {"call actionFromApp (uint32 0, '123', uint32 4, '')"};
    EXPECT_EQ(simLinesStartingWith("call actionFromApp "), expected);
}

TEST_F(VelctlApp, PassesTheDeviceToReplaceAndPrintsTheServicesResult)
{
    startSim({"--app-result=7"});
    const VelctlRun run = runVelctl({"-c", "103", "app", "connect", "123", "6", "77"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "connect 123 technology 6: result 7\n");
    const std::vector<std::string> expected = {"call actionFromApp (uint32 0, '123', uint32 6, '77')"};
    EXPECT_EQ(simLinesStartingWith("call actionFromApp "), expected);
    EXPECT_EQ(simLinesStartingWith("registerMe type=103 ").size(), 1u);
}

TEST_F(VelctlApp, DisconnectsAServiceAndPrintsItsCompletion)
{
    startSim();
    const VelctlRun run = runVelctl({"app", "disconnect", "555", "14"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "disconnect 555 technology 14: result 0\n");
    const std::vector<std::string> expected = {"call actionFromApp (uint32 1, '555', uint32 14, '')"};
    EXPECT_EQ(simLinesStartingWith("call actionFromApp "), expected);
}

TEST_F(VelctlApp, GivesUpWhenTheCompletionDoesNotComeInTime)
{
    startSim({"--app-delay=5000"});
    const VelctlRun run = runVelctl({"--timeout", "1", "app", "connect", "123", "4"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "velctl: no completion of the connect request within 1 s\n");
}

TEST_F(VelctlApp, TellsWhetherADeviceIsPaired)
{
    startSim({"--app-paired=123,124"});
    const VelctlRun paired = runVelctl({"app", "paired", "124"});
    EXPECT_EQ(paired.status, 0) << paired.err;
    EXPECT_EQ(paired.out, "124: paired\n");
    const VelctlRun notPaired = runVelctl({"app", "paired", "999"});
    EXPECT_EQ(notPaired.status, 0) << notPaired.err;
    EXPECT_EQ(notPaired.out, "999: not paired\n");
    const std::vector<std::string> expected = {"call actionFromApp (uint32 9, '124', uint32 28, '')",
                                               "call actionFromApp (uint32 9, '999', uint32 28, '')"};
    EXPECT_EQ(simLinesStartingWith("call actionFromApp "), expected);
}

TEST_F(VelctlApp, TellsWhetherTheMaximumOfPairedDevicesIsReached)
{
    startSim({"--app-max-paired"});
    const VelctlRun run = runVelctl({"app", "max-paired"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "maximum of paired devices reached: yes\n");
    const std::vector<std::string> expected = {"call actionFromApp (uint32 8, '', uint32 28, '')"};
    EXPECT_EQ(simLinesStartingWith("call actionFromApp "), expected);
}

TEST_F(VelctlApp, SaysNoWhileTheMaximumIsNotReached)
{
    startSim();
    const VelctlRun run = runVelctl({"app", "max-paired"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "maximum of paired devices reached: no\n");
}

TEST_F(VelctlApp, NamesTheDeviceStoreWhenTheServiceIsNotReachable)
{
    // No simulator: neither the name nor the store it would publish exists.
    ASSERT_TRUE(mBus.start());
    const VelctlRun run = runVelctl({"-t", "1", "app", "max-paired"});
    EXPECT_EQ(run.status, 3);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "velctl: service com.qor.vel_communicator not reachable within 1 s (app commands also need "
                       "the device store; --verbose shows why)\n");
}

TEST_F(VelctlApp, WatchesEveryCallbackUntilInterrupted)
{
    startSim({"--app-known=111,222", "--app-discovered=333"});
    RunningVelctl watch({"app", "watch"});
    // The simulator announces both lists to an application once it registers.
    ASSERT_TRUE(watch.waitForOut("discovered devices", 15s)) << watch.out() << watch.err();
    ASSERT_TRUE(watch.waitForOut("known devices", 15s)) << watch.out();

    GVariant* reply = mSim.control("com.qor.vel_sim.App", "RequestDone", g_variant_new("(uusu)", 0u, 3u, "111", 4u));
    ASSERT_NE(reply, nullptr);
    g_variant_unref(reply);
    ASSERT_TRUE(mSim.emitSignal("noticeToApp", g_variant_new("(usi)", 7u, "222", 6)));
    ASSERT_TRUE(mSim.emitSignal("noticeTechActiveInfo", g_variant_new_parsed("(@a(ub) [(4, true), (6, false)],)")));
    ASSERT_TRUE(watch.waitForOut("technology activity:", 15s)) << watch.out();

    watch.process().signal(SIGINT);
    const int status = watch.process().waitExit(10s);
    ASSERT_NE(status, -1);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);

    const std::vector<std::string> lines = linesOf(watch.out());
    const std::vector<std::string> expectedInOrder = {
        "service ready",
        "connect done: device 111, technology 4, result 3",
        "link loss: device 222, technology 6, result 1",
        "technology activity: 4 active, 6 inactive",
    };
    std::size_t next = 0;
    for (const std::string& line : lines) {
        if (next < expectedInOrder.size() && line == expectedInOrder[next]) {
            ++next;
        }
    }
    EXPECT_EQ(next, expectedInOrder.size()) << watch.out();
    bool sawKnown = false;
    bool sawDiscovered = false;
    for (const std::string& line : lines) {
        sawKnown = sawKnown || line == "known devices (result 1): 111, 222";
        sawDiscovered = sawDiscovered || line == "discovered devices (result 1): 333";
    }
    EXPECT_TRUE(sawKnown) << watch.out();
    EXPECT_TRUE(sawDiscovered) << watch.out();
    EXPECT_EQ(watch.err(), "velctl: watching com.qor.vel_communicator as an application; Ctrl-C stops\n");
}
