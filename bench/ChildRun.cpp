#include "ChildRun.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
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

} // namespace

ChildResult runChild(const std::vector<std::string>& argv, int timeoutMs, bool discardStderr)
{
    ChildResult result;
    int pipeFds[2];
    if (pipe2(pipeFds, O_CLOEXEC) != 0) {
        std::perror("vel-bench: pipe2");
        return result;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDOUT_FILENO);
    if (discardStderr) {
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    }
    std::vector<char*> args;
    for (const std::string& arg : argv) {
        args.push_back(const_cast<char*>(arg.c_str()));
    }
    args.push_back(nullptr);

    pid_t pid = -1;
    const int spawned = posix_spawn(&pid, args[0], &actions, nullptr, args.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(pipeFds[1]);
    if (spawned != 0) {
        std::fprintf(stderr, "vel-bench: cannot start %s: errno %d\n", args[0], spawned);
        close(pipeFds[0]);
        return result;
    }

    const std::uint64_t deadline = nowNs() + static_cast<std::uint64_t>(timeoutMs) * 1000000ull;
    bool timedOut = false;
    char buffer[4096];
    for (;;) {
        const std::uint64_t now = nowNs();
        if (now >= deadline) {
            timedOut = true;
            break;
        }
        struct pollfd readable = {pipeFds[0], POLLIN, 0};
        const int leftMs = static_cast<int>((deadline - now) / 1000000ull) + 1;
        const int ready = poll(&readable, 1, leftMs);
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        if (ready <= 0) {
            continue;
        }
        const ssize_t got = read(pipeFds[0], buffer, sizeof(buffer));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            break;
        }
        result.output.append(buffer, static_cast<std::size_t>(got));
    }
    close(pipeFds[0]);
    if (timedOut) {
        std::fprintf(stderr, "vel-bench: %s did not finish within %d ms; stopping PID %d\n", args[0], timeoutMs,
                     static_cast<int>(pid));
        kill(pid, SIGKILL);
    }
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    result.finished = !timedOut && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    if (!result.finished && !timedOut) {
        std::fprintf(stderr, "vel-bench: %s ended with status 0x%x\n", args[0], static_cast<unsigned>(status));
    }
    result.values = parseValues(result.output);
    return result;
}

} // namespace velbench
