// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "SoakRig.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <sstream>

#include "SimProcess.h"
#include "WaitUntil.h"

#ifndef VEL_SOAK_APP_PATH
#error "VEL_SOAK_APP_PATH, VEL_SOAK_CORE_PATH and VEL_SOAK_CONTROLLER_PATH name the soak clients"
#endif

namespace soak {

namespace {

constexpr std::chrono::milliseconds kPoll(20);

GVariant* callBus(GDBusConnection* connection, const char* interfaceName, const char* method, GVariant* parameters,
                  const char* replyType)
{
    return g_dbus_connection_call_sync(connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", interfaceName,
                                       method, parameters, G_VARIANT_TYPE(replyType), G_DBUS_CALL_FLAGS_NONE, 5000,
                                       nullptr, nullptr);
}

// The bus connections of one process and the match rules they hold, from
// the bus daemon's own statistics.
void busFootprint(GDBusConnection* connection, pid_t pid, Footprint& footprint)
{
    if (connection == nullptr) {
        return;
    }
    GVariant* names = callBus(connection, "org.freedesktop.DBus", "ListNames", nullptr, "(as)");
    if (names == nullptr) {
        return;
    }
    footprint.busConnections = 0;
    footprint.matchRules = 0;
    GVariantIter* iter = nullptr;
    const gchar* name = nullptr;
    g_variant_get(names, "(as)", &iter);
    while (g_variant_iter_next(iter, "&s", &name)) {
        if (name[0] != ':') {
            continue;
        }
        GVariant* owner = callBus(connection, "org.freedesktop.DBus", "GetConnectionUnixProcessID",
                                  g_variant_new("(s)", name), "(u)");
        if (owner == nullptr) {
            continue;
        }
        guint32 ownerPid = 0;
        g_variant_get(owner, "(u)", &ownerPid);
        g_variant_unref(owner);
        if (static_cast<pid_t>(ownerPid) != pid) {
            continue;
        }
        ++footprint.busConnections;
        GVariant* stats = callBus(connection, "org.freedesktop.DBus.Debug.Stats", "GetConnectionStats",
                                  g_variant_new("(s)", name), "(a{sv})");
        if (stats == nullptr) {
            footprint.matchRules = -1;
            continue;
        }
        GVariant* dictionary = g_variant_get_child_value(stats, 0);
        guint32 rules = 0;
        if (g_variant_lookup(dictionary, "MatchRules", "u", &rules) && footprint.matchRules >= 0) {
            footprint.matchRules += rules;
        }
        g_variant_unref(dictionary);
        g_variant_unref(stats);
    }
    g_variant_iter_free(iter);
    g_variant_unref(names);
}

} // namespace

std::string Footprint::text() const
{
    std::ostringstream out;
    out << "fds=" << fds << " threads=" << threads << " pool_threads=" << poolThreads << " rss_kb=" << rssKb << " heap_bytes=" << heapBytes << " timers=" << timers
        << " bus_connections=" << busConnections << " match_rules=" << matchRules;
    return out.str();
}

long field(const std::string& line, const std::string& key)
{
    const std::string marker = " " + key + "=";
    const std::size_t at = line.find(marker);
    if (at == std::string::npos) {
        return -1;
    }
    return std::strtol(line.c_str() + at + marker.size(), nullptr, 10);
}

BusConnectionSource connectionOf(veltest::PrivateBus& bus)
{
    return [&bus] { return bus.testConnection(); };
}

bool nameHasOwner(GDBusConnection* connection, const char* name)
{
    if (connection == nullptr) {
        return false;
    }
    GVariant* reply = callBus(connection, "org.freedesktop.DBus", "NameHasOwner", g_variant_new("(s)", name), "(b)");
    if (reply == nullptr) {
        return false;
    }
    gboolean owned = FALSE;
    g_variant_get(reply, "(b)", &owned);
    g_variant_unref(reply);
    return owned != FALSE;
}

Service::Service(BusConnectionSource bus) : mBus(std::move(bus)), mLog(mDir.file("mvel-sim.log")) {}

Service::~Service()
{
    mProcess.stop();
}

bool Service::start()
{
    const std::string simulator = veltest::simulatorPath();
    if (simulator.empty() || !mProcess.start({simulator}, mLog.path())) {
        return false;
    }
    return veltest::waitUntil(
               [&] { return nameHasOwner(mBus(), "com.qor.vel_communicator") || !mProcess.running(); },
               std::chrono::seconds(10), kPoll) &&
           mProcess.running();
}

SoakRig::SoakRig(BusConnectionSource bus) : mBus(std::move(bus))
{
    const struct {
        const char* kind;
        const char* executable;
        unsigned registerType;
        bool reportsReady;
    } kinds[] = {{"app", VEL_SOAK_APP_PATH, 100, true},
                 {"core", VEL_SOAK_CORE_PATH, 200, true},
                 {"controller", VEL_SOAK_CONTROLLER_PATH, 400, false}};
    for (const auto& kind : kinds) {
        auto client = std::make_unique<ClientProcess>();
        client->kind = kind.kind;
        client->executable = kind.executable;
        client->registerType = kind.registerType;
        client->reportsReady = kind.reportsReady;
        client->fifo = mDir.file(std::string(kind.kind) + ".commands");
        client->output.setPath(mDir.file(std::string(kind.kind) + ".out"));
        mClients.push_back(std::move(client));
    }
}

SoakRig::~SoakRig()
{
    stopClients();
    for (auto& client : mClients) {
        unlink(client->fifo.c_str());
    }
}

bool SoakRig::startClient(ClientProcess& client, const std::vector<std::string>& wrapper)
{
    if (mkfifo(client.fifo.c_str(), 0600) != 0 && errno != EEXIST) {
        return false;
    }
    if (!wrapper.empty()) {
        // Another user must reach the FIFO; the output file is opened for
        // the client before the wrapper changes user.
        chmod(mDir.path().c_str(), 0755);
        chmod(client.fifo.c_str(), 0666);
    }
    std::vector<std::string> argv = wrapper;
    argv.push_back(client.executable);
    argv.push_back(client.fifo);
    if (!client.process.start(argv, client.output.path())) {
        return false;
    }
    return waitForLines(client, "started", 1, std::chrono::seconds(30));
}

bool SoakRig::startClients()
{
    for (auto& client : mClients) {
        if (!startClient(*client)) {
            return false;
        }
    }
    return true;
}

void SoakRig::stopClients()
{
    for (auto& client : mClients) {
        if (client->process.running()) {
            send(*client, "quit");
            if (client->process.waitExit(std::chrono::seconds(5)) < 0) {
                client->process.stop();
            }
        }
    }
}

ClientProcess& SoakRig::client(const std::string& kind)
{
    for (auto& client : mClients) {
        if (client->kind == kind) {
            return *client;
        }
    }
    return *mClients.front();
}

bool SoakRig::send(ClientProcess& client, const std::string& command)
{
    // Read-write, so that opening never waits for the client's end.
    const int fd = open(client.fifo.c_str(), O_RDWR | O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    const std::string line = command + "\n";
    const bool written = write(fd, line.data(), line.size()) == static_cast<ssize_t>(line.size());
    close(fd);
    return written;
}

bool SoakRig::waitForLines(ClientProcess& client, const std::string& prefix, std::size_t count,
                           std::chrono::milliseconds timeout)
{
    return veltest::waitUntil([&] { return client.output.countPrefix(prefix) >= count; }, timeout, kPoll);
}

std::string SoakRig::ask(ClientProcess& client, const std::string& command, const std::string& answerPrefix,
                         std::chrono::milliseconds timeout)
{
    const std::size_t before = client.output.countPrefix(answerPrefix);
    if (!send(client, command) || !waitForLines(client, answerPrefix, before + 1, timeout)) {
        return std::string();
    }
    return client.output.lastWithPrefix(answerPrefix);
}

std::string SoakRig::outputs()
{
    std::string text;
    for (auto& client : mClients) {
        client->output.refresh();
        text += "--- " + client->kind + " client:\n";
        for (const std::string& line : client->output.lines()) {
            text += line + "\n";
        }
    }
    return text;
}

Footprint SoakRig::footprint(ClientProcess& client)
{
    Footprint footprint;
    const std::string stats = ask(client, "stats", "stats ", std::chrono::seconds(10));
    footprint.fds = field(stats, "fds");
    footprint.threads = field(stats, "threads");
    footprint.poolThreads = field(stats, "pool_threads");
    footprint.rssKb = field(stats, "rss_kb");
    footprint.heapBytes = field(stats, "heap_bytes");
    footprint.timers = field(stats, "timers");
    busFootprint(mBus(), client.process.pid(), footprint);
    return footprint;
}

} // namespace soak
