// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <chrono>
#include <string>

#include "ClientProcess.h"
#include "DltDaemon.h"
#include "DltReceiver.h"
#include "WaitUntil.h"

using namespace std::chrono_literals;
using veltest::ClientProcess;
using veltest::DltDaemon;
using veltest::DltLine;
using veltest::DltReceiver;
using veltest::TempDir;

namespace {

class LibvelDltWithADaemon : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(mDaemon.start()) << mDaemon.log();
        ASSERT_TRUE(mReceiver.start(mDaemon.port(), mDir.file("received.txt")));
        ASSERT_TRUE(mClient.start(mDaemon.pipeDir())) << mClient.output();
    }

    void TearDown() override
    {
        if (HasFailure()) {
            std::fprintf(stderr, "client:\n%s\nreceived:\n%s\ndaemon:\n%s\n", mClient.output().c_str(),
                         veltest::readFile(mDir.file("received.txt")).c_str(), mDaemon.log().c_str());
        }
        if (mClient.running()) {
            mClient.run("exit");
            mClient.waitExit(20s);
        }
        mReceiver.stop();
    }

    // The client's answer to "enabled <context> <level>".
    bool clientWants(const std::string& contextId, int level)
    {
        const std::string before = mClient.output();
        EXPECT_TRUE(mClient.run("enabled " + contextId + " " + std::to_string(level)));
        const std::string answer = mClient.output().substr(before.size());
        return answer.rfind("enabled\n", 0) == 0;
    }

    // One received line with exactly this text, or an empty line.
    DltLine received(const std::string& text)
    {
        for (const DltLine& line : mReceiver.linesOf("VELL")) {
            if (line.text == text) {
                return line;
            }
        }
        return DltLine{};
    }

    TempDir mDir;
    DltDaemon mDaemon;
    DltReceiver mReceiver;
    ClientProcess mClient{mDir};
};

void expectLine(const DltLine& line, const std::string& contextId, const std::string& level, const std::string& text)
{
    EXPECT_EQ(line.appId, "VELL") << text;
    EXPECT_EQ(line.contextId, contextId) << text;
    EXPECT_EQ(line.level, level) << text;
    EXPECT_EQ(line.text, text);
}

} // namespace

TEST_F(LibvelDltWithADaemon, DeliversEachLineUnderItsContextAtItsLevelWithItsText)
{
    ASSERT_TRUE(mClient.run("log LIBA 4 [VELLIBAPP][dlt-client.app][doServiceConnect] deviceId:AA:BB"));
    ASSERT_TRUE(mClient.run("log VELL 2 [VELLIB][dlt-client.app][openProxy] @@@ ERR. proxy_new_for_bus_sync Error"));
    ASSERT_TRUE(mClient.run("log VSHM 3 [VSHM][open] @@@ WARN. size:0"));
    ASSERT_TRUE(mClient.run("log LIBC 1 [VELLIBCORE][reportResult] fatal text"));
    ASSERT_TRUE(mClient.run("log CBAG 6 [CBAG] verbose, below the daemon's info level"));
    ASSERT_TRUE(mClient.run("log LIBS 5 [VELLIBSHM] debug, below the daemon's info level"));
    ASSERT_TRUE(mClient.run("log VELT 4 [VELT] last line"));
    ASSERT_TRUE(mReceiver.waitForText("VELL", "[VELT] last line"));

    expectLine(received("[VELLIBAPP][dlt-client.app][doServiceConnect] deviceId:AA:BB"), "LIBA", "info",
               "[VELLIBAPP][dlt-client.app][doServiceConnect] deviceId:AA:BB");
    expectLine(received("[VELLIB][dlt-client.app][openProxy] @@@ ERR. proxy_new_for_bus_sync Error"), "VELL", "error",
               "[VELLIB][dlt-client.app][openProxy] @@@ ERR. proxy_new_for_bus_sync Error");
    expectLine(received("[VSHM][open] @@@ WARN. size:0"), "VSHM", "warn", "[VSHM][open] @@@ WARN. size:0");
    expectLine(received("[VELLIBCORE][reportResult] fatal text"), "LIBC", "fatal",
               "[VELLIBCORE][reportResult] fatal text");
    expectLine(received("[VELT] last line"), "VELT", "info", "[VELT] last line");
    // The wrapper's own first line has no module context.
    expectLine(received("Running with TRACE"), "VLOG", "info", "Running with TRACE");
    EXPECT_FALSE(mReceiver.hasText("VELL", "[CBAG] verbose, below the daemon's info level"));
    EXPECT_FALSE(mReceiver.hasText("VELL", "[VELLIBSHM] debug, below the daemon's info level"));
}

TEST_F(LibvelDltWithADaemon, FollowsALevelSetWithDltControlOnTheRunningClient)
{
    EXPECT_FALSE(clientWants("LIBA", 5));
    ASSERT_TRUE(mDaemon.setLevel("VELL", "LIBA", 5));
    ASSERT_TRUE(veltest::waitUntil([&] { return clientWants("LIBA", 5); }, 10s, 50ms));
    ASSERT_TRUE(mClient.run("log LIBA 5 [VELLIBAPP] debug once raised"));
    ASSERT_TRUE(mReceiver.waitForText("VELL", "[VELLIBAPP] debug once raised"));
    expectLine(received("[VELLIBAPP] debug once raised"), "LIBA", "debug", "[VELLIBAPP] debug once raised");

    ASSERT_TRUE(mDaemon.setLevel("VELL", "LIBA", 2));
    ASSERT_TRUE(veltest::waitUntil([&] { return !clientWants("LIBA", 4); }, 10s, 50ms));
    EXPECT_TRUE(clientWants("LIBA", 2));
    EXPECT_TRUE(clientWants("VELL", 4)) << "other contexts keep their level";
    ASSERT_TRUE(mClient.run("log LIBA 4 [VELLIBAPP] info once lowered"));
    ASSERT_TRUE(mClient.run("log LIBA 3 [VELLIBAPP] warning once lowered"));
    ASSERT_TRUE(mClient.run("log VELL 4 [VELLIB] info in another context"));
    ASSERT_TRUE(mClient.run("log LIBA 2 [VELLIBAPP] error once lowered"));
    ASSERT_TRUE(mReceiver.waitForText("VELL", "[VELLIBAPP] error once lowered"));
    expectLine(received("[VELLIBAPP] error once lowered"), "LIBA", "error", "[VELLIBAPP] error once lowered");
    expectLine(received("[VELLIB] info in another context"), "VELL", "info", "[VELLIB] info in another context");
    EXPECT_FALSE(mReceiver.hasText("VELL", "[VELLIBAPP] info once lowered"));
    EXPECT_FALSE(mReceiver.hasText("VELL", "[VELLIBAPP] warning once lowered"));
}

TEST_F(LibvelDltWithADaemon, KeepsRunningAndExitsNormallyWhenTheDaemonStopsFirst)
{
    ASSERT_TRUE(mClient.run("log LIBA 4 [VELLIBAPP] before the daemon stops"));
    ASSERT_TRUE(mReceiver.waitForText("VELL", "[VELLIBAPP] before the daemon stops"));
    const int daemonStatus = mDaemon.stop();
    ASSERT_TRUE(WIFEXITED(daemonStatus) || WIFSIGNALED(daemonStatus));

    ASSERT_TRUE(mClient.run("burst 300", 30s)) << "the client blocked without its daemon";
    ASSERT_TRUE(mClient.run("log VELL 2 [VELLIB] after the daemon stopped"));
    EXPECT_TRUE(clientWants("LIBA", 4));
    ASSERT_TRUE(mClient.run("exit"));
    const auto exiting = std::chrono::steady_clock::now();
    const int status = mClient.waitExit(30s);
    ASSERT_NE(status, -1) << "the client did not exit";
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "wait status " << status;
    // libdlt would keep resending its buffer to the vanished daemon for 10 s.
    EXPECT_LT(std::chrono::steady_clock::now() - exiting, 5s) << "exit waited for the vanished daemon";
}

TEST_F(LibvelDltWithADaemon, ExitsNormallyWhileAnotherThreadKeepsLogging)
{
    ASSERT_TRUE(mClient.run("exit-while-logging"));
    const int status = mClient.waitExit(30s);
    ASSERT_NE(status, -1) << "the client did not exit";
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "wait status " << status;
    // The late thread's lines reached DLT until the exit began.
    EXPECT_TRUE(mReceiver.waitForText("VELL", "[LATE] line 0"));
}

TEST(LibvelDltWithoutADaemon, RunsNormallyAndExitsWithStatusZero)
{
    TempDir dir;
    TempDir noDaemon;
    ClientProcess client(dir);
    ASSERT_TRUE(client.start(noDaemon.path())) << client.output();

    EXPECT_TRUE(client.run("log LIBA 4 [VELLIBAPP] nobody listens"));
    EXPECT_TRUE(client.run("burst 300", 30s)) << "the client blocked without a daemon";
    EXPECT_TRUE(client.run("enabled LIBA 4"));
    EXPECT_NE(client.output().find("enabled\n"), std::string::npos) << client.output();
    ASSERT_TRUE(client.run("exit"));
    const auto exiting = std::chrono::steady_clock::now();
    const int status = client.waitExit(30s);
    EXPECT_LT(std::chrono::steady_clock::now() - exiting, 5s) << "exit waited for a daemon that never ran";
    ASSERT_NE(status, -1) << "the client did not exit";
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "wait status " << status << "\n" << client.output();
}
