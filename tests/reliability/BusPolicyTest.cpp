// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// The shipped bus policy of the service (data/dbus-1/system.d), on a bus with
// the system bus's default policy: only the service's user (root) may own
// "com.qor.vel_communicator" and emit its signals; any user may call it,
// hear it, and so use the library as a client. The other user is nobody.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "ChildProcess.h"
#include "PrivateBus.h"
#include "SoakRig.h"
#include "WaitUntil.h"

#ifndef VEL_POLICY_BUS_CONFIG
#error "VEL_POLICY_BUS_CONFIG names the bus configuration that includes the shipped policy"
#endif

namespace {

using namespace std::chrono_literals;

const std::vector<std::string> kAsNobody = {"/usr/bin/setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};

class TheServiceBusPolicy : public ::testing::Test {
protected:
    void TearDown() override
    {
        if (HasFailure()) {
            std::printf("%s", mRig.outputs().c_str());
        }
    }

    void SetUp() override { ASSERT_TRUE(mBus.start()); }

    // Runs the probe (as nobody when the wrapper says so) and returns its line.
    std::string probe(const std::vector<std::string>& wrapper, const std::vector<std::string>& arguments)
    {
        std::vector<std::string> argv = wrapper;
        argv.push_back(VEL_POLICY_PROBE_PATH);
        argv.insert(argv.end(), arguments.begin(), arguments.end());
        const std::string output = mDir.file("probe-" + std::to_string(mProbes++) + ".out");
        veltest::ChildProcess process;
        if (!process.start(argv, output) || process.waitExit(30s) < 0) {
            return "probe did not finish";
        }
        const std::string printed = veltest::readFile(output);
        return printed.substr(0, printed.find('\n'));
    }

    bool registered(unsigned type, std::size_t times = 1)
    {
        const std::string line = "registerMe type=" + std::to_string(type) + " ";
        return veltest::waitUntil([&] { return mService.log().countContaining(line) >= times; }, 30s);
    }

    veltest::PrivateBus mBus{VEL_POLICY_BUS_CONFIG};
    soak::BusConnectionSource mConnection = [this] { return mBus.testConnection(); };
    soak::Service mService{mConnection};
    soak::SoakRig mRig{mConnection};
    veltest::TempDir mDir;
    int mProbes = 0;
};

TEST_F(TheServiceBusPolicy, RefusesTheServiceNameToAnotherUser)
{
    EXPECT_EQ(probe(kAsNobody, {"own"}), "own refused org.freedesktop.DBus.Error.AccessDenied");
    // The service's user gets it (1: primary owner).
    EXPECT_EQ(probe({}, {"own"}), "own reply 1");
    ASSERT_TRUE(mService.start());
    EXPECT_TRUE(soak::nameHasOwner(mBus.testConnection(), "com.qor.vel_communicator"));
}

TEST_F(TheServiceBusPolicy, KeepsTheServicesSignalsFromAnotherUserAwayFromClients)
{
    ASSERT_TRUE(mService.start());
    soak::ClientProcess& app = mRig.client("app");
    ASSERT_TRUE(mRig.startClient(app));
    ASSERT_TRUE(mRig.waitForLines(app, "ready 1", 1, 30s));

    EXPECT_EQ(probe(kAsNobody, {"emit", "forged-device"}), "emitted");
    // The bus has handled nobody's signal before it answered the probe's
    // round trip; root's signal comes after it on the client's queue.
    EXPECT_EQ(probe({}, {"emit", "genuine-device"}), "emitted");
    ASSERT_TRUE(mRig.waitForLines(app, "linkloss genuine-device 2", 1, 30s));

    EXPECT_EQ(app.output.countPrefix("linkloss forged-device"), 0u);
    EXPECT_EQ(app.output.countPrefix("linkloss "), 1u);
}

TEST_F(TheServiceBusPolicy, LetsAnotherUserUseTheLibraryAsEveryKindOfClient)
{
    ASSERT_TRUE(mService.start());
    for (auto& client : mRig.clients()) {
        ASSERT_TRUE(mRig.startClient(*client, kAsNobody)) << client->kind;
    }
    soak::ClientProcess& app = mRig.client("app");
    soak::ClientProcess& core = mRig.client("core");
    soak::ClientProcess& controller = mRig.client("controller");
    ASSERT_TRUE(registered(100));
    ASSERT_TRUE(registered(200));
    ASSERT_TRUE(registered(400));
    ASSERT_TRUE(mRig.waitForLines(app, "ready 1", 1, 30s));
    ASSERT_TRUE(mRig.waitForLines(core, "ready 1", 1, 30s));

    // A request and its completion signal.
    EXPECT_EQ(soak::field(mRig.ask(app, "request", "request ", 30s), "ok"), 1);
    EXPECT_TRUE(mRig.waitForLines(app, "completed connect soak-device 0", 1, 30s));
    // A synchronous query and its answer.
    const std::string answer = mRig.ask(core, "request", "request ", 30s);
    EXPECT_EQ(soak::field(answer, "ok"), 1) << answer;
    EXPECT_NE(answer.find("00:11:22:33:44:55"), std::string::npos) << answer;
    // A control-mode change.
    EXPECT_EQ(soak::field(mRig.ask(controller, "request", "request ", 30s), "ok"), 1);
    EXPECT_TRUE(veltest::waitUntil([&] { return mService.log().countContaining("call sendControlMode") >= 1; }, 30s));
}

} // namespace
