// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "support/RecordingCallBack.h"
#include "support/LogCapture.h"
#include "support/PrivateBus.h"
#include "support/SimProcess.h"
#include "vel/VelCallBackApp.h"
#include "vel/VelComProxyApp.h"

namespace apptest {

using veltest::Call;
using veltest::RecordingCallBack;

constexpr const char* kClientName = "apptest";

// The name the library tags its lines with for a client name in this process.
std::string adjustedName(const std::string& clientName);
// A whole line of the application facade.
std::string appLine(const std::string& function, const std::string& text,
                    const std::string& clientName = kClientName);
std::string callBackLine(const std::string& text);

// Callback objects live as long as the process: the facade keeps raw
// pointers to them and outlives every test body.
RecordingCallBack& recorder(int index);
VelCallBackApp& silentCallBack();

// Waits until the facade's main-loop thread has announced itself, so that its
// start-up line does not land among the lines a test looks at.
void waitForMainLoopThread();
// Captured texts that contain the fragment, in order.
std::vector<std::string> textsWith(const std::string& fragment);

// A device identifier as the library hands it over.
std::string idOf(const DEVICE& device);
std::vector<std::string> idsOf(const std::vector<DEVICE>& devices);

// The private bus, the simulator and one application facade connected to it.
class AppClientTest : public ::testing::Test {
protected:
    void TearDown() override;

    void startService(const std::vector<std::string>& options = {});
    // startService() with its defaults, then connectApp() with the callbacks.
    void startAndConnect(std::initializer_list<VelCallBackApp*> callbacks);
    // Registers the callbacks in order, initialises and waits until the
    // service has seen the registration (the signals are subscribed by then).
    VelComProxyApp* connectApp(std::initializer_list<VelCallBackApp*> callbacks,
                               CLIENT_TYPE_e clientType = static_cast<CLIENT_TYPE_e>(100));

    // The simulator's application control interface.
    void control(const char* method, GVariant* parameters);
    void setCompletion(unsigned result, unsigned delayMs);
    void setPaired(const std::vector<std::string>& deviceIds);
    void setMaxPaired(bool reached);
    // Returns the records exactly as the simulator wrote them.
    std::vector<DEVICE> publishDevices(DEVICE_LIST_TYPE listType, const std::vector<std::string>& deviceIds,
                                       bool notify);
    void notice(unsigned notice, const std::string& info1, int info2);
    void requestDone(unsigned appRequest, unsigned result, const std::string& deviceId, unsigned technology);
    void funcOpModeDone(unsigned function, unsigned result);
    void techActiveInfo(const std::vector<TECH_ACTIVE_INFO_s>& infos);
    // Emits any signal through the simulator's base control interface.
    void emitRaw(const std::string& signal, GVariant* parameters);
    // Waits for a line of the simulator's own log.
    bool simLogged(const std::string& fragment, std::size_t times = 1);

    veltest::PrivateBus mBus;
    veltest::SimProcess mSim{mBus};
    VelComProxyApp* mApp = nullptr;
};

} // namespace apptest
