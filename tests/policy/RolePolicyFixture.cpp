// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "RolePolicyFixture.h"

#include <sys/stat.h>
#include <sys/wait.h>

#include "InterfaceMembers.h"

namespace policytest {

namespace {

std::set<std::string> everyMethodName()
{
    std::set<std::string> names;
    for (const auto& method : everyMethod()) {
        names.insert(printedName(method));
    }
    return names;
}

std::set<std::string> everySignalName()
{
    std::set<std::string> names;
    for (const auto& signal : everySignal()) {
        names.insert(signal.member);
    }
    return names;
}

} // namespace

std::vector<Identity> identities()
{
    const std::string getAll = "org.freedesktop.DBus.Properties.GetAll";
    return {
        {"root", {}, everyMethodName(), everySignalName()},
        {"nobody", veltest::asNobody(), {}, {}},
        {"a user of vel-app",
         veltest::asMemberOf("vel-app"),
         {"registerMe", getAll, "actionFromApp", "informFromApp"},
         {"appRequestDone", "checkFuncOpModeDone", "noticeToApp", "noticeTechActiveInfo"}},
        {"a user of vel-core",
         veltest::asMemberOf("vel-core"),
         {"registerMe", getAll, "informFromCore", "actionFromCore"},
         {"noticeToCore", "actionToCore", "actionToCoreWireless", "checkCapability", "coreRequestDone",
          "noticeToCoreLinkLoss"}},
        {"a user of vel-controller",
         veltest::asMemberOf("vel-controller"),
         {"registerMe", getAll, "sendControlMode"},
         {}},
    };
}

std::vector<std::string> lines(const std::string& text)
{
    std::vector<std::string> result;
    std::size_t start = 0;
    while (start < text.size()) {
        const std::size_t end = text.find('\n', start);
        result.push_back(text.substr(start, end - start));
        start = end == std::string::npos ? text.size() : end + 1;
    }
    return result;
}

void RolePolicyFixture::SetUp()
{
    // Probes run as other users and look for their go file here.
    chmod(mDir.path().c_str(), 0755);
    std::string why;
    ASSERT_TRUE(mBus.start(why)) << "cannot run the policy test on " << veltest::busKindName(GetParam()) << ": "
                                 << why;
    ASSERT_TRUE(mService.start()) << "the simulator did not take its name on " << veltest::busKindName(GetParam());
}

void RolePolicyFixture::TearDown()
{
    if (HasFailure()) {
        std::printf("bus log:\n%s\n", mBus.log().c_str());
    }
    mService.stop();
}

std::string RolePolicyFixture::start(veltest::ChildProcess& process, const Identity& identity,
                                     const std::vector<std::string>& argv)
{
    std::vector<std::string> command = identity.wrapper;
    command.insert(command.end(), argv.begin(), argv.end());
    const std::string output = mDir.file("output-" + std::to_string(mOutputs++));
    EXPECT_TRUE(process.start(command, output)) << identity.name;
    return output;
}

std::string RolePolicyFixture::run(const Identity& identity, const std::vector<std::string>& argv, int* status)
{
    veltest::ChildProcess process;
    const std::string output = start(process, identity, argv);
    const int waited = process.waitExit(std::chrono::seconds(60));
    if (status != nullptr) {
        *status = waited >= 0 && WIFEXITED(waited) ? WEXITSTATUS(waited) : -1;
    }
    return waited >= 0 ? veltest::readFile(output) : identity.name + " did not finish";
}

std::string busName(const ::testing::TestParamInfo<veltest::SystemBusKind>& info)
{
    return info.param == veltest::SystemBusKind::DbusDaemon ? "DbusDaemon" : "DbusBroker";
}

} // namespace policytest
