#pragma once

#include <list>
#include <string>

#include "vel/VelCallBackAgent.h"
#include "vel/VelCoreEngineTypes.h"
#include "vel/VelTypes.h"

// What the service asks of the core engine, and what it tells it. A core
// engine derives from this class and overrides the methods it handles; every
// method it leaves alone logs one "not implemented" warning when called.
// The methods run on the library's main-loop thread, one at a time, and must
// not block for long.
class VelCallBackCoreEngine : public VelCallBackAgent {
public:
    VelCallBackCoreEngine();
    virtual ~VelCallBackCoreEngine();

    virtual void onRcvFindTechnology(const unsigned int& vendorId, const unsigned int& productId,
                                     const unsigned int& portNum, const std::string& serial,
                                     const std::string& devpath);
    virtual void onRcvReqConnect(const TECHNOLOGY_e& technology, const std::string& deviceId,
                                 const unsigned int& vendorId, const unsigned int& productId,
                                 const unsigned int& portNum, const std::string& serial, const std::string& devpath,
                                 const std::string& macAddress, const CONNECT_CONDITION_e& cond);
    virtual void onRcvReqConnectWireless(const std::string& deviceId, const TECHNOLOGY_e& technology,
                                         const std::string& deviceSppNodePath, const std::string& information,
                                         const CONNECT_CONDITION_e& cond);
    virtual void onRcvReqDisconnect(const TECHNOLOGY_e& technology, const std::string& deviceId,
                                    const unsigned int& vendorId, const unsigned int& productId,
                                    const unsigned int& portNum, const std::string& serial,
                                    const std::string& devpath, const ORNA_DISCONN_REASON_e& reason);
    // info is the information text for technologies 2, 4 and 14 and the SPP
    // node path for technology 6.
    virtual void onRcvReqDisconnectWireless(const TECHNOLOGY_e& technology, const std::string& deviceId,
                                            const std::string& info, const ORNA_DISCONN_REASON_e& reason);
    virtual void onRcvReqDone(const CORE_REQUEST_e& coreRequest, const ORNA_RESULT_e& result,
                              const std::string& coreInfo);
    virtual void onRcvReqCheckCapability(const TECHNOLOGY_e& technology, const std::string& deviceId,
                                         const unsigned int& vendorId, const unsigned int& productId);
    // Called after onRcvReqCheckCapabilityWirelessEx with the first record of the list.
    virtual void onRcvReqCheckCapabilityWireless(const std::string& deviceId, const TECHNOLOGY_e& technology,
                                                 const std::string& deviceSppNodePath,
                                                 const std::string& BTMacAddress,
                                                 const WIFI_CREDENTIALS_s& credentials);
    virtual void onRcvReqCheckCapabilityWirelessEx(const std::string& deviceId, const TECHNOLOGY_e& technology,
                                                   const std::string& deviceSppNodePath,
                                                   const std::string& BTMacAddress,
                                                   const std::list<WIFI_CREDENTIALS_s>& credentialsList);
    virtual void onRcvInfoLinkLoss(const std::string& information);
    // Kept for core engines built against the full interface; no signal calls it.
    virtual void onRcvInfoLinkLossIP(const std::string& information);
    virtual void onRcvChangedDeviceID(const std::string& information1, const std::string& information2);
    // Kept for core engines built against the full interface; no signal calls it.
    virtual void onRcvOriginalDeviceInfo(const std::string& deviceId, const TECHNOLOGY_e& technology,
                                         const unsigned int& value1, const unsigned int& value2);
    virtual void onRcvDeviceStatusChanged(const DEVICE_STATE_e& state, const std::string& information1);

    VelCallBackCoreEngine(const VelCallBackCoreEngine&) = delete;
    VelCallBackCoreEngine& operator=(const VelCallBackCoreEngine&) = delete;

private:
    class ImplVelCallBackCoreEngine;
    ImplVelCallBackCoreEngine* mImpl;
};
