// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// velctl app ...: an application client's requests, and a watch of its callbacks.

#include <pthread.h>
#include <signal.h>

#include <cstdio>
#include <string>

#include "AppWatchPrinter.h"
#include "Bounded.h"
#include "Commands.h"
#include "Exit.h"
#include "vel/VelComProxyApp.h"

namespace velctl {

namespace {

struct AppSession {
    VelComProxyApp* app;
    AppWatchPrinter* callback;
    std::chrono::milliseconds timeout;
};

void checkArgumentCount(const CommandLine& line, std::size_t least, std::size_t most)
{
    if (line.arguments.size() < least || line.arguments.size() > most) {
        fail(kExitUsage, "wrong number of arguments for 'app " + line.command + "' (see velctl app --help)");
    }
}

unsigned int technologyArgument(const std::string& text)
{
    unsigned int technology = 0;
    if (!parseUnsigned(text, technology)) {
        fail(kExitUsage, "invalid technology '" + text + "' (an unsigned number)");
    }
    return technology;
}

AppSession start(const CommandLine& line, AppWatchPrinter& callback)
{
    const unsigned int clientType = line.clientType == 0 ? 100 : line.clientType;
    if (clientType < 100 || clientType > 105) {
        fail(kExitUsage, "client kind " + std::to_string(clientType) + " is not an application kind (100 to 105)");
    }
    AppSession session{nullptr, &callback, std::chrono::seconds(line.timeoutSeconds)};
    session.app = VelComProxyApp::getInstance(static_cast<CLIENT_TYPE_e>(clientType), "velctl", &callback);
    if (!session.app->doInitialize()) {
        fail(kExitFailed, "libvel could not start watching the service");
    }
    return session;
}

AppSession connect(const CommandLine& line, ReadyGate& gate, AppWatchPrinter& callback)
{
    AppSession session = start(line, callback);
    if (!gate.waitReady(session.timeout)) {
        // The library tells "ready" only after opening the device store.
        fail(kExitUnreachable, "service com.qor.vel_communicator not reachable within " +
                                   std::to_string(line.timeoutSeconds) +
                                   " s (app commands also need the device store; --verbose shows why)");
    }
    return session;
}

std::string seconds(const AppSession& session)
{
    return std::to_string(session.timeout.count() / 1000) + " s";
}

[[noreturn]] void connectService(const CommandLine& line, ReadyGate& gate, AppWatchPrinter& callback)
{
    checkArgumentCount(line, 2, 3);
    const std::string& deviceId = line.arguments[0];
    const unsigned int technology = technologyArgument(line.arguments[1]);
    const std::string replace = line.arguments.size() == 3 ? line.arguments[2] : std::string();
    const AppSession session = connect(line, gate, callback);
    if (!session.app->doServiceConnect(deviceId, static_cast<TECHNOLOGY_e>(technology), replace)) {
        fail(kExitFailed, "the connect request could not be sent (--verbose shows why)");
    }
    Completion completion;
    if (!callback.waitConnectDone(deviceId, session.timeout, completion)) {
        fail(kExitFailed, "no completion of the connect request within " + seconds(session));
    }
    std::printf("connect %s technology %u: result %d\n", completion.deviceId.c_str(), completion.technology,
                completion.result);
    finish(kExitOk);
}

[[noreturn]] void disconnectService(const CommandLine& line, ReadyGate& gate, AppWatchPrinter& callback)
{
    checkArgumentCount(line, 2, 2);
    const std::string& deviceId = line.arguments[0];
    const unsigned int technology = technologyArgument(line.arguments[1]);
    const AppSession session = connect(line, gate, callback);
    if (!session.app->doServiceDisconnect(deviceId, static_cast<TECHNOLOGY_e>(technology))) {
        fail(kExitFailed, "the disconnect request could not be sent (--verbose shows why)");
    }
    Completion completion;
    if (!callback.waitDisconnectDone(deviceId, session.timeout, completion)) {
        fail(kExitFailed, "no completion of the disconnect request within " + seconds(session));
    }
    std::printf("disconnect %s technology %u: result %d\n", completion.deviceId.c_str(), completion.technology,
                completion.result);
    finish(kExitOk);
}

[[noreturn]] void paired(const CommandLine& line, ReadyGate& gate, AppWatchPrinter& callback)
{
    checkArgumentCount(line, 1, 1);
    const std::string& deviceId = line.arguments[0];
    const AppSession session = connect(line, gate, callback);
    bool isPaired = false;
    if (!runBounded([&]() { isPaired = session.app->checkPaired(deviceId); }, session.timeout)) {
        fail(kExitFailed, "no answer from the service within " + seconds(session));
    }
    std::printf("%s: %s\n", deviceId.c_str(), isPaired ? "paired" : "not paired");
    finish(kExitOk);
}

[[noreturn]] void maxPaired(const CommandLine& line, ReadyGate& gate, AppWatchPrinter& callback)
{
    checkArgumentCount(line, 0, 0);
    const AppSession session = connect(line, gate, callback);
    bool reached = false;
    if (!runBounded([&]() { reached = session.app->checkMaxPaired(); }, session.timeout)) {
        fail(kExitFailed, "no answer from the service within " + seconds(session));
    }
    std::printf("maximum of paired devices reached: %s\n", reached ? "yes" : "no");
    finish(kExitOk);
}

[[noreturn]] void watch(const CommandLine& line, AppWatchPrinter& callback)
{
    checkArgumentCount(line, 0, 0);
    // Blocked before the library starts its threads, so that they inherit the
    // mask and the signals wait for sigwait below.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

    callback.setPrinting(true);
    start(line, callback);
    std::fprintf(stderr, "velctl: watching com.qor.vel_communicator as an application; Ctrl-C stops\n");
    int received = 0;
    sigwait(&stopSignals, &received);
    finish(kExitOk);
}

} // namespace

void runApp(const CommandLine& line)
{
    // Live until the process ends: the facade keeps a raw pointer to the callback.
    static ReadyGate gate;
    static AppWatchPrinter callback(gate);
    if (line.command == "connect") {
        connectService(line, gate, callback);
    }
    if (line.command == "disconnect") {
        disconnectService(line, gate, callback);
    }
    if (line.command == "paired") {
        paired(line, gate, callback);
    }
    if (line.command == "max-paired") {
        maxPaired(line, gate, callback);
    }
    if (line.command == "watch") {
        watch(line, callback);
    }
    fail(kExitUsage, "unknown app command '" + line.command + "' (see velctl app --help)");
}

} // namespace velctl
