// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include <cstdlib>

#include "PrivateBus.h"
#include "VelctlRunner.h"

using namespace velctltest;

namespace {

// An error is one line on stderr starting with "velctl: ", and nothing on stdout.
void expectOneErrorLine(const VelctlRun& run, int status, const std::string& text)
{
    EXPECT_EQ(run.status, status);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "velctl: " + text + "\n");
}

} // namespace

TEST(Velctl, ExplainsEveryKindAndTheExitStatusesWithHelp)
{
    const VelctlRun run = runVelctl({"--help"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    for (const char* text : {"Usage: velctl [OPTIONS] <kind> <command> [ARGUMENTS]", "app ", "core ", "controller ",
                             "--verbose", "--timeout", "--client-type", "Exit status:", "3  the service was not",
                             "--log=WHERE"}) {
        EXPECT_NE(run.out.find(text), std::string::npos) << text;
    }
}

TEST(Velctl, ExplainsEveryApplicationCommand)
{
    const VelctlRun run = runVelctl({"app", "--help"});
    EXPECT_EQ(run.status, 0);
    for (const char* text : {"connect <deviceId> <technology> [deviceIdToReplace]", "disconnect <deviceId> <technology>",
                             "paired <deviceId>", "max-paired", "watch"}) {
        EXPECT_NE(run.out.find(text), std::string::npos) << text;
    }
}

TEST(Velctl, ExplainsEveryCoreEngineCommand)
{
    const VelctlRun run = runVelctl({"core", "-h"});
    EXPECT_EQ(run.status, 0);
    for (const char* text : {"device-id <technology> [macAddress]", "wifi-credentials", "bt-mac"}) {
        EXPECT_NE(run.out.find(text), std::string::npos) << text;
    }
}

TEST(Velctl, ExplainsTheControllerCommand)
{
    const VelctlRun run = runVelctl({"controller", "--help"});
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.out.find("mode <mode> <technology> <item>"), std::string::npos);
}

TEST(Velctl, RefusesAMissingKindWithOneLine)
{
    expectOneErrorLine(runVelctl({}), 2, "no kind given: app, core or controller (see velctl --help)");
}

TEST(Velctl, RefusesAnUnknownKind)
{
    expectOneErrorLine(runVelctl({"phone", "call"}), 2, "unknown kind 'phone' (app, core or controller)");
}

TEST(Velctl, RefusesAKindWithoutCommand)
{
    expectOneErrorLine(runVelctl({"core"}), 2, "no command given for core (see velctl core --help)");
}

TEST(Velctl, RefusesUnknownCommands)
{
    expectOneErrorLine(runVelctl({"app", "pair"}), 2, "unknown app command 'pair' (see velctl app --help)");
    expectOneErrorLine(runVelctl({"core", "mac"}), 2, "unknown core command 'mac' (see velctl core --help)");
    expectOneErrorLine(runVelctl({"controller", "set"}), 2,
                       "unknown controller command 'set' (see velctl controller --help)");
}

TEST(Velctl, RefusesAnUnknownOption)
{
    expectOneErrorLine(runVelctl({"--fast", "core", "bt-mac"}), 2, "unknown option --fast (see velctl --help)");
}

TEST(Velctl, RefusesAnInvalidTimeout)
{
    expectOneErrorLine(runVelctl({"--timeout=0", "core", "bt-mac"}), 2,
                       "invalid timeout '0' (seconds, 1 to 3600) (see velctl --help)");
    expectOneErrorLine(runVelctl({"-t", "ten", "core", "bt-mac"}), 2,
                       "invalid timeout 'ten' (seconds, 1 to 3600) (see velctl --help)");
    expectOneErrorLine(runVelctl({"core", "bt-mac", "-t"}), 2,
                       "option -t needs a number of seconds (see velctl --help)");
}

TEST(Velctl, RefusesAnUnknownLogDestination)
{
    expectOneErrorLine(runVelctl({"--log=syslog", "core", "bt-mac"}), 2,
                       "invalid log destination 'syslog' (stderr, dlt or quiet) (see velctl --help)");
    expectOneErrorLine(runVelctl({"core", "bt-mac", "--log"}), 2,
                       "option --log needs stderr, dlt or quiet (see velctl --help)");
}

TEST(Velctl, RefusesBadNumbersAndArgumentCountsBeforeTouchingTheBus)
{
    // No bus is reachable here: these fail on the arguments alone.
    ::setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/velctl-test-bus", 1);
    expectOneErrorLine(runVelctl({"core", "device-id", "four"}), 2, "invalid technology 'four' (an unsigned number)");
    expectOneErrorLine(runVelctl({"core", "device-id", "-4"}), 2, "unknown option -4 (see velctl --help)");
    expectOneErrorLine(runVelctl({"core", "device-id", "--", "-4"}), 2,
                       "invalid technology '-4' (an unsigned number)");
    expectOneErrorLine(runVelctl({"core", "device-id", "3"}), 2,
                       "technology 3 has no device id query without a MAC address (4, 5, 6, 7, 14 or 15)");
    expectOneErrorLine(runVelctl({"core", "device-id"}), 2,
                       "wrong number of arguments for 'core device-id' (see velctl core --help)");
    expectOneErrorLine(runVelctl({"core", "bt-mac", "extra"}), 2,
                       "wrong number of arguments for 'core bt-mac' (see velctl core --help)");
    expectOneErrorLine(runVelctl({"controller", "mode", "1", "4"}), 2,
                       "'controller mode' takes <mode> <technology> <item> (see velctl controller --help)");
    expectOneErrorLine(runVelctl({"controller", "mode", "1", "4", "4294967296"}), 2,
                       "invalid item '4294967296' (an unsigned number)");
    expectOneErrorLine(runVelctl({"app", "connect", "123"}), 2,
                       "wrong number of arguments for 'app connect' (see velctl app --help)");
    expectOneErrorLine(runVelctl({"app", "disconnect", "123", "x"}), 2,
                       "invalid technology 'x' (an unsigned number)");
}

TEST(Velctl, RefusesAClientKindOutsideTheKindsRange)
{
    ::setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/velctl-test-bus", 1);
    expectOneErrorLine(runVelctl({"-c", "199", "core", "bt-mac"}), 2,
                       "client kind 199 is not a core engine kind (200 to 203)");
    expectOneErrorLine(runVelctl({"--client-type=200", "app", "max-paired"}), 2,
                       "client kind 200 is not an application kind (100 to 105)");
    expectOneErrorLine(runVelctl({"-c", "401", "controller", "mode", "1", "2", "3"}), 2,
                       "the controller is always client kind 400");
}

TEST(Velctl, GivesUpWhenNoBusIsReachable)
{
    ::setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/velctl-test-bus", 1);
    expectOneErrorLine(runVelctl({"-t", "1", "core", "bt-mac"}), 3,
                       "service com.qor.vel_communicator not reachable within 1 s");
}

TEST(Velctl, GivesUpWhenTheServiceIsNotOnTheBus)
{
    veltest::PrivateBus bus;
    ASSERT_TRUE(bus.start());
    expectOneErrorLine(runVelctl({"--timeout=1", "core", "wifi-credentials"}), 3,
                       "service com.qor.vel_communicator not reachable within 1 s");
    expectOneErrorLine(runVelctl({"--timeout=1", "controller", "mode", "1", "4", "2"}), 3,
                       "service com.qor.vel_communicator not reachable within 1 s");
}
