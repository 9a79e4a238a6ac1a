// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "vel/VelCallBackApp.h"

namespace veltest {

// One call the library made on a callback object, with what it was given.
struct Call {
    std::string callback;
    std::string name;
    std::string deviceId;
    unsigned technology = 0;
    int result = 0;
    bool flag = false;
    std::vector<DEVICE> devices;
    std::vector<TECH_ACTIVE_INFO_s> infos;
};

// Records every call the library makes, across all recording callbacks of
// the process in one sequence, so that tests can check the order of delivery.
class RecordingCallBack : public VelCallBackApp {
public:
    explicit RecordingCallBack(std::string tag);

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

    // What onRcvTechActiveInfo answers.
    void setTechActiveInfoAnswer(bool answer);

    // Calls this object received, optionally only those of one operation.
    std::vector<Call> calls(const std::string& name = std::string()) const;
    std::size_t count(const std::string& name) const;
    bool waitFor(const std::string& name, std::size_t times = 1,
                 std::chrono::milliseconds timeout = std::chrono::seconds(10)) const;

    // Every call of every recording callback, in delivery order.
    static std::vector<Call> allCalls();
    // How many calls of every recording callback were not readiness reports.
    static std::size_t dispatchedCount();
    // Forgets every call recorded so far (a fuzzer's run, say, starts afresh).
    static void clearAll();

private:
    // What most callbacks carry; the fields a callback lacks keep a Call's defaults.
    // What one callback carries; a callback names the leading ones it has.
    struct Fields {
        Fields(int resultValue, std::string deviceIdValue = std::string(),
               TECHNOLOGY_e technologyValue = static_cast<TECHNOLOGY_e>(0), bool flagValue = false,
               const std::list<DEVICE>* devicesValue = nullptr)
            : result(resultValue), deviceId(std::move(deviceIdValue)), technology(technologyValue), flag(flagValue),
              devices(devicesValue)
        {
        }
        int result;
        std::string deviceId;
        TECHNOLOGY_e technology;
        bool flag;
        const std::list<DEVICE>* devices;
    };
    void recordFields(const char* name, const Fields& fields);
    void record(Call call);

    std::string mTag;
    bool mTechActiveInfoAnswer = true;
};

} // namespace veltest
