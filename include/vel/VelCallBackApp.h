#pragma once

#include <list>
#include <string>
#include <vector>

#include "vel/VelCallBackAgent.h"
#include "vel/VelTypes.h"

// What an application hears from the device-connection service: completions of
// its requests, notices and device lists. Derive from it, override what you
// need and hand the object to VelComProxyApp::getInstance. Every default body
// only writes a warning.
//
// The order of the virtual functions is part of the binary interface with
// applications that are already compiled: add nothing in between.
class VelCallBackApp : public VelCallBackAgent {
public:
    VelCallBackApp();
    ~VelCallBackApp() override;

    virtual void onRcvResponseAbortDiscovery(int result);
    virtual void onRcvResponseConnectService(std::string deviceId, TECHNOLOGY_e technology, int result);
    virtual void onRcvResponseDisconnectService(std::string deviceId, TECHNOLOGY_e technology, int result);
    virtual void onRcvResponseEmergencyCallIndicator(int result);
    virtual void onRcvResponseReconnectSuspend(int result);
    virtual void onRcvResponseRejectTechnologySelection(std::string deviceId, int result);
    virtual void onRcvResponseRemoveDevice(std::string deviceId, int result);
    virtual void onRcvResponseRestoreFactorySettings(int result);
    virtual void onRcvResponseSetPrioritizedDevice(int result);
    virtual void onRcvResponseStartReconnect(int result);
    virtual void onRcvResponseStartDiscovery(int result);
    virtual void onRcvUpdateDeviceDisconnectionInfo(std::string deviceId, TECHNOLOGY_e technology, int detail,
                                                    int result);
    // The list belongs to the library and is only valid during the call.
    virtual void onRcvUpdateDiscoveredDevices(std::list<DEVICE>& devices, int result);
    virtual void onRcvUpdateEmergencyCallIndicator(bool active, int result);
    virtual void onRcvUpdateGetTechnologySelection(std::string deviceId, int result);
    virtual void onRcvUpdateIncomingServiceRequestLimitExceeded(std::string deviceId, TECHNOLOGY_e technology,
                                                                int result);
    virtual void onRcvNoticeLinkLossToApp(std::string deviceId, TECHNOLOGY_e technology, int result);
    // The list belongs to the library and is only valid during the call.
    virtual void onRcvUpdateKnownDevices(std::list<DEVICE>& devices, int result);
    virtual void onRcvUpdateSingleDeviceCoexMode(bool coexMode, int result);
    // Return false to have the library log the delivery as failed.
    virtual bool onRcvTechActiveInfo(std::vector<TECH_ACTIVE_INFO_s> infos);

    VelCallBackApp(const VelCallBackApp&) = delete;
    VelCallBackApp& operator=(const VelCallBackApp&) = delete;

private:
    class ImplVelCallBackApp;
    ImplVelCallBackApp* mImpl;
};
