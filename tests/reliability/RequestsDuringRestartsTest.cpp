// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// Requests from other threads while the service comes and goes: the facade's
// proxy is replaced on the main-loop thread meanwhile. No request may crash,
// block for long or use a proxy that a vanish has released (the sanitizer
// builds watch for that), and once the service is back requests go through.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "PrivateBus.h"
#include "SoakRig.h"
#include "WaitUntil.h"
#include "vel/VelCallBackApp.h"
#include "vel/VelCallBackCoreEngine.h"
#include "vel/VelComProxyApp.h"
#include "vel/VelComProxyCoreEngine.h"

// Thousands of requests log several lines each: the lines are counted, not
// kept or printed.
std::atomic<unsigned long> gLogLines{0};

extern "C" void vw_log_print(const char*, const char*, int, int, int, int, const char*, ...)
{
    ++gLogLines;
}

namespace {

using namespace std::chrono_literals;

constexpr int kRestarts = 8;
constexpr int kWorkers = 3;

class CountingAppCallBack : public VelCallBackApp {
public:
    void onRcvMVELReady(bool ready) override { (ready ? mReady : mGone)++; }
    std::atomic<int> mReady{0};
    std::atomic<int> mGone{0};
};

class CountingCoreCallBack : public VelCallBackCoreEngine {
public:
    void onRcvMVELReady(bool ready) override { (ready ? mReady : mGone)++; }
    std::atomic<int> mReady{0};
    std::atomic<int> mGone{0};
};

// The library calls them until the process ends: never destroyed.
CountingAppCallBack* const gAppCallBack = new CountingAppCallBack();
CountingCoreCallBack* const gCoreCallBack = new CountingCoreCallBack();

TEST(RequestsDuringServiceRestarts, NeitherCrashNorHangAndGoThroughOnceTheServiceIsBack)
{
    veltest::PrivateBus bus;
    ASSERT_TRUE(bus.start());
    soak::Service service(bus);
    ASSERT_TRUE(service.start());

    VelComProxyApp* app = VelComProxyApp::getInstance(static_cast<CLIENT_TYPE_e>(100), "stressapp", gAppCallBack);
    VelComProxyCoreEngine* core =
        VelComProxyCoreEngine::getInstance(static_cast<CLIENT_TYPE_e>(200), "stresscore", gCoreCallBack);
    ASSERT_TRUE(app->doInitialize());
    ASSERT_TRUE(core->doInitialize());
    ASSERT_TRUE(veltest::waitUntil([] { return gAppCallBack->mReady >= 1 && gCoreCallBack->mReady >= 1; }, 30s));

    std::atomic<bool> stop{false};
    std::atomic<long> requests{0};
    std::atomic<long> slowest{0};
    std::vector<std::thread> workers;
    // The workers stop and are joined on every way out of the test, failed
    // assertions included.
    struct Joiner {
        std::atomic<bool>& stop;
        std::vector<std::thread>& workers;
        ~Joiner()
        {
            stop = true;
            for (std::thread& worker : workers) {
                if (worker.joinable()) {
                    worker.join();
                }
            }
        }
    } joiner{stop, workers};
    for (int i = 0; i < kWorkers; ++i) {
        workers.emplace_back([&, i] {
            while (!stop) {
                const auto start = std::chrono::steady_clock::now();
                std::string mac;
                switch (i) {
                case 0:
                    app->doServiceConnect("stress-device", static_cast<TECHNOLOGY_e>(2), "");
                    break;
                case 1:
                    app->checkMaxPaired();
                    break;
                default:
                    core->sendReqGetHUBTMacAddressSync(static_cast<CLIENT_TYPE_e>(200), COREREQ_GET_HU_BT_MAC, mac);
                    break;
                }
                const long took = static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                                        std::chrono::steady_clock::now() - start)
                                                        .count());
                long seen = slowest;
                while (took > seen && !slowest.compare_exchange_weak(seen, took)) {
                }
                ++requests;
                // A breath between requests: under valgrind, which runs one
                // thread at a time, the main-loop thread must get its turn.
                std::this_thread::sleep_for(std::chrono::microseconds(200));
            }
        });
    }

    std::mt19937 random(std::random_device{}());
    std::uniform_int_distribution<int> pauseMs(0, 300);
    for (int restart = 1; restart <= kRestarts; ++restart) {
        // Random pacing, not synchronisation: requests keep flowing meanwhile.
        std::this_thread::sleep_for(std::chrono::milliseconds(pauseMs(random)));
        service.kill9();
        std::this_thread::sleep_for(std::chrono::milliseconds(pauseMs(random)));
        ASSERT_TRUE(service.start());
        ASSERT_TRUE(veltest::waitUntil(
            [&] { return gAppCallBack->mReady >= restart + 1 && gCoreCallBack->mReady >= restart + 1; }, 60s))
            << "restart " << restart;
    }
    stop = true;
    for (std::thread& worker : workers) {
        worker.join();
    }

    std::printf("requests: %ld, slowest %ld ms, log lines %lu\n", requests.load(), slowest.load(),
                gLogLines.load());
    EXPECT_GT(requests.load(), 0);
    EXPECT_EQ(gAppCallBack->mGone.load(), kRestarts);
    EXPECT_EQ(gCoreCallBack->mGone.load(), kRestarts);
    // A request that reached for a vanished service failed with it instead
    // of waiting out the bus's 25 s timeout.
    EXPECT_LT(slowest.load(), 20000);
    std::string mac;
    EXPECT_TRUE(core->sendReqGetHUBTMacAddressSync(static_cast<CLIENT_TYPE_e>(200), COREREQ_GET_HU_BT_MAC, mac));
    EXPECT_EQ(mac, "00:11:22:33:44:55");
    EXPECT_TRUE(app->doServiceConnect("stress-device", static_cast<TECHNOLOGY_e>(2), ""));
}

} // namespace
