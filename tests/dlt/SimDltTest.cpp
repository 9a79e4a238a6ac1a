// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <string>

#include "DltDaemon.h"
#include "DltReceiver.h"
#include "PrivateBus.h"
#include "SimProcess.h"

using veltest::DltLine;

// Runs in the device store's private namespace: the simulator publishes there.
TEST(MvelSimWithLogDlt, SendsTheLibrarysStoreLinesToDltAndKeepsItsOwnLinesOnStdout)
{
    veltest::TempDir dir;
    veltest::DltDaemon daemon;
    ASSERT_TRUE(daemon.start()) << daemon.log();
    veltest::DltReceiver receiver;
    ASSERT_TRUE(receiver.start(daemon.port(), dir.file("received.txt")));
    ::setenv("DLT_PIPE_DIR", daemon.pipeDir().c_str(), 1);
    veltest::PrivateBus bus;
    ASSERT_TRUE(bus.start());
    veltest::SimProcess sim(bus);

    ASSERT_TRUE(sim.start({"--log=dlt", "--store=on"}));

    const std::string text = "[VSHM][shmComposeDeviceInfoOnBoot] [With Check Availability]";
    ASSERT_TRUE(receiver.waitForText("VELL", text)) << veltest::readFile(dir.file("received.txt"));
    for (const DltLine& line : receiver.linesOf("VELL")) {
        if (line.text == text) {
            EXPECT_EQ(line.contextId, "VSHM");
            EXPECT_EQ(line.level, "info");
        }
    }
    EXPECT_TRUE(sim.waitForLog("owns com.qor.vel_communicator", std::chrono::seconds(10))) << sim.log();
    EXPECT_EQ(sim.log().find("vel INFO "), std::string::npos) << "library lines went to stderr as well";
    const int status = sim.stop();
    EXPECT_TRUE(WIFEXITED(status)) << "wait status " << status;
#ifndef __SANITIZE_THREAD__
    // Under ThreadSanitizer the simulator ends with its report status: libdlt's
    // own threads finish inside uninstrumented code at exit.
    EXPECT_EQ(WEXITSTATUS(status), 0);
#endif
    receiver.stop();
}
