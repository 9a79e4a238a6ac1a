// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "StockSystemBus.h"

#include <fcntl.h>
#include <gio/gio.h>
#include <grp.h>
#include <pwd.h>
#include <poll.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>
#include <vector>

#include "PrivateBus.h"
#include "WaitUntil.h"

extern char** environ;

namespace veltest {

namespace {

constexpr const char* kStockConfiguration = "/usr/share/dbus-1/system.conf";
constexpr const char* kDaemon = "/usr/bin/dbus-daemon";
constexpr const char* kBrokerLauncher = "/usr/bin/dbus-broker-launch";
constexpr const char* kJournalDirectory = "/run/systemd/journal";
constexpr const char* kJournalSocket = "/run/systemd/journal/socket";
const char* const kRoleGroups[] = {"vel-app", "vel-core", "vel-controller"};

std::string mountNamespace(const char* process)
{
    char target[128] = {};
    const std::string link = std::string("/proc/") + process + "/ns/mnt";
    const ssize_t length = readlink(link.c_str(), target, sizeof target - 1);
    return length > 0 ? std::string(target, static_cast<std::size_t>(length)) : std::string();
}

bool replaceOnce(std::string& text, const std::string& from, const std::string& to)
{
    const std::size_t at = text.find(from);
    if (at == std::string::npos) {
        return false;
    }
    text.replace(at, from.size(), to);
    return true;
}

bool writeFile(const std::string& path, const std::string& content)
{
    std::ofstream out(path, std::ios::trunc);
    out << content;
    return static_cast<bool>(out.flush());
}

// An id below the system's dynamic range that neither the group nor the user
// database has, and that this test has not taken yet.
unsigned freeId(const std::vector<unsigned>& taken)
{
    for (unsigned candidate = 64990; candidate > 60000; --candidate) {
        bool used = getgrgid(candidate) != nullptr || getpwuid(candidate) != nullptr;
        for (unsigned id : taken) {
            used = used || id == candidate;
        }
        if (!used) {
            return candidate;
        }
    }
    return static_cast<unsigned>(-1);
}

// The user this test runs a role's processes as.
std::string roleUser(const std::string& group)
{
    return group + "-user";
}

// /etc/group with each role group listing its role user as a member; a group
// the machine lacks is added.
std::string groupsWithRoleUsers(std::vector<unsigned>& taken)
{
    std::string groups;
    std::vector<std::string> found;
    std::istringstream lines(readFile("/etc/group"));
    for (std::string line; std::getline(lines, line);) {
        for (const char* group : kRoleGroups) {
            if (line.rfind(std::string(group) + ":", 0) == 0) {
                line += (line.back() == ':' ? "" : ",") + roleUser(group);
                found.emplace_back(group);
            }
        }
        groups += line + "\n";
    }
    for (const char* group : kRoleGroups) {
        if (std::find(found.begin(), found.end(), group) == found.end()) {
            const unsigned id = freeId(taken);
            taken.push_back(id);
            groups += std::string(group) + ":x:" + std::to_string(id) + ":" + roleUser(group) + "\n";
        }
    }
    return groups;
}

int boundUnixSocket(int type, const std::string& path, std::string& why)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        why = "socket path too long: " + path;
        return -1;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    const int fd = socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        chmod(path.c_str(), 0666) != 0) {
        why = "cannot bind " + path + ": " + std::strerror(errno);
        if (fd >= 0) {
            close(fd);
        }
        return -1;
    }
    return fd;
}

// Writes the decimal digits of value into out (which holds at least 12
// characters); safe between fork and exec.
void formatPid(pid_t value, char* out)
{
    char digits[12];
    int count = 0;
    do {
        digits[count++] = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value > 0);
    for (int i = 0; i < count; ++i) {
        out[i] = digits[count - 1 - i];
    }
    out[count] = '\0';
}

std::vector<pid_t> childrenOf(pid_t parent)
{
    const std::string list = readFile("/proc/" + std::to_string(parent) + "/task/" + std::to_string(parent) +
                                      "/children");
    std::vector<pid_t> children;
    std::size_t at = 0;
    while (at < list.size()) {
        std::size_t used = 0;
        try {
            children.push_back(static_cast<pid_t>(std::stoi(list.substr(at), &used)));
        } catch (const std::exception&) {
            break;
        }
        at += used + 1;
    }
    return children;
}

// Waits for one of our own children (a direct one, or one handed to us as
// subreaper) to exit, killing it after the grace period.
void reap(pid_t pid, std::chrono::milliseconds grace)
{
    const auto deadline = std::chrono::steady_clock::now() + grace;
    while (waitpid(pid, nullptr, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() >= deadline) {
            kill(pid, SIGKILL);
            waitpid(pid, nullptr, 0);
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

} // namespace

const char* busKindName(SystemBusKind kind)
{
    return kind == SystemBusKind::DbusDaemon ? "dbus-daemon" : "dbus-broker";
}

StockSystemBus::StockSystemBus(SystemBusKind kind, std::string policyPath)
    : mKind(kind), mPolicyPath(std::move(policyPath))
{
}

StockSystemBus::~StockSystemBus()
{
    stop();
}

gid_t StockSystemBus::groupId(const std::string& group)
{
    const struct group* entry = getgrnam(group.c_str());
    return entry != nullptr ? entry->gr_gid : static_cast<gid_t>(-1);
}

bool StockSystemBus::start(std::string& why)
{
    if (geteuid() != 0) {
        why = "the stock system bus needs root: it drops to the messagebus user and the test runs clients as other users";
        return false;
    }
    if (mountNamespace("self").empty() || mountNamespace("self") == mountNamespace("1")) {
        why = "the stock system bus changes /etc/group and /run for its test only; run it in a private mount "
              "namespace (tests/support/run-in-store-namespace)";
        return false;
    }
    // The messagebus user reaches the socket and nobody connects to it.
    chmod(mDir.path().c_str(), 0755);
    mSocketPath = mDir.file("system_bus_socket");
    mAddress = "unix:path=" + mSocketPath;
    if (!prepareRoleUsers(why) || !writeConfiguration(why)) {
        return false;
    }
    const bool started = mKind == SystemBusKind::DbusDaemon ? startDaemon(why) : startBroker(why);
    if (!started || !waitForBus(why)) {
        return false;
    }
    setenv("DBUS_SYSTEM_BUS_ADDRESS", mAddress.c_str(), 1);
    return true;
}

bool StockSystemBus::prepareRoleUsers(std::string& why)
{
    // A role's processes run as a user of its own that the user database
    // lists in the role's group, besides holding the group: dbus-daemon before
    // 1.13 (Debian 11) reads a caller's groups from the database, later
    // daemons and dbus-broker from the connection.
    std::vector<unsigned> taken;
    const std::string groups = groupsWithRoleUsers(taken);
    std::string users = readFile("/etc/passwd");
    for (const char* group : kRoleGroups) {
        const unsigned id = freeId(taken);
        taken.push_back(id);
        users += roleUser(group) + ":x:" + std::to_string(id) + ":65534::/nonexistent:/usr/sbin/nologin\n";
    }
    const std::pair<std::string, std::string> copies[] = {{"/etc/group", groups}, {"/etc/passwd", users}};
    for (const auto& [path, content] : copies) {
        const std::string copy = mDir.file(path.substr(path.rfind('/') + 1));
        if (!writeFile(copy, content) || chmod(copy.c_str(), 0644) != 0 ||
            mount(copy.c_str(), path.c_str(), "none", MS_BIND, nullptr) != 0) {
            why = "cannot give this namespace the role users in " + path + ": " + std::strerror(errno);
            return false;
        }
    }
    return true;
}

bool StockSystemBus::writeConfiguration(std::string& why)
{
    std::string configuration = readFile(kStockConfiguration);
    const std::string systemD = mDir.file("system.d");
    const bool changed =
        !configuration.empty() &&
        replaceOnce(configuration, "<listen>unix:path=/run/dbus/system_bus_socket</listen>",
                    "<listen>" + mAddress + "</listen>") &&
        replaceOnce(configuration, "<includedir>system.d</includedir>", "<includedir>" + systemD + "</includedir>") &&
        replaceOnce(configuration, "<includedir>/etc/dbus-1/system.d</includedir>",
                    "<includedir>" + mDir.file("local.d") + "</includedir>") &&
        replaceOnce(configuration, "/etc/dbus-1/system-local.conf", mDir.file("system-local.conf"));
    if (!changed) {
        why = std::string(kStockConfiguration) +
              " is missing or no longer has the listen address and include directories this test replaces";
        return false;
    }
    const std::string policy = readFile(mPolicyPath);
    if (policy.empty()) {
        why = "no policy at " + mPolicyPath;
        return false;
    }
    mkdir(systemD.c_str(), 0755);
    mkdir(mDir.file("local.d").c_str(), 0755);
    if (!writeFile(mDir.file("system.conf"), configuration) ||
        !writeFile(systemD + "/com.qor.vel_communicator.conf", policy)) {
        why = "cannot write the bus configuration into " + mDir.path();
        return false;
    }
    return true;
}

bool StockSystemBus::startDaemon(std::string& why)
{
    if (access(kDaemon, X_OK) != 0) {
        why = std::string(kDaemon) + " is not installed (Debian package dbus-daemon)";
        return false;
    }
    // The configuration forks and writes /run/dbus/pid; the test keeps the
    // daemon as its own child instead.
    if (!mDaemon.start({kDaemon, "--nofork", "--nopidfile", "--config-file=" + mDir.file("system.conf")},
                       mDir.file("bus.log"))) {
        why = "cannot start dbus-daemon";
        return false;
    }
    return true;
}

bool StockSystemBus::startBroker(std::string& why)
{
    if (access(kBrokerLauncher, X_OK) != 0) {
        why = std::string(kBrokerLauncher) + " is not installed (Debian package dbus-broker)";
        return false;
    }
    if (!openJournal(why)) {
        return false;
    }
    // The launcher takes its listening socket from whoever starts it, as
    // systemd hands it over.
    const int listener = boundUnixSocket(SOCK_STREAM, mSocketPath, why);
    if (listener < 0) {
        return false;
    }
    if (listen(listener, 64) != 0) {
        why = std::string("cannot listen on the bus socket: ") + std::strerror(errno);
        close(listener);
        return false;
    }
    // The broker is the launcher's child: as subreaper this process reaps it
    // by PID even once the launcher is gone.
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    std::vector<std::string> environment;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        if (std::strncmp(*variable, "LISTEN_", 7) != 0 && std::strncmp(*variable, "DBUS_SYSTEM_BUS_ADDRESS=", 24) != 0) {
            environment.emplace_back(*variable);
        }
    }
    // The launcher connects to the bus it serves as a regular client.
    environment.push_back("DBUS_SYSTEM_BUS_ADDRESS=" + mAddress);
    environment.emplace_back("LISTEN_FDS=1");
    std::string listenPid = "LISTEN_PID=" + std::string(12, '\0');
    std::vector<char*> envp;
    for (std::string& variable : environment) {
        envp.push_back(&variable[0]);
    }
    envp.push_back(&listenPid[0]);
    envp.push_back(nullptr);
    const std::string configuration = "--config-file=" + mDir.file("system.conf");
    const char* argv[] = {kBrokerLauncher, "--scope", "system", configuration.c_str(), nullptr};
    const int output = open(mDir.file("bus.log").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    const pid_t pid = fork();
    if (pid == 0) {
        formatPid(getpid(), &listenPid[11]);
        if (output >= 0) {
            dup2(output, STDOUT_FILENO);
            dup2(output, STDERR_FILENO);
        }
        if (listener == 3) {
            fcntl(listener, F_SETFD, 0);
        } else {
            dup2(listener, 3);
        }
        execve(kBrokerLauncher, const_cast<char* const*>(argv), envp.data());
        _exit(127);
    }
    close(listener);
    if (output >= 0) {
        close(output);
    }
    if (pid < 0) {
        why = std::string("cannot fork the broker's launcher: ") + std::strerror(errno);
        return false;
    }
    mLauncher = pid;
    return true;
}

bool StockSystemBus::openJournal(std::string& why)
{
    // The launcher and the broker log to the journal's socket and give up
    // without one; this namespace gets a /run of its own that has one.
    if (mount("vel-test-run", "/run", "tmpfs", MS_NOSUID | MS_NODEV, "mode=0755") != 0 ||
        mkdir("/run/systemd", 0755) != 0 || mkdir(kJournalDirectory, 0755) != 0) {
        why = std::string("cannot give this namespace a private /run with a journal socket: ") + std::strerror(errno);
        return false;
    }
    mJournalSocket = boundUnixSocket(SOCK_DGRAM, kJournalSocket, why);
    if (mJournalSocket < 0) {
        return false;
    }
    mJournalOpen = true;
    mJournalReader = std::thread([this] { readJournal(); });
    return true;
}

void StockSystemBus::readJournal()
{
    std::vector<char> record(256 * 1024);
    while (mJournalOpen) {
        pollfd ready{mJournalSocket, POLLIN, 0};
        if (poll(&ready, 1, 100) <= 0) {
            continue;
        }
        const ssize_t length = recv(mJournalSocket, record.data(), record.size(), 0);
        if (length <= 0) {
            continue;
        }
        // Only the message of each record; the rest is metadata.
        const std::string text(record.data(), static_cast<std::size_t>(length));
        const std::size_t at = text.find("\nMESSAGE=") != std::string::npos ? text.find("\nMESSAGE=") + 9
                               : text.rfind("MESSAGE=", 0) == 0                ? 8
                                                                               : std::string::npos;
        if (at != std::string::npos) {
            std::lock_guard<std::mutex> lock(mJournalMutex);
            mJournal += text.substr(at, text.find('\n', at) - at) + "\n";
        }
    }
}

bool StockSystemBus::waitForBus(std::string& why)
{
    const bool answering = waitUntil(
        [&] {
            GDBusConnection* connection = connectToBus(mAddress);
            if (connection == nullptr) {
                return false;
            }
            g_dbus_connection_close_sync(connection, nullptr, nullptr);
            g_object_unref(connection);
            return true;
        },
        std::chrono::seconds(15), std::chrono::milliseconds(50));
    if (!answering) {
        why = std::string(busKindName(mKind)) + " did not answer on " + mAddress + ": " + log();
        return false;
    }
    return true;
}

std::string StockSystemBus::log()
{
    std::lock_guard<std::mutex> lock(mJournalMutex);
    return readFile(mDir.file("bus.log")) + mJournal;
}

GDBusConnection* StockSystemBus::testConnection()
{
    if (mTestConnection == nullptr && !mAddress.empty()) {
        mTestConnection = connectToBus(mAddress);
    }
    return mTestConnection;
}

void StockSystemBus::stop()
{
    if (mTestConnection != nullptr) {
        g_dbus_connection_close_sync(mTestConnection, nullptr, nullptr);
        g_object_unref(mTestConnection);
        mTestConnection = nullptr;
    }
    mDaemon.stop();
    if (mLauncher > 0) {
        const std::vector<pid_t> brokers = childrenOf(mLauncher);
        kill(mLauncher, SIGTERM);
        reap(mLauncher, std::chrono::seconds(3));
        // The broker ends when its launcher's controller socket closes.
        for (pid_t broker : brokers) {
            reap(broker, std::chrono::seconds(3));
        }
        mLauncher = -1;
    }
    if (mJournalOpen) {
        mJournalOpen = false;
        mJournalReader.join();
        close(mJournalSocket);
        mJournalSocket = -1;
    }
}

std::vector<std::string> asNobody()
{
    return {"/usr/bin/setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
}

std::vector<std::string> asMemberOf(const std::string& group)
{
    const struct passwd* user = getpwnam(roleUser(group).c_str());
    const std::string uid = user != nullptr ? std::to_string(user->pw_uid) : std::string("-1");
    return {"/usr/bin/setpriv", "--reuid=" + uid, "--regid=65534",
            "--groups=" + std::to_string(StockSystemBus::groupId(group))};
}

} // namespace veltest
