// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "SoakClient.h"

#include <dirent.h>
#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <mutex>

namespace {

std::mutex gOutput;

int countFds()
{
    DIR* directory = opendir("/proc/self/fd");
    if (directory == nullptr) {
        return -1;
    }
    int count = 0;
    while (const dirent* entry = readdir(directory)) {
        if (entry->d_name[0] != '.') {
            ++count;
        }
    }
    closedir(directory);
    // The directory stream's own descriptor is not the client's.
    return count - 1;
}

long statusField(const std::string& name)
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.compare(0, name.size() + 1, name + ":") == 0) {
            return std::stol(line.substr(name.size() + 1));
        }
    }
    return -1;
}

// Threads of GLib's worker pool come and go with its work (an idle one
// ends after a while); they are counted apart from the others.
int countPoolThreads()
{
    DIR* directory = opendir("/proc/self/task");
    if (directory == nullptr) {
        return -1;
    }
    int count = 0;
    while (const dirent* entry = readdir(directory)) {
        if (entry->d_name[0] == '.') {
            continue;
        }
        std::ifstream comm(std::string("/proc/self/task/") + entry->d_name + "/comm");
        std::string name;
        std::getline(comm, name);
        // GLib's pool workers: "pool" (or "pool-<program>") up to GLib 2.74,
        // "pool-<n>" in later ones (Debian 13). "pool-spawner" is the pool's
        // one lasting helper, not a worker.
        const bool worker = name == "pool" || (name.rfind("pool-", 0) == 0 && name != "pool-spawner");
        count += worker ? 1 : 0;
    }
    closedir(directory);
    return count;
}

int countTimers()
{
    std::ifstream timers("/proc/self/timers");
    std::string line;
    int count = 0;
    while (std::getline(timers, line)) {
        if (line.compare(0, 3, "ID:") == 0) {
            ++count;
        }
    }
    return count;
}

} // namespace

// Library lines of warning level and above go to stdout; the rest is
// dropped, so that a thousand restarts keep the output small.
// The library's own report of the service's name going and coming is
// printed too, for clients that have no callback to tell them.
extern "C" void vw_log_print(const char*, const char*, int, int severity, int, int, const char* format, ...)
{
    char text[1024];
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof(text), format, args);
    va_end(args);
    if (std::strstr(text, "[agentCallback] D-Bus service name is vanished.") != nullptr) {
        soak::say("vanished");
    } else if (std::strstr(text, "[agentCallback] D-Bus service name is appeared.") != nullptr) {
        soak::say("appeared");
    }
    if (severity >= 0xA0) {
        soak::say("log %#x %s", severity, text);
    }
}

namespace soak {

void say(const char* format, ...)
{
    std::lock_guard<std::mutex> lock(gOutput);
    va_list args;
    va_start(args, format);
    std::vprintf(format, args);
    va_end(args);
    std::putchar('\n');
    std::fflush(stdout);
}

void sayStats()
{
    const int pool = countPoolThreads();
    // Bytes the allocator has handed out and not got back: unlike resident
    // memory, free memory kept by the allocator does not count.
#if __GLIBC__ > 2 || (__GLIBC__ == 2 && __GLIBC_MINOR__ >= 33)
    const struct mallinfo2 heap = mallinfo2();
    const size_t heapBytes = heap.uordblks + heap.hblkhd;
#else
    // glibc before 2.33 (Debian 11) has only mallinfo, whose int fields are
    // plenty for one soak client's heap.
    const struct mallinfo heap = mallinfo();
    const size_t heapBytes = static_cast<size_t>(heap.uordblks) + static_cast<size_t>(heap.hblkhd);
#endif
    say("stats fds=%d threads=%ld pool_threads=%d rss_kb=%ld heap_bytes=%zu timers=%d", countFds(),
        statusField("Threads") - pool, pool, statusField("VmRSS"), heapBytes, countTimers());
}

long long nowMs()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<long long>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

int runCommands(const char* fifoPath, const std::map<std::string, std::function<void()>>& handlers)
{
    // Opened for writing too, so that a driver closing its end is no EOF.
    const int fd = open(fifoPath, O_RDWR | O_CLOEXEC);
    if (fd < 0) {
        say("error cannot open %s", fifoPath);
        return 1;
    }
    std::string pending;
    char buffer[256];
    for (;;) {
        const ssize_t length = read(fd, buffer, sizeof(buffer));
        if (length <= 0) {
            close(fd);
            return 1;
        }
        pending.append(buffer, static_cast<size_t>(length));
        for (size_t end; (end = pending.find('\n')) != std::string::npos;) {
            const std::string command = pending.substr(0, end);
            pending.erase(0, end + 1);
            if (command == "quit") {
                close(fd);
                return 0;
            }
            if (command == "stats") {
                sayStats();
                continue;
            }
            const auto handler = handlers.find(command);
            if (handler != handlers.end()) {
                handler->second();
            } else {
                say("error unknown command %s", command.c_str());
            }
        }
    }
}

} // namespace soak
