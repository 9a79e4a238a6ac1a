// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// velctl core ...: the core engine's synchronous queries.

#include <cstdio>
#include <list>
#include <string>

#include "Bounded.h"
#include "Commands.h"
#include "Exit.h"
#include "ReadyGate.h"
#include "Secrets.h"
#include "vel/VelComProxyCoreEngine.h"

namespace velctl {

namespace {

// Only the readiness of the link matters to velctl; every other callback keeps
// its default (a log line, hidden unless --verbose).
class CoreReadyCallback : public VelCallBackCoreEngine {
public:
    explicit CoreReadyCallback(ReadyGate& gate) : mGate(gate) {}
    void onRcvMVELReady(bool ready) override { mGate.set(ready); }

private:
    ReadyGate& mGate;
};

struct CoreSession {
    VelComProxyCoreEngine* core;
    CLIENT_TYPE_e clientType;
    std::chrono::milliseconds timeout;
};

bool hasDeviceIdQueryWithoutMac(unsigned int technology)
{
    switch (technology) {
    case 4: case 5: case 6: case 7: case 14: case 15: return true;
    default: return false;
    }
}

void checkArgumentCount(const CommandLine& line, std::size_t least, std::size_t most)
{
    if (line.arguments.size() < least || line.arguments.size() > most) {
        fail(kExitUsage, "wrong number of arguments for 'core " + line.command + "' (see velctl core --help)");
    }
}

CoreSession connect(const CommandLine& line)
{
    const unsigned int clientType = line.clientType == 0 ? 200 : line.clientType;
    if (clientType < 200 || clientType > 203) {
        fail(kExitUsage, "client kind " + std::to_string(clientType) + " is not a core engine kind (200 to 203)");
    }
    // Lives until the process ends: the facade keeps a raw pointer to it.
    static ReadyGate gate;
    static CoreReadyCallback callback(gate);
    CoreSession session{nullptr, static_cast<CLIENT_TYPE_e>(clientType), std::chrono::seconds(line.timeoutSeconds)};
    session.core = VelComProxyCoreEngine::getInstance(session.clientType, "velctl", &callback);
    if (!session.core->doInitialize()) {
        fail(kExitFailed, "libvel could not start watching the service");
    }
    if (!gate.waitReady(session.timeout)) {
        fail(kExitUnreachable, "service com.qor.vel_communicator not reachable within " +
                                   std::to_string(line.timeoutSeconds) + " s");
    }
    return session;
}

void waitAnswer(const CoreSession& session, std::function<void()> query)
{
    if (!runBounded(std::move(query), session.timeout)) {
        fail(kExitFailed, "no answer from the service within " +
                              std::to_string(session.timeout.count() / 1000) + " s");
    }
}

[[noreturn]] void deviceId(const CommandLine& line)
{
    checkArgumentCount(line, 1, 2);
    unsigned int technology = 0;
    if (!parseUnsigned(line.arguments[0], technology)) {
        fail(kExitUsage, "invalid technology '" + line.arguments[0] + "' (an unsigned number)");
    }
    const bool withMac = line.arguments.size() == 2;
    if (!withMac && !hasDeviceIdQueryWithoutMac(technology)) {
        fail(kExitUsage, "technology " + line.arguments[0] +
                             " has no device id query without a MAC address (4, 5, 6, 7, 14 or 15)");
    }
    const CoreSession session = connect(line);
    bool answered = false;
    std::string id;
    waitAnswer(session, [&]() {
        answered = withMac ? session.core->sendReqGetDeviceIdSync(session.clientType, COREREQ_GET_DEVID,
                                                                  static_cast<TECHNOLOGY_e>(technology),
                                                                  line.arguments[1], id)
                           : session.core->sendReqGetDeviceIdSync(session.clientType, COREREQ_GET_DEVID,
                                                                  static_cast<TECHNOLOGY_e>(technology), id);
    });
    if (!answered) {
        fail(kExitFailed, "the service gave no device id (--verbose shows why)");
    }
    std::printf("%s\n", id.c_str());
    finish(kExitOk);
}

[[noreturn]] void wifiCredentials(const CommandLine& line)
{
    checkArgumentCount(line, 0, 0);
    const CoreSession session = connect(line);
    bool answered = false;
    std::list<WIFI_CREDENTIALS_s> records;
    waitAnswer(session, [&]() {
        answered = session.core->sendReqGetWifiCredentialsSyncEx(session.clientType, COREREQ_GET_WIFI_CREDENTIALS,
                                                                  records);
    });
    if (!answered) {
        fail(kExitFailed, "the service gave no Wi-Fi credentials (--verbose shows why)");
    }
    for (const WIFI_CREDENTIALS_s& r : records) {
        std::printf("ssid=%s password=%s channel=%u security=%u port=%u ip=%s bssid=%s\n", r.ssid.c_str(),
                    secret(r.password).c_str(), static_cast<unsigned int>(r.channel),
                    static_cast<unsigned int>(r.securityType), static_cast<unsigned int>(r.port), r.ip.c_str(),
                    r.bssid.c_str());
    }
    finish(kExitOk);
}

[[noreturn]] void btMac(const CommandLine& line)
{
    checkArgumentCount(line, 0, 0);
    const CoreSession session = connect(line);
    bool answered = false;
    std::string mac;
    waitAnswer(session, [&]() {
        answered = session.core->sendReqGetHUBTMacAddressSync(session.clientType, COREREQ_GET_HU_BT_MAC, mac);
    });
    if (!answered) {
        fail(kExitFailed, "the service gave no Bluetooth MAC address (--verbose shows why)");
    }
    std::printf("%s\n", mac.c_str());
    finish(kExitOk);
}

} // namespace

void runCore(const CommandLine& line)
{
    if (line.command == "device-id") {
        deviceId(line);
    }
    if (line.command == "wifi-credentials") {
        wifiCredentials(line);
    }
    if (line.command == "bt-mac") {
        btMac(line);
    }
    fail(kExitUsage, "unknown core command '" + line.command + "' (see velctl core --help)");
}

} // namespace velctl
