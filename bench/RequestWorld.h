// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include "BenchCallbacks.h"
#include "SimControl.h"
#include "vel/VelComProxyApp.h"
#include "vel/VelComProxyCoreEngine.h"
#include "vel/mvel_interface.h"

namespace velbench {

// The clients of the request benchmarks, side by side in this process: an
// application facade, a core-engine facade and the baseline's raw proxy, all
// on the one shared system-bus connection. Made on first use, because while
// they exist every signal of the service reaches this process too, and the
// benchmarks that run in child processes must not share the machine with that.
struct RequestWorld {
    BenchAppCallback appCallback;
    BenchCoreCallback coreCallback;
    VelComProxyApp* app = nullptr;
    VelComProxyCoreEngine* core = nullptr;
    ComQorVel_communicator* raw = nullptr;
    SimControl* sim = nullptr;
};

// nullptr when the clients could not be brought up.
RequestWorld* requestWorld();

// The device for which the simulator answers checkPaired with true.
constexpr const char* kPairedDeviceId = "bench-device";
// Credential records the simulator hands the core engine.
constexpr unsigned kCredentialRecords = 3;

} // namespace velbench
