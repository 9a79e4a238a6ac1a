// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "LogCapture.h"
#include "PrivateBus.h"
#include "RecordingCoreEngineCallback.h"
#include "SimProcess.h"
#include "vel/VelComProxyCoreEngine.h"

namespace coretest {

using veltest::RecordingCoreEngineCallback;

using namespace std::chrono_literals;

// Generous bound for anything that crosses the bus and the simulator.
constexpr std::chrono::milliseconds kBusWait = 15s;

// The callback object of the test process. It is never destroyed: the facade
// keeps a raw pointer to it and may call it until the process ends.
RecordingCoreEngineCallback& processCallback();

// A private bus with the simulator on it; the core engine facade connects to it.
class ACoreEngineWithService : public ::testing::Test {
protected:
    void SetUp() override;
    virtual std::vector<std::string> simOptions() const { return {}; }

    // Gets the facade, initialises it and waits until the simulator has seen
    // it register (its subscriptions are in place by then).
    VelComProxyCoreEngine* connectCore(VelCallBackCoreEngine* callback,
                                       CLIENT_TYPE_e clientType = static_cast<CLIENT_TYPE_e>(200));

    // The simulator's "call <method> ..." lines, in the order it received them.
    std::vector<std::string> simCalls(const std::string& method) const;
    // Waits until the simulator has received `times` calls of the method.
    bool waitForSimCalls(const std::string& method, std::size_t times = 1) const;
    // Calls a method of the simulator's core engine control interface.
    bool control(const std::string& method, GVariant* parameters);

    veltest::PrivateBus mBus;
    veltest::SimProcess mSim{mBus};
};

// One Wi-Fi credentials record as the simulator's control interface takes it.
GVariant* credentialsArray(const std::vector<WIFI_CREDENTIALS_s>& records);

} // namespace coretest
