// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// The private dbus-daemon is killed while an application, a core engine and a
// controller are connected in their own processes. The clients must go on
// running, learn that the service is gone, and have every request refused at
// once rather than wait for a bus that will not answer. The recovery timer's
// attempt 10 s later finds no bus and leaves them just as usable.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "PrivateBus.h"
#include "SoakRig.h"
#include "WaitUntil.h"

namespace {

using namespace std::chrono_literals;

// The bus's default call timeout is 25 s: a request that went out to the
// vanished bus would take about that long to fail. Refused at once means
// well below it.
constexpr long kAtOnceMs = 5000;

class ABusDaemonLoss : public ::testing::Test {
protected:
    void TearDown() override
    {
        if (HasFailure()) {
            std::printf("%s", mRig.outputs().c_str());
        }
    }

    void SetUp() override
    {
        ASSERT_TRUE(mBus.start());
        ASSERT_TRUE(mService.start());
        ASSERT_TRUE(mRig.startClients());
        // Registered with the service, and told so where there is a callback.
        for (auto& client : mRig.clients()) {
            const std::string registered = "registerMe type=" + std::to_string(client->registerType) + " ";
            ASSERT_TRUE(veltest::waitUntil([&] { return mService.log().countContaining(registered) >= 1; }, 30s))
                << client->kind;
            if (client->reportsReady) {
                ASSERT_TRUE(mRig.waitForLines(*client, "ready 1", 1, 30s)) << client->kind;
            }
        }
    }

    // Every client refuses its request at once, and the application its query.
    void expectEveryRequestRefusedAtOnce()
    {
        for (auto& client : mRig.clients()) {
            const std::string answer = mRig.ask(*client, "request", "request ", 60s);
            ASSERT_FALSE(answer.empty()) << client->kind << " did not answer";
            EXPECT_EQ(soak::field(answer, "ok"), 0) << client->kind << ": " << answer;
            EXPECT_LT(soak::field(answer, "ms"), kAtOnceMs) << client->kind << ": " << answer;
        }
        const std::string query = mRig.ask(mRig.client("app"), "query", "query ", 60s);
        EXPECT_EQ(soak::field(query, "ok"), 0) << query;
        EXPECT_LT(soak::field(query, "ms"), kAtOnceMs) << query;
    }

    veltest::PrivateBus mBus;
    soak::Service mService{mBus};
    soak::SoakRig mRig{mBus};
};

TEST_F(ABusDaemonLoss, LeavesTheClientsRunningAwareOfTheVanishAndRefusingRequestsAtOnce)
{
    mBus.kill9();

    for (auto& client : mRig.clients()) {
        EXPECT_TRUE(mRig.waitForLines(*client, "vanished", 1, 30s)) << client->kind;
        if (client->reportsReady) {
            EXPECT_TRUE(mRig.waitForLines(*client, "ready 0", 1, 30s)) << client->kind;
        }
    }
    expectEveryRequestRefusedAtOnce();
    for (auto& client : mRig.clients()) {
        EXPECT_TRUE(client->process.running()) << client->kind;
    }
}

TEST_F(ABusDaemonLoss, LeavesTheClientsAsUsableAfterTheRecoveryAttemptFindsNoBus)
{
    mBus.kill9();
    soak::ClientProcess& app = mRig.client("app");
    soak::ClientProcess& core = mRig.client("core");
    ASSERT_TRUE(mRig.waitForLines(app, "ready 0", 1, 30s));
    ASSERT_TRUE(mRig.waitForLines(core, "ready 0", 1, 30s));

    // The recovery timer runs 10 s; the attempt it starts fails at the
    // presence check and still reports ready, as every attempt does. The
    // bound leaves room for the slowest sanitizer build.
    ASSERT_TRUE(veltest::waitUntil(
        [&] { return app.output.countPrefix("ready 1") >= 2 && core.output.countPrefix("ready 1") >= 2; }, 120s,
        20ms));

    for (soak::ClientProcess* client : {&app, &core}) {
        // The closed connection is dropped and a new one cannot be had: one
        // connection error, not sixty failed probes on the closed one.
        EXPECT_GE(client->output.countContaining("[checkDbusServiceRegistered] @@@ ERR. Connection Error :"), 1u)
            << client->kind;
        EXPECT_EQ(client->output.countContaining("[checkDbusServiceRegistered] @@@ ERR.  Connection Error :"), 0u)
            << client->kind;
        EXPECT_EQ(client->output.countContaining("[agentCallback] @@@ ERR. MVEL is NOT READY"), 1u) << client->kind;
    }
    expectEveryRequestRefusedAtOnce();
    for (auto& client : mRig.clients()) {
        EXPECT_TRUE(client->process.running()) << client->kind;
    }
}

} // namespace
