// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// libvel on the stock system bus with the shipped policy: each role group
// uses the library as its own kind of client; what the bus refuses comes back
// as the contract's failure, with its own line and no retries beyond the
// contract's. velctl stands in for a client whose library lines it prints.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "RolePolicyFixture.h"
#include "SoakRig.h"
#include "WaitUntil.h"

namespace policytest {

namespace {

using namespace std::chrono_literals;

constexpr const char* kReCheck = "] MVEL is NOT registered. Re-Check count : ";
constexpr const char* kGaveUp = "] MVEL is NOT registered. return FALSE. retry_count : 60";
// velctl prints each library line after its level; C0 is the error level.
constexpr const char* kQueryRefused = "libvel[C0] [VELLIBCORE]";
constexpr const char* kQueryRefusedText = "@@@ ERR. (!dbusProcessed || (information == nullptr)) is true! Return!";
constexpr const char* kAppQueryRefused = "@@@ ERR. dbusProcessed is false! Return!";

std::size_t countLines(const std::string& text, const std::string& fragment)
{
    const std::vector<std::string> all = lines(text);
    return static_cast<std::size_t>(
        std::count_if(all.begin(), all.end(), [&](const std::string& line) { return line.find(fragment) != std::string::npos; }));
}

bool hasLine(const std::string& text, const std::string& prefix, const std::string& fragment)
{
    for (const std::string& line : lines(text)) {
        if (line.rfind(prefix, 0) == 0 && line.find(fragment) != std::string::npos) {
            return true;
        }
    }
    return false;
}

class TheLibraryUnderTheRolePolicy : public RolePolicyFixture {
protected:
    // velctl with the library's lines on stderr, waiting up to 60 s for each step.
    std::vector<std::string> velctl(const std::vector<std::string>& command)
    {
        std::vector<std::string> argv = {VEL_VELCTL_PATH, "--verbose", "--timeout", "60"};
        argv.insert(argv.end(), command.begin(), command.end());
        return argv;
    }

    // The role groups exist once the bus has started.
    const Identity& identity(const std::string& name)
    {
        if (mIdentities.empty()) {
            mIdentities = identities();
        }
        for (const Identity& each : mIdentities) {
            if (each.name == name) {
                return each;
            }
        }
        ADD_FAILURE() << "no identity " << name;
        return mIdentities.front();
    }

    std::vector<Identity> mIdentities;
};

TEST_P(TheLibraryUnderTheRolePolicy, LetsEachRoleUseTheLibraryAsItsKindOfClient)
{
    soak::SoakRig rig(mConnection);
    const std::vector<std::pair<std::string, std::string>> roles = {
        {"app", "a user of vel-app"}, {"core", "a user of vel-core"}, {"controller", "a user of vel-controller"}};
    for (const auto& role : roles) {
        ASSERT_TRUE(rig.startClient(rig.client(role.first), identity(role.second).wrapper)) << role.first;
    }
    for (unsigned type : {100u, 200u, 400u}) {
        const std::string line = "registerMe type=" + std::to_string(type) + " ";
        EXPECT_TRUE(veltest::waitUntil([&] { return mService.log().countContaining(line) >= 1; }, 30s)) << type;
    }
    soak::ClientProcess& app = rig.client("app");
    soak::ClientProcess& core = rig.client("core");
    ASSERT_TRUE(rig.waitForLines(app, "ready 1", 1, 30s)) << rig.outputs();
    ASSERT_TRUE(rig.waitForLines(core, "ready 1", 1, 30s)) << rig.outputs();

    // A request and its completion signal.
    EXPECT_EQ(soak::field(rig.ask(app, "request", "request ", 30s), "ok"), 1);
    EXPECT_TRUE(rig.waitForLines(app, "completed connect soak-device 0", 1, 30s)) << rig.outputs();
    // A synchronous query and its answer.
    const std::string answer = rig.ask(core, "request", "request ", 30s);
    EXPECT_EQ(soak::field(answer, "ok"), 1) << answer;
    EXPECT_NE(answer.find("00:11:22:33:44:55"), std::string::npos) << answer;
    // A control-mode change.
    EXPECT_EQ(soak::field(rig.ask(rig.client("controller"), "request", "request ", 30s), "ok"), 1);
    EXPECT_TRUE(veltest::waitUntil([&] { return mService.log().countContaining("call sendControlMode") >= 1; }, 30s));
}

TEST_P(TheLibraryUnderTheRolePolicy, LeavesAUserWithoutARoleUnregisteredAfterTheContractsRetriesAndNoMore)
{
    int status = -1;
    const auto started = std::chrono::steady_clock::now();
    const std::string output = run(identity("nobody"), velctl({"core", "bt-mac"}), &status);
    const auto took = std::chrono::steady_clock::now() - started;

    EXPECT_EQ(status, 1) << output;
    // Every registerMe was refused by the bus: 60 tries 100 ms apart, then
    // the client goes on as the contract says, and its query is refused too.
    EXPECT_EQ(countLines(output, kReCheck), 60u) << output;
    EXPECT_EQ(countLines(output, std::string(kReCheck) + "59"), 1u) << output;
    EXPECT_EQ(countLines(output, kGaveUp), 1u) << output;
    EXPECT_TRUE(hasLine(output, kQueryRefused, kQueryRefusedText)) << output;
    // None of it reached the service.
    EXPECT_EQ(mService.log().countContaining("call registerMe"), 0u);
    EXPECT_EQ(mService.log().countContaining("call actionFromCore"), 0u);
    // A refusal comes back at once: the retries take about 6 s; anything near
    // the bus's 25 s call timeout would mean a refused call waited for it.
    EXPECT_LT(took, std::chrono::seconds(20));
}

TEST_P(TheLibraryUnderTheRolePolicy, RefusesAnotherRolesQueryAtOnceWithTheContractsErrorLine)
{
    int status = -1;
    const std::string asApplication = run(identity("a user of vel-app"), velctl({"core", "bt-mac"}), &status);
    EXPECT_EQ(status, 1) << asApplication;
    // Registration is every role's; the query is the core engine's.
    EXPECT_EQ(countLines(asApplication, kReCheck), 0u) << asApplication;
    EXPECT_TRUE(hasLine(asApplication, kQueryRefused, kQueryRefusedText)) << asApplication;
    EXPECT_EQ(mService.log().countContaining("call actionFromCore"), 0u);

    // checkPaired has only its boolean: a refused question reads as "not
    // paired", and the library's error line tells the two apart.
    const std::string asCoreEngine = run(identity("a user of vel-core"), velctl({"app", "paired", "dev-1"}), &status);
    EXPECT_EQ(countLines(asCoreEngine, "dev-1: not paired"), 1u) << asCoreEngine;
    EXPECT_TRUE(hasLine(asCoreEngine, "libvel[C0] [VELLIBAPP]", kAppQueryRefused)) << asCoreEngine;
    EXPECT_EQ(mService.log().countContaining("call actionFromApp"), 0u);

    const std::string allowed = run(identity("a user of vel-core"), velctl({"core", "bt-mac"}), &status);
    EXPECT_EQ(status, 0) << allowed;
    EXPECT_EQ(countLines(allowed, "00:11:22:33:44:55"), 1u) << allowed;
}

INSTANTIATE_TEST_SUITE_P(OnTheStockSystemBus, TheLibraryUnderTheRolePolicy,
                         ::testing::Values(veltest::SystemBusKind::DbusDaemon, veltest::SystemBusKind::DbusBroker),
                         busName);

} // namespace

} // namespace policytest
