// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <chrono>
#include <mutex>
#include <string>
#include <vector>

#include "vel/VelCallBackCoreEngine.h"

namespace veltest {

// Writes every callback it receives as one line, e.g.
// "onRcvReqDone(2, 0, info)", so that tests can compare calls and their order.
class RecordingCoreEngineCallback : public VelCallBackCoreEngine {
public:
    void onRcvMVELReady(bool ready) override;
    void onRcvFindTechnology(const unsigned int& vendorId, const unsigned int& productId, const unsigned int& portNum,
                             const std::string& serial, const std::string& devpath) override;
    void onRcvReqConnect(const TECHNOLOGY_e& technology, const std::string& deviceId, const unsigned int& vendorId,
                         const unsigned int& productId, const unsigned int& portNum, const std::string& serial,
                         const std::string& devpath, const std::string& macAddress,
                         const CONNECT_CONDITION_e& cond) override;
    void onRcvReqConnectWireless(const std::string& deviceId, const TECHNOLOGY_e& technology,
                                 const std::string& deviceSppNodePath, const std::string& information,
                                 const CONNECT_CONDITION_e& cond) override;
    void onRcvReqDisconnect(const TECHNOLOGY_e& technology, const std::string& deviceId, const unsigned int& vendorId,
                            const unsigned int& productId, const unsigned int& portNum, const std::string& serial,
                            const std::string& devpath, const ORNA_DISCONN_REASON_e& reason) override;
    void onRcvReqDisconnectWireless(const TECHNOLOGY_e& technology, const std::string& deviceId,
                                    const std::string& info, const ORNA_DISCONN_REASON_e& reason) override;
    void onRcvReqDone(const CORE_REQUEST_e& coreRequest, const ORNA_RESULT_e& result,
                      const std::string& coreInfo) override;
    void onRcvReqCheckCapability(const TECHNOLOGY_e& technology, const std::string& deviceId,
                                 const unsigned int& vendorId, const unsigned int& productId) override;
    void onRcvReqCheckCapabilityWireless(const std::string& deviceId, const TECHNOLOGY_e& technology,
                                         const std::string& deviceSppNodePath, const std::string& BTMacAddress,
                                         const WIFI_CREDENTIALS_s& credentials) override;
    void onRcvReqCheckCapabilityWirelessEx(const std::string& deviceId, const TECHNOLOGY_e& technology,
                                           const std::string& deviceSppNodePath, const std::string& BTMacAddress,
                                           const std::list<WIFI_CREDENTIALS_s>& credentialsList) override;
    void onRcvInfoLinkLoss(const std::string& information) override;
    void onRcvInfoLinkLossIP(const std::string& information) override;
    void onRcvChangedDeviceID(const std::string& information1, const std::string& information2) override;
    void onRcvOriginalDeviceInfo(const std::string& deviceId, const TECHNOLOGY_e& technology,
                                 const unsigned int& value1, const unsigned int& value2) override;
    void onRcvDeviceStatusChanged(const DEVICE_STATE_e& state, const std::string& information1) override;

    std::vector<std::string> calls() const;
    void clear();
    std::size_t count(const std::string& prefix) const;
    bool waitForCall(const std::string& prefix, std::chrono::milliseconds timeout, std::size_t times = 1) const;

    static std::string describe(const WIFI_CREDENTIALS_s& credentials);

private:
    void record(const std::string& call);

    mutable std::mutex mMutex;
    std::vector<std::string> mCalls;
};

} // namespace veltest
