// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// The service is killed (SIGKILL) and started again, over and over, at random
// intervals of 0 to 2 s, while an application, a core engine and a
// controller stay connected in their own processes. Every cycle must end
// with each client registered again (and told "ready" where it has a
// callback); afterwards every client still completes a request, and what
// each holds (descriptors, threads, timers, bus connections, match rules,
// resident memory) is what it held after the first cycle.
//
// VEL_SOAK_CYCLES sets the number of cycles (20 here, 1000 in `make soak`),
// VEL_SOAK_SEED the random pacing.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <thread>

#include "PrivateBus.h"
#include "SoakRig.h"
#include "TimeScale.h"
#include "WaitUntil.h"

namespace {

using namespace std::chrono_literals;

long environmentNumber(const char* name, long fallback)
{
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0' ? std::strtol(value, nullptr, 10) : fallback;
}

// Resident memory may move by allocator noise and one-off caches; a leak of
// a kilobyte per restart would pass this bound only for the first few hundred
// cycles, and a per-cycle leak in the soak of a thousand shows up plainly.
// Under qemu-user the resident memory is the emulator's too, and its
// translation cache grows while new code paths of the client run.
constexpr long kRssSlackKb = 1024;
constexpr long kEmulatedRssSlackKb = 8 * 1024;
constexpr long kMaxPoolThreads = 10;

// A sanitizer's own bookkeeping (shadow memory, quarantine, race history)
// and valgrind's translation cache grow with the run: resident memory is
// judged only in plain builds run natively. Valgrind preloads its own
// libraries into every process it runs, the clients included.
bool judgesRss()
{
#ifdef VEL_SOAK_SANITIZED
    return false;
#else
    const char* preload = std::getenv("LD_PRELOAD");
    return preload == nullptr || std::string(preload).find("vgpreload") == std::string::npos;
#endif
}

class ARestartSoak : public ::testing::Test {
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
    }

    std::string registerLine(const soak::ClientProcess& client) const
    {
        return "registerMe type=" + std::to_string(client.registerType) + " ";
    }

    // A cycle is complete when every client has registered `registrations`
    // times with an accepting service and each callback has seen as many
    // "ready 1".
    bool cycleComplete(std::size_t registrations)
    {
        mSimLog.refresh();
        for (auto& client : mRig.clients()) {
            if (mSimLog.countContaining(registerLine(*client)) < registrations) {
                return false;
            }
            if (client->reportsReady && client->output.countPrefix("ready 1") < registrations) {
                return false;
            }
        }
        return true;
    }

    std::string cycleReport(std::size_t cycle)
    {
        std::string report = "cycle " + std::to_string(cycle) + ":";
        for (auto& client : mRig.clients()) {
            report += " " + client->kind + " registered " +
                      std::to_string(mSimLog.countContaining(registerLine(*client))) + " ready1 " +
                      std::to_string(client->output.countPrefix("ready 1")) + " ready0 " +
                      std::to_string(client->output.countPrefix("ready 0")) +
                      (client->process.running() ? "" : " (exited)");
        }
        return report;
    }

    veltest::PrivateBus mBus;
    soak::Service mService{mBus};
    soak::SoakRig mRig{mBus};
    soak::LineLog& mSimLog = mService.log();
};

TEST_F(ARestartSoak, KeepsEveryClientRegisteredAndItsFootprintFlatThroughServiceKills)
{
    const long cycles = environmentNumber("VEL_SOAK_CYCLES", 20);
    const unsigned seed = static_cast<unsigned>(environmentNumber("VEL_SOAK_SEED", std::random_device{}()));
    std::printf("soak: %ld cycles, seed %u\n", cycles, seed);
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> pauseMs(0, 2000);
    ASSERT_TRUE(veltest::waitUntil([&] { return cycleComplete(1); }, 30s, 20ms)) << cycleReport(0);

    std::vector<soak::Footprint> first;
    for (long cycle = 1; cycle <= cycles; ++cycle) {
        // Random pacing of the kills, not synchronisation: the service may
        // go at any moment after the clients settled, and come back at once
        // or up to 2 s later.
        std::this_thread::sleep_for(std::chrono::milliseconds(pauseMs(random)));
        mService.kill9();
        std::this_thread::sleep_for(std::chrono::milliseconds(pauseMs(random)));
        ASSERT_TRUE(mService.start()) << "cycle " << cycle << ": the simulator did not start";
        // Each client sees the name come back and registers; the wait is the
        // presence check and registration of three clients.
        ASSERT_TRUE(veltest::waitUntil([&] { return cycleComplete(static_cast<std::size_t>(cycle) + 1); }, 30s, 20ms))
            << cycleReport(static_cast<std::size_t>(cycle));
        for (auto& client : mRig.clients()) {
            ASSERT_TRUE(client->process.running()) << client->kind << " exited in cycle " << cycle;
        }
        if (cycle == 1) {
            for (auto& client : mRig.clients()) {
                first.push_back(mRig.footprint(*client));
            }
        }
        if (cycle % 100 == 0) {
            std::printf("soak: %s\n", cycleReport(static_cast<std::size_t>(cycle)).c_str());
            std::fflush(stdout);
        }
    }

    // Exactly one vanish and one return per cycle, nothing more.
    for (auto& client : mRig.clients()) {
        if (client->reportsReady) {
            EXPECT_EQ(client->output.countPrefix("ready 1"), static_cast<std::size_t>(cycles) + 1) << client->kind;
            EXPECT_EQ(client->output.countPrefix("ready 0"), static_cast<std::size_t>(cycles)) << client->kind;
        }
        EXPECT_EQ(mSimLog.countContaining(registerLine(*client)), static_cast<std::size_t>(cycles) + 1)
            << client->kind;
    }

    // Every client still gets its request through.
    soak::ClientProcess& app = mRig.client("app");
    EXPECT_EQ(soak::field(mRig.ask(app, "request", "request ", 30s), "ok"), 1);
    EXPECT_TRUE(mRig.waitForLines(app, "completed connect soak-device 0", 1, 30s));
    soak::ClientProcess& core = mRig.client("core");
    const std::string coreAnswer = mRig.ask(core, "request", "request ", 30s);
    EXPECT_EQ(soak::field(coreAnswer, "ok"), 1) << coreAnswer;
    EXPECT_NE(coreAnswer.find("00:11:22:33:44:55"), std::string::npos) << coreAnswer;
    soak::ClientProcess& controller = mRig.client("controller");
    EXPECT_EQ(soak::field(mRig.ask(controller, "request", "request ", 30s), "ok"), 1);
    EXPECT_TRUE(veltest::waitUntil([&] { return mSimLog.countContaining("call sendControlMode") >= 1; }, 30s, 20ms));

    ASSERT_EQ(first.size(), mRig.clients().size());
    for (std::size_t i = 0; i < first.size(); ++i) {
        soak::ClientProcess& client = *mRig.clients()[i];
        const soak::Footprint last = mRig.footprint(client);
        std::printf("soak: %-10s first %s\n", client.kind.c_str(), first[i].text().c_str());
        std::printf("soak: %-10s last  %s\n", client.kind.c_str(), last.text().c_str());
        RecordProperty(client.kind + "_first", first[i].text());
        RecordProperty(client.kind + "_last", last.text());
        EXPECT_GE(first[i].matchRules, 0) << client.kind << ": the bus gave no statistics";
        EXPECT_EQ(last.fds, first[i].fds) << client.kind;
        EXPECT_EQ(last.threads, first[i].threads) << client.kind;
        // GLib's pool keeps few threads (it starts more only while some are
        // blocked); a thread left behind by every restart would exceed this.
        EXPECT_LE(last.poolThreads, kMaxPoolThreads) << client.kind;
        EXPECT_EQ(last.timers, first[i].timers) << client.kind;
        EXPECT_EQ(last.busConnections, first[i].busConnections) << client.kind;
        EXPECT_EQ(last.matchRules, first[i].matchRules) << client.kind;
        if (judgesRss()) {
            const long slack = veltest::emulated() ? kEmulatedRssSlackKb : kRssSlackKb;
            EXPECT_LE(last.rssKb, first[i].rssKb + slack) << client.kind;
        }
    }
}

} // namespace
