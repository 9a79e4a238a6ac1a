#pragma once

#include <cstddef>
#include <list>
#include <string>
#include <vector>

#include "vel/VelCallBackApp.h"
#include "vel/VelCallBackCoreEngine.h"

namespace velfuzz {

// Application callbacks that read everything they are handed, so that the
// sanitizers see every byte of every argument.
class InspectingAppCallBack : public VelCallBackApp {
public:
    void onRcvMVELReady(bool) override {}
    void onRcvResponseConnectService(std::string deviceId, TECHNOLOGY_e, int) override { touch(deviceId); }
    void onRcvResponseDisconnectService(std::string deviceId, TECHNOLOGY_e, int) override { touch(deviceId); }
    void onRcvResponseRejectTechnologySelection(std::string deviceId, int) override { touch(deviceId); }
    void onRcvResponseRemoveDevice(std::string deviceId, int) override { touch(deviceId); }
    void onRcvResponseRestoreFactorySettings(int) override { ++mCalls; }
    void onRcvResponseSetPrioritizedDevice(int) override { ++mCalls; }
    void onRcvUpdateDiscoveredDevices(std::list<DEVICE>& devices, int) override { touch(devices); }
    void onRcvUpdateGetTechnologySelection(std::string deviceId, int) override { touch(deviceId); }
    void onRcvUpdateIncomingServiceRequestLimitExceeded(std::string deviceId, TECHNOLOGY_e, int) override
    {
        touch(deviceId);
    }
    void onRcvNoticeLinkLossToApp(std::string deviceId, TECHNOLOGY_e, int) override { touch(deviceId); }
    void onRcvUpdateKnownDevices(std::list<DEVICE>& devices, int) override { touch(devices); }
    bool onRcvTechActiveInfo(std::vector<TECH_ACTIVE_INFO_s> infos) override
    {
        for (const TECH_ACTIVE_INFO_s& info : infos) {
            mChecksum += static_cast<unsigned>(info.technology) + (info.active ? 1u : 0u);
        }
        ++mCalls;
        return infos.size() % 2 == 0;
    }

    void touch(const std::string& text);
    void touch(const std::list<DEVICE>& devices);

    std::size_t mCalls = 0;
    std::size_t mChecksum = 0;
    std::size_t mDevices = 0;
};

// Core-engine callbacks likewise.
class InspectingCoreCallBack : public VelCallBackCoreEngine {
public:
    void onRcvMVELReady(bool) override {}
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
                                           const std::list<WIFI_CREDENTIALS_s>& credentials) override;
    void onRcvInfoLinkLoss(const std::string& information) override { touch(information); }
    void onRcvChangedDeviceID(const std::string& information1, const std::string& information2) override
    {
        touch(information1);
        touch(information2);
    }
    void onRcvDeviceStatusChanged(const DEVICE_STATE_e& state, const std::string& information1) override
    {
        mChecksum += static_cast<unsigned>(state);
        touch(information1);
    }

    void touch(const std::string& text);
    void touch(const WIFI_CREDENTIALS_s& credentials);

    std::size_t mCalls = 0;
    std::size_t mChecksum = 0;
};

} // namespace velfuzz
