// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>

#include "ReadyGate.h"
#include "vel/VelCallBackApp.h"

namespace velctl {

// A completion of connect or disconnect, as the service reported it.
struct Completion {
    std::string deviceId;
    unsigned int technology = 0;
    int result = 0;
};

// velctl's application callback: tells the ready gate, keeps the completions
// of connect and disconnect, and in watch mode prints every callback on stdout,
// one line each.
class AppWatchPrinter : public VelCallBackApp {
public:
    explicit AppWatchPrinter(ReadyGate& gate) : mGate(gate) {}

    void setPrinting(bool printing) { mPrinting = printing; }
    // Waits for a connect (or disconnect) completion of the device.
    bool waitConnectDone(const std::string& deviceId, std::chrono::milliseconds timeout, Completion& completion);
    bool waitDisconnectDone(const std::string& deviceId, std::chrono::milliseconds timeout, Completion& completion);

    void onRcvMVELReady(bool ready) override;
    void onRcvResponseAbortDiscovery(int result) override;
    void onRcvResponseConnectService(std::string deviceId, TECHNOLOGY_e technology, int result) override;
    void onRcvResponseDisconnectService(std::string deviceId, TECHNOLOGY_e technology, int result) override;
    void onRcvResponseEmergencyCallIndicator(int result) override;
    void onRcvResponseReconnectSuspend(int result) override;
    void onRcvResponseRejectTechnologySelection(std::string deviceId, int result) override;
    void onRcvResponseRemoveDevice(std::string deviceId, int result) override;
    void onRcvResponseRestoreFactorySettings(int result) override;
    void onRcvResponseSetPrioritizedDevice(int result) override;
    void onRcvResponseStartReconnect(int result) override;
    void onRcvResponseStartDiscovery(int result) override;
    void onRcvUpdateDeviceDisconnectionInfo(std::string deviceId, TECHNOLOGY_e technology, int detail,
                                            int result) override;
    void onRcvUpdateDiscoveredDevices(std::list<DEVICE>& devices, int result) override;
    void onRcvUpdateEmergencyCallIndicator(bool active, int result) override;
    void onRcvUpdateGetTechnologySelection(std::string deviceId, int result) override;
    void onRcvUpdateIncomingServiceRequestLimitExceeded(std::string deviceId, TECHNOLOGY_e technology,
                                                        int result) override;
    void onRcvNoticeLinkLossToApp(std::string deviceId, TECHNOLOGY_e technology, int result) override;
    void onRcvUpdateKnownDevices(std::list<DEVICE>& devices, int result) override;
    void onRcvUpdateSingleDeviceCoexMode(bool coexMode, int result) override;
    bool onRcvTechActiveInfo(std::vector<TECH_ACTIVE_INFO_s> infos) override;

private:
    void print(const std::string& line);
    bool waitCompletion(bool connect, const std::string& deviceId, std::chrono::milliseconds timeout,
                        Completion& completion);
    void complete(bool connect, const std::string& deviceId, TECHNOLOGY_e technology, int result);

    ReadyGate& mGate;
    bool mPrinting = false;
    std::mutex mMutex;
    std::condition_variable mCompleted;
    std::list<std::pair<bool, Completion>> mCompletions;
};

} // namespace velctl
