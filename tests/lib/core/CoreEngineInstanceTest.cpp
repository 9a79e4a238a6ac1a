// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "CoreEngineFixture.h"
#include "LogCapture.h"
#include "vel/VelComProxyCoreEngine.h"

using namespace coretest;
using veltest::LogCapture;

namespace {

int gLogPipe = -1;

// Runs at the child's exit(0): hands every captured line to the parent.
void writeCapturedLinesToParent()
{
    for (const veltest::LogLine& line : LogCapture::lines()) {
        const std::string record = std::to_string(line.severity) + " " + line.text + "\n";
        ssize_t ignored = ::write(gLogPipe, record.data(), record.size());
        (void)ignored;
    }
    ::close(gLogPipe);
}

std::string readAll(int fd)
{
    std::string text;
    char buffer[4096];
    for (ssize_t got; (got = ::read(fd, buffer, sizeof(buffer))) > 0;) {
        text.append(buffer, static_cast<std::size_t>(got));
    }
    return text;
}

} // namespace

TEST(ACoreEngineFacade, EndsTheProcessWithStatusZeroForClientType199)
{
    int fds[2];
    ASSERT_EQ(::pipe(fds), 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        ::close(fds[0]);
        gLogPipe = fds[1];
        std::atexit(writeCapturedLinesToParent);
        LogCapture::clear();
        VelComProxyCoreEngine::getInstance(static_cast<CLIENT_TYPE_e>(199), "coretest", nullptr);
        // Reached only if the facade let the process run on.
        ::_exit(42);
    }
    ::close(fds[1]);
    const std::string childLog = readAll(fds[0]);
    ::close(fds[0]);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_NE(childLog.find("192 [VELLIBCORE][getInstance] @@@ ERR. mpInstance is nullptr! exit(0)!\n"),
              std::string::npos)
        << childLog;
    EXPECT_NE(childLog.find("128 [VELLIBCORE][getInstance] mClientType:199, mClientName:coretest\n"),
              std::string::npos)
        << childLog;
}

TEST(ACoreEngineFacade, KeepsOneInstancePerClientTypeFrom200To203)
{
    VelComProxyCoreEngine* first200 = VelComProxyCoreEngine::getInstance(static_cast<CLIENT_TYPE_e>(200), "a", nullptr);
    VelComProxyCoreEngine* again200 =
        VelComProxyCoreEngine::getInstance(static_cast<CLIENT_TYPE_e>(200), "b", &processCallback());
    VelComProxyCoreEngine* of201 = VelComProxyCoreEngine::getInstance(static_cast<CLIENT_TYPE_e>(201), "a", nullptr);
    VelComProxyCoreEngine* of202 = VelComProxyCoreEngine::getInstance(static_cast<CLIENT_TYPE_e>(202), "a", nullptr);
    VelComProxyCoreEngine* of203 = VelComProxyCoreEngine::getInstance(static_cast<CLIENT_TYPE_e>(203), "a", nullptr);
    ASSERT_NE(first200, nullptr);
    EXPECT_EQ(first200, again200);
    EXPECT_NE(first200, of201);
    EXPECT_NE(of201, of202);
    EXPECT_NE(of202, of203);
    EXPECT_NE(first200, of203);
}

TEST(ACoreEngineFacade, ReturnsNullFromTheWorkerForATypeOutsideItsRange)
{
    EXPECT_EQ(VelComProxyCoreEngine::getInstance_l(static_cast<CLIENT_TYPE_e>(204), "a", nullptr), nullptr);
    EXPECT_EQ(VelComProxyCoreEngine::getInstance_l(static_cast<CLIENT_TYPE_e>(100), "a", nullptr), nullptr);
}

TEST(ACoreEngineFacade, LogsTheClientTypeAndNameOnEveryGetInstance)
{
    LogCapture::clear();
    VelComProxyCoreEngine::getInstance(static_cast<CLIENT_TYPE_e>(202), "first", nullptr);
    VelComProxyCoreEngine::getInstance(static_cast<CLIENT_TYPE_e>(202), "second", nullptr);
    EXPECT_TRUE(LogCapture::hasExact("[VELLIBCORE][getInstance] mClientType:202, mClientName:first",
                                     veltest::kSeverityInfo));
    EXPECT_TRUE(LogCapture::hasExact("[VELLIBCORE][getInstance] mClientType:202, mClientName:second",
                                     veltest::kSeverityInfo));
}

TEST(ACoreEngineFacade, RefusesToSubscribeWithoutABusConnection)
{
    VelComProxyCoreEngine* core = VelComProxyCoreEngine::getInstance(static_cast<CLIENT_TYPE_e>(200), "a", nullptr);
    LogCapture::clear();
    EXPECT_FALSE(core->subscribe());
    EXPECT_TRUE(LogCapture::hasExact("[VELLIBCORE][subscribe][VELLIBCORE] @@@ ERR. Connection is null!",
                                     veltest::kSeverityError));
}

TEST(ACoreEngineFacade, ReleasesNothingOnDoRelease)
{
    VelComProxyCoreEngine* core = VelComProxyCoreEngine::getInstance(static_cast<CLIENT_TYPE_e>(200), "a", nullptr);
    EXPECT_TRUE(core->doRelease());
    EXPECT_TRUE(core->doRelease());
}

TEST(ACoreEngineFacade, SendsNothingAndReturnsFalseBeforeTheServiceIsConnected)
{
    VelComProxyCoreEngine* core = VelComProxyCoreEngine::getInstance(static_cast<CLIENT_TYPE_e>(200), "a", nullptr);
    LogCapture::clear();
    EXPECT_FALSE(core->responseConnectDone(static_cast<ORNA_RESULT_e>(0), "1", static_cast<TECHNOLOGY_e>(4), ""));
    EXPECT_FALSE(core->sendReqUserSwitch(static_cast<CLIENT_TYPE_e>(200), "1", true));
    std::string mac;
    EXPECT_FALSE(core->sendReqGetHUBTMacAddressSync(static_cast<CLIENT_TYPE_e>(200), COREREQ_GET_HU_BT_MAC, mac));
    EXPECT_EQ(LogCapture::count("@@@ ERR. (mProxy != 0) is false !", veltest::kSeverityError), 3u);
}

TEST_F(ACoreEngineWithService, KeepsSignalsFlowingAfterDoRelease)
{
    VelComProxyCoreEngine* core = connectCore(&processCallback());
    EXPECT_TRUE(core->doRelease());
    ASSERT_TRUE(control("EmitNoticeToCoreLinkLoss", g_variant_new("(s)", "10.0.0.7")));
    EXPECT_TRUE(processCallback().waitForCall("onRcvInfoLinkLoss(10.0.0.7)", kBusWait));
}

TEST_F(ACoreEngineWithService, DeliversEachSignalOnceAfterTheServiceRestarts)
{
    connectCore(&processCallback());
    mSim.stop();
    ASSERT_TRUE(processCallback().waitForCall("onRcvMVELReady(false)", kBusWait));
    ASSERT_TRUE(mSim.start());
    // The name watch brings the facade back and it registers again.
    ASSERT_TRUE(processCallback().waitForCall("onRcvMVELReady(true)", kBusWait, 2));
    // The simulator's log file is kept across the restart.
    ASSERT_TRUE(mSim.waitForLog("registerMe type=200", kBusWait, 2));

    ASSERT_TRUE(control("EmitCoreRequestDone", g_variant_new("(uus)", 2u, 0u, "first")));
    ASSERT_TRUE(control("EmitCoreRequestDone", g_variant_new("(uus)", 3u, 0u, "marker")));
    // Signals reach the facade in order, so a duplicate of the first would be
    // in by the time the marker is.
    ASSERT_TRUE(processCallback().waitForCall("onRcvReqDone(3, 0, marker)", kBusWait));
    EXPECT_EQ(processCallback().count("onRcvReqDone(2, 0, first)"), 1u);
    EXPECT_EQ(processCallback().count("onRcvReqDone(3, 0, marker)"), 1u);
}
