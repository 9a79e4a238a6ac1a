// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <condition_variable>
#include <cstddef>
#include <list>
#include <mutex>
#include <string>

#include "Arrivals.h"
#include "vel/VelCallBackApp.h"
#include "vel/VelCallBackCoreEngine.h"

namespace velbench {

// Remembers that the library said "ready" and lets a thread wait for it.
class ReadyLatch {
public:
    void set();
    bool waitFor(int timeoutMs);

private:
    std::mutex mMutex;
    std::condition_variable mChanged;
    bool mReady = false;
};

// What the benchmarks listen to on the application side: connect completions
// (with the send time carried in the device id) and known-device lists.
class BenchAppCallback : public VelCallBackApp {
public:
    void onRcvMVELReady(bool ready) override;
    void onRcvResponseConnectService(std::string deviceId, TECHNOLOGY_e technology, int result) override;
    void onRcvUpdateKnownDevices(std::list<DEVICE>& devices, int result) override;

    ReadyLatch ready;
    Arrivals completions;
    Arrivals knownLists;
    std::size_t lastKnownListSize = 0;
};

class BenchCoreCallback : public VelCallBackCoreEngine {
public:
    void onRcvMVELReady(bool ready) override;

    ReadyLatch ready;
};

} // namespace velbench
