// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "ProcStatus.h"

#include <dirent.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

namespace velbench {

namespace {

std::uint64_t switchesOf(const std::string& statusPath)
{
    std::ifstream status(statusPath);
    std::string line;
    std::uint64_t total = 0;
    while (std::getline(status, line)) {
        if (line.rfind("voluntary_ctxt_switches:", 0) == 0 || line.rfind("nonvoluntary_ctxt_switches:", 0) == 0) {
            total += std::strtoull(line.c_str() + line.find(':') + 1, nullptr, 10);
        }
    }
    return total;
}

} // namespace

std::int64_t processCpuNsOf(int pid)
{
    std::ifstream statFile("/proc/" + std::to_string(pid) + "/stat");
    std::string stat;
    std::getline(statFile, stat);
    // The command name may hold spaces and parentheses; the fields after its
    // last ")" start with the state, field 3, so utime (14) is the 12th.
    const std::size_t nameEnd = stat.rfind(')');
    if (nameEnd == std::string::npos) {
        return -1;
    }
    std::istringstream fields(stat.substr(nameEnd + 1));
    std::string field;
    for (int index = 3; index < 14 && (fields >> field); ++index) {
    }
    unsigned long long utime = 0;
    unsigned long long stime = 0;
    if (!(fields >> utime >> stime)) {
        return -1;
    }
    const long ticksPerSecond = sysconf(_SC_CLK_TCK);
    return static_cast<std::int64_t>((utime + stime) * 1000000000ull / static_cast<unsigned long long>(ticksPerSecond));
}

long statusKiB(const char* field)
{
    std::ifstream status("/proc/self/status");
    std::string line;
    const std::string prefix = std::string(field) + ":";
    while (std::getline(status, line)) {
        if (line.rfind(prefix, 0) == 0) {
            return std::strtol(line.c_str() + prefix.size(), nullptr, 10);
        }
    }
    return -1;
}

std::map<int, std::uint64_t> contextSwitchesOfOtherThreads()
{
    std::map<int, std::uint64_t> switches;
    const int self = static_cast<int>(syscall(SYS_gettid));
    DIR* tasks = opendir("/proc/self/task");
    if (tasks == nullptr) {
        return switches;
    }
    while (struct dirent* entry = readdir(tasks)) {
        if (entry->d_name[0] < '0' || entry->d_name[0] > '9') {
            continue;
        }
        const int tid = std::atoi(entry->d_name);
        if (tid == self) {
            continue;
        }
        switches[tid] = switchesOf(std::string("/proc/self/task/") + entry->d_name + "/status");
    }
    closedir(tasks);
    return switches;
}

std::string threadName(int tid)
{
    std::ifstream comm("/proc/self/task/" + std::to_string(tid) + "/comm");
    std::string name;
    std::getline(comm, name);
    return name;
}

} // namespace velbench
