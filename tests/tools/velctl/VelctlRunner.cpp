// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "VelctlRunner.h"

#include <sys/wait.h>

#include <sstream>

#include "WaitUntil.h"

namespace velctltest {

namespace {

// velctl's stderr goes to a file of its own through a shell that then execs
// velctl, so the PID stays velctl's.
std::vector<std::string> commandLine(const std::string& errPath, const std::vector<std::string>& arguments)
{
    std::vector<std::string> argv{"/bin/sh", "-c", "exec \"$@\" 2>\"$VELCTL_ERR\"", "sh", VELCTL_PATH};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    ::setenv("VELCTL_ERR", errPath.c_str(), 1);
    return argv;
}

} // namespace

VelctlRun runVelctl(const std::vector<std::string>& arguments, std::chrono::milliseconds bound)
{
    veltest::TempDir dir;
    veltest::ChildProcess process;
    VelctlRun run;
    if (!process.start(commandLine(dir.file("err"), arguments), dir.file("out"))) {
        return run;
    }
    const int waitStatus = process.waitExit(bound);
    if (waitStatus != -1 && WIFEXITED(waitStatus)) {
        run.status = WEXITSTATUS(waitStatus);
    }
    run.out = veltest::readFile(dir.file("out"));
    run.err = veltest::readFile(dir.file("err"));
    return run;
}

RunningVelctl::RunningVelctl(const std::vector<std::string>& arguments)
{
    mProcess.start(commandLine(mDir.file("err"), arguments), mDir.file("out"));
}

std::string RunningVelctl::out() const
{
    return veltest::readFile(mDir.file("out"));
}

std::string RunningVelctl::err() const
{
    return veltest::readFile(mDir.file("err"));
}

bool RunningVelctl::waitForOut(const std::string& fragment, std::chrono::milliseconds timeout) const
{
    return veltest::waitUntil([&] { return out().find(fragment) != std::string::npos; }, timeout);
}

std::vector<std::string> linesOf(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

} // namespace velctltest
