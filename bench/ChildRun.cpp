// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "ChildRun.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <sstream>

#include "BenchClock.h"

extern char** environ;

namespace velbench {

namespace {

std::map<std::string, double> parseValues(const std::string& output)
{
    std::map<std::string, double> values;
    std::istringstream lines(output);
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream fields(line);
        std::string key;
        double value = 0.0;
        if (fields >> key >> value) {
            values[key] = value;
        }
    }
    return values;
}

std::uint64_t deadlineAfter(int timeoutMs)
{
    return nowNs() + static_cast<std::uint64_t>(timeoutMs) * 1000000ull;
}

} // namespace

ChildRun::ChildRun(const std::vector<std::string>& argv, bool discardStderr, bool feedInput)
    : mName(argv.empty() ? std::string() : argv[0])
{
    int pipeFds[2];
    if (argv.empty() || pipe2(pipeFds, O_CLOEXEC) != 0) {
        std::perror("vel-bench: pipe2");
        return;
    }
    // Close-on-exec on both ends: a child started later must not hold this
    // child's input open, or its end would never come.
    int inputFds[2] = {-1, -1};
    if (feedInput && pipe2(inputFds, O_CLOEXEC) != 0) {
        std::perror("vel-bench: pipe2");
        close(pipeFds[0]);
        close(pipeFds[1]);
        return;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDOUT_FILENO);
    if (feedInput) {
        posix_spawn_file_actions_adddup2(&actions, inputFds[0], STDIN_FILENO);
    }
    if (discardStderr) {
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    }
    std::vector<char*> args;
    for (const std::string& arg : argv) {
        args.push_back(const_cast<char*>(arg.c_str()));
    }
    args.push_back(nullptr);
    const int spawned = posix_spawn(&mPid, args[0], &actions, nullptr, args.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(pipeFds[1]);
    if (feedInput) {
        close(inputFds[0]);
        mInput = inputFds[1];
    }
    if (spawned != 0) {
        std::fprintf(stderr, "vel-bench: cannot start %s: errno %d\n", args[0], spawned);
        close(pipeFds[0]);
        closeInput();
        mPid = -1;
        return;
    }
    mOutput = pipeFds[0];
}

ChildRun::~ChildRun()
{
    closeInput();
    if (started() && !mReaped) {
        finish(0);
    }
}

bool ChildRun::started() const
{
    return mPid > 0;
}

pid_t ChildRun::pid() const
{
    return mPid;
}

void ChildRun::closeInput()
{
    if (mInput >= 0) {
        close(mInput);
        mInput = -1;
    }
}

bool ChildRun::readSome(std::uint64_t deadlineNs)
{
    while (mOutput >= 0) {
        const std::uint64_t now = nowNs();
        if (now >= deadlineNs) {
            return false;
        }
        struct pollfd readable = {mOutput, POLLIN, 0};
        const int ready = poll(&readable, 1, static_cast<int>((deadlineNs - now) / 1000000ull) + 1);
        if (ready <= 0) {
            continue;
        }
        char buffer[4096];
        const ssize_t got = read(mOutput, buffer, sizeof(buffer));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            close(mOutput);
            mOutput = -1;
            return false;
        }
        mBuffer.append(buffer, static_cast<std::size_t>(got));
        return true;
    }
    return false;
}

bool ChildRun::waitForLine(const std::string& line, int timeoutMs)
{
    const std::uint64_t deadline = deadlineAfter(timeoutMs);
    for (;;) {
        std::size_t end;
        while ((end = mBuffer.find('\n', mScanned)) != std::string::npos) {
            const bool found = mBuffer.compare(mScanned, end - mScanned, line) == 0;
            mScanned = end + 1;
            if (found) {
                return true;
            }
        }
        if (!readSome(deadline)) {
            return false;
        }
    }
}

ChildResult ChildRun::finish(int timeoutMs)
{
    ChildResult result;
    // A child being finished is given nothing more to wait for.
    closeInput();
    if (!started() || mReaped) {
        return result;
    }
    const std::uint64_t deadline = deadlineAfter(timeoutMs);
    while (readSome(deadline)) {
    }
    const bool timedOut = mOutput >= 0;
    if (timedOut) {
        std::fprintf(stderr, "vel-bench: %s did not finish in time; stopping PID %d\n", mName.c_str(),
                     static_cast<int>(mPid));
        kill(mPid, SIGKILL);
        close(mOutput);
        mOutput = -1;
    }
    int status = 0;
    while (waitpid(mPid, &status, 0) < 0 && errno == EINTR) {
    }
    mReaped = true;
    result.finished = !timedOut && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    if (!result.finished && !timedOut) {
        std::fprintf(stderr, "vel-bench: %s ended with status 0x%x\n", mName.c_str(), static_cast<unsigned>(status));
    }
    result.output = mBuffer;
    result.values = parseValues(mBuffer);
    return result;
}

ChildResult runChild(const std::vector<std::string>& argv, int timeoutMs, bool discardStderr)
{
    ChildRun child(argv, discardStderr);
    return child.finish(timeoutMs);
}

} // namespace velbench
