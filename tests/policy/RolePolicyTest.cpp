// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// The shipped bus policy (data/dbus-1/system.d) on the stock Debian system
// bus, dbus-daemon and dbus-broker alike: root, nobody without groups and
// a user of each role group try every method of the service and listen to
// every signal of its interface; each gets exactly its role's part of the
// table in docs/security.md.

#include <gio/gio.h>
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <string>
#include <vector>

#include "InterfaceMembers.h"
#include "RolePolicyFixture.h"
#include "WaitUntil.h"

namespace policytest {

namespace {

using namespace std::chrono_literals;

// What the probe prints for a method the identity may or may not call. The
// service has no properties, so a Get that gets through is refused by it.
std::string expectedCallLine(const std::string& method, bool allowed)
{
    if (!allowed) {
        return method + " denied";
    }
    if (method == "org.freedesktop.DBus.Properties.Get") {
        return method + " failed org.freedesktop.DBus.Error.InvalidArgs";
    }
    return method + " answered";
}

class TheRolePolicy : public RolePolicyFixture {
protected:
    std::vector<std::string> probe(const std::vector<std::string>& arguments)
    {
        std::vector<std::string> argv = {VEL_POLICY_PROBE_PATH};
        argv.insert(argv.end(), arguments.begin(), arguments.end());
        return argv;
    }

    bool emitFromService(const SignalEmission& signal)
    {
        GVariant* reply = g_dbus_connection_call_sync(
            mBus.testConnection(), "com.qor.vel_communicator", "/com/qor/vel_sim", "com.qor.vel_sim.Control", "Emit",
            g_variant_new("(sv)", signal.member, signal.body()), nullptr, G_DBUS_CALL_FLAGS_NONE, 5000, nullptr,
            nullptr);
        if (reply == nullptr) {
            return false;
        }
        g_variant_unref(reply);
        return true;
    }

    bool listening(const std::string& output)
    {
        return veltest::waitUntil([&] { return veltest::readFile(output) == "listening\n"; }, 30s);
    }
};

TEST_P(TheRolePolicy, GivesTheServiceNameToRootOnly)
{
    for (const Identity& identity : identities()) {
        // 3: root may ask, and the simulator already has it.
        const std::string expected = identity.name == "root" ? "own reply 3\n"
                                                             : "own refused org.freedesktop.DBus.Error.AccessDenied\n";
        EXPECT_EQ(run(identity, probe({"own"})), expected) << identity.name;
    }
}

TEST_P(TheRolePolicy, LetsEachIdentityCallExactlyTheMethodsOfItsRole)
{
    for (const Identity& identity : identities()) {
        std::vector<std::string> expected;
        for (const auto& method : everyMethod()) {
            const std::string name = printedName(method);
            expected.push_back(expectedCallLine(name, identity.methods.count(name) > 0));
        }
        EXPECT_EQ(lines(run(identity, probe({"call-all"}))), expected) << identity.name;
    }
}

TEST_P(TheRolePolicy, DeliversEachSignalOnlyToTheRoleItIsMeantFor)
{
    const std::vector<Identity> everyone = identities();
    const std::string go = mDir.file("go");
    std::vector<veltest::ChildProcess> listeners(everyone.size());
    std::vector<std::string> outputs;
    for (std::size_t i = 0; i < everyone.size(); ++i) {
        outputs.push_back(start(listeners[i], everyone[i], probe({"listen", go})));
    }
    for (std::size_t i = 0; i < everyone.size(); ++i) {
        ASSERT_TRUE(listening(outputs[i])) << everyone[i].name << ": " << veltest::readFile(outputs[i]);
    }
    // Each Emit is answered after the simulator sent its signal; the bus has
    // then handed that signal to every listener allowed to hear it.
    for (const auto& signal : everySignal()) {
        ASSERT_TRUE(emitFromService(signal)) << signal.member;
    }
    std::ofstream(go) << "go\n";
    for (std::size_t i = 0; i < everyone.size(); ++i) {
        ASSERT_GE(listeners[i].waitExit(30s), 0) << everyone[i].name;
        std::vector<std::string> expected = {"listening"};
        for (const auto& signal : everySignal()) {
            if (everyone[i].signals.count(signal.member) > 0) {
                expected.push_back(std::string("received ") + signal.member);
            }
        }
        expected.push_back("end");
        EXPECT_EQ(lines(veltest::readFile(outputs[i])), expected) << everyone[i].name;
    }
}

TEST_P(TheRolePolicy, KeepsSignalsForgedByAnyOtherUserAwayFromTheirListeners)
{
    const std::vector<Identity> everyone = identities();
    const Identity& application = everyone[2];
    const std::string go = mDir.file("go");
    veltest::ChildProcess listener;
    const std::string output = start(listener, application, probe({"listen", go}));
    ASSERT_TRUE(listening(output));

    for (std::size_t i = 1; i < everyone.size(); ++i) {
        EXPECT_EQ(run(everyone[i], probe({"emit", "forged-device"})), "emitted\n") << everyone[i].name;
    }
    ASSERT_TRUE(emitFromService(everySignal()[2]));
    std::ofstream(go) << "go\n";
    ASSERT_GE(listener.waitExit(30s), 0);
    EXPECT_EQ(lines(veltest::readFile(output)), (std::vector<std::string>{"listening", "received noticeToApp", "end"}));
}

INSTANTIATE_TEST_SUITE_P(OnTheStockSystemBus, TheRolePolicy,
                         ::testing::Values(veltest::SystemBusKind::DbusDaemon, veltest::SystemBusKind::DbusBroker),
                         busName);

} // namespace

} // namespace policytest
