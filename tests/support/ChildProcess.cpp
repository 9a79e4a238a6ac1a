// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "ChildProcess.h"
#include "TimeScale.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

extern char** environ;

namespace veltest {

ChildProcess::~ChildProcess()
{
    stop();
}

bool ChildProcess::start(const std::vector<std::string>& argv, const std::string& outputPath)
{
    if (argv.empty() || mPid > 0) {
        return false;
    }
    std::vector<char*> args;
    for (const auto& arg : argv) {
        args.push_back(const_cast<char*>(arg.c_str()));
    }
    args.push_back(nullptr);

    // posix_spawn rather than fork: the test process runs library threads.
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (!outputPath.empty()) {
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outputPath.c_str(), O_WRONLY | O_CREAT | O_APPEND,
                                         0644);
        posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    }
    pid_t pid = -1;
    const int rc = posix_spawn(&pid, args[0], &actions, nullptr, args.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (rc != 0) {
        return false;
    }
    mPid = pid;
    mStatus = -1;
    return true;
}

bool ChildProcess::running()
{
    if (mPid <= 0) {
        return false;
    }
    int status = 0;
    const pid_t rc = waitpid(mPid, &status, WNOHANG);
    if (rc == mPid) {
        mStatus = status;
        mPid = -1;
        return false;
    }
    return rc == 0;
}

void ChildProcess::signal(int signo)
{
    if (mPid > 0) {
        ::kill(mPid, signo);
    }
}

int ChildProcess::waitExit(std::chrono::milliseconds timeout)
{
    const auto deadline = std::chrono::steady_clock::now() + veltest::scaled(timeout);
    while (running()) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return -1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return mStatus;
}

int ChildProcess::stop(std::chrono::milliseconds grace)
{
    if (mPid <= 0) {
        return mStatus;
    }
    ::kill(mPid, SIGTERM);
    if (waitExit(grace) == -1 && mPid > 0) {
        kill9();
    }
    return mStatus;
}

void ChildProcess::kill9()
{
    if (mPid <= 0) {
        return;
    }
    ::kill(mPid, SIGKILL);
    int status = 0;
    if (waitpid(mPid, &status, 0) == mPid) {
        mStatus = status;
    }
    mPid = -1;
}

std::string readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

TempDir::TempDir()
{
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/veltest-XXXXXX";
    if (mkdtemp(&pattern[0]) != nullptr) {
        mPath = pattern;
    }
}

TempDir::~TempDir()
{
    if (!mPath.empty()) {
        std::error_code ignored;
        std::filesystem::remove_all(mPath, ignored);
    }
}

} // namespace veltest
