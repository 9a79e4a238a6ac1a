// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// A minimal core engine: registers with the MVEL service, waits for the
// service to ask for a connection, "connects" and reports the result with
// responseConnectDone. Ends by itself within about 20 s.
//
// Try it against the simulator:
//   mvel-sim --core-connect-on-register=1234:4 &
//   vel-example-core

#include <gio/gio.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <string>

#include "vel/VelCallBackCoreEngine.h"
#include "vel/VelComProxyCoreEngine.h"

namespace {

constexpr std::chrono::seconds kWait(10);
const CLIENT_TYPE_e kCoreEngineKind = static_cast<CLIENT_TYPE_e>(200);
const ORNA_RESULT_e kResultSuccess = static_cast<ORNA_RESULT_e>(0);

// The service's requests arrive here, on libvel's main-loop thread.
class ExampleCoreEngine : public VelCallBackCoreEngine {
public:
    void onRcvMVELReady(bool ready) override
    {
        std::printf("service %s\n", ready ? "ready" : "gone");
        std::fflush(stdout);
        std::lock_guard<std::mutex> lock(mMutex);
        mReady = ready;
        mChanged.notify_all();
    }

    void onRcvReqConnect(const TECHNOLOGY_e& technology, const std::string& deviceId, const unsigned int&,
                         const unsigned int&, const unsigned int&, const std::string&, const std::string&,
                         const std::string& macAddress, const CONNECT_CONDITION_e&) override
    {
        std::printf("connect request: device %s, technology %u, MAC '%s'\n", deviceId.c_str(),
                    static_cast<unsigned int>(technology), macAddress.c_str());
        // A real core engine would set up the link here; the example succeeds at once.
        const bool sent = mCore->responseConnectDone(kResultSuccess, deviceId, technology, "connected by the example");
        std::printf("responseConnectDone(result 0, device %s, technology %u) %s\n", deviceId.c_str(),
                    static_cast<unsigned int>(technology), sent ? "sent" : "NOT sent");
        std::fflush(stdout);
        std::lock_guard<std::mutex> lock(mMutex);
        mAnswered = true;
        mChanged.notify_all();
    }

    // Set before doInitialize(), so before any request can arrive.
    void setProxy(VelComProxyCoreEngine* core) { mCore = core; }
    bool waitReady() { return waitFor([this] { return mReady; }); }
    bool waitAnswered() { return waitFor([this] { return mAnswered; }); }

private:
    template <typename Predicate>
    bool waitFor(Predicate predicate)
    {
        std::unique_lock<std::mutex> lock(mMutex);
        return mChanged.wait_for(lock, kWait, predicate);
    }

    VelComProxyCoreEngine* mCore = nullptr;
    std::mutex mMutex;
    std::condition_variable mChanged;
    bool mReady = false;
    bool mAnswered = false;
};

} // namespace

int main()
{
    // libvel keeps a raw pointer to the callback until the process ends, so
    // the object is never destroyed.
    auto* engine = new ExampleCoreEngine();
    VelComProxyCoreEngine* core = VelComProxyCoreEngine::getInstance(kCoreEngineKind, "example_core", engine);
    engine->setProxy(core);
    std::printf("waiting for the service and its connect request (up to %lld s each)\n",
                static_cast<long long>(kWait.count()));
    std::fflush(stdout);
    core->doInitialize();

    if (!engine->waitReady()) {
        std::printf("the service did not become ready within %lld s\n", static_cast<long long>(kWait.count()));
        return 1;
    }
    if (!engine->waitAnswered()) {
        std::printf("no connect request arrived\n");
        return 1;
    }
    // Reports are sent without waiting for a reply: push them out before leaving.
    GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
    if (bus != nullptr) {
        g_dbus_connection_flush_sync(bus, nullptr, nullptr);
        g_object_unref(bus);
    }
    std::printf("done\n");
    return 0;
}
