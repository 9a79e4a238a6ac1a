#pragma once

#include <gio/gio.h>

#include <list>
#include <string>

#include "vel/VelCallBackCoreEngine.h"
#include "vel/VelComProxy.h"
#include "vel/VelCoreEngineTypes.h"
#include "vel/VelTypes.h"

// The core engine's link to the MVEL service: one facade per core engine client
// kind (200 to 203). It reports results, capabilities, addresses and serials,
// asks the service synchronously for device ids, Wi-Fi credentials and the head
// unit's Bluetooth address, and hands the service's actions to the callback.
class VelComProxyCoreEngine : public VelComProxy {
public:
    // Ends the process (exit status 0) for a client kind outside 200 to 203.
    static VelComProxyCoreEngine* getInstance(const CLIENT_TYPE_e& clientType, const std::string& clientName,
                                              VelCallBackCoreEngine* callback);
    static VelComProxyCoreEngine* getInstance_l(const CLIENT_TYPE_e& clientType, const std::string& clientName,
                                                VelCallBackCoreEngine* callback);

    ~VelComProxyCoreEngine() override;
    bool doInitialize() override;
    bool doRelease() override;
    bool subscribe() override;

    // Asynchronous requests and reports: true once handed to the bus.
    bool sendRoleswitchStarted(const std::string& deviceId, TECHNOLOGY_e technology);
    bool sendReqDisableBT(const CLIENT_TYPE_e& clientType, const CORE_REQUEST_e& request, const std::string& macAddr);
    bool sendReqWifiStart(const CLIENT_TYPE_e& clientType, const std::string& deviceId);
    bool sendReqUserSwitch(const CLIENT_TYPE_e& clientType, const std::string& deviceId, bool mode);
    bool responseFindTechnologyDone(const ORNA_RESULT_e& result, const std::string& deviceId, TECHNOLOGY_e technology);
    bool responseConnectDone(const ORNA_RESULT_e& result, const std::string& deviceId, TECHNOLOGY_e technology,
                             const std::string& info);
    bool responseIAP2ConnectDone(const ORNA_RESULT_e& result, const std::string& deviceId, TECHNOLOGY_e technology,
                                 bool flag);
    bool sendDisconnectDone(const ORNA_RESULT_e& result, const std::string& deviceId, TECHNOLOGY_e technology);
    bool sendIAP2DisconnectDone(const ORNA_RESULT_e& result, const std::string& deviceId, TECHNOLOGY_e technology);
    bool sendVideoSetupNotResponse(const std::string& deviceId, const TECHNOLOGY_e& technology);
    bool sendFriendlyName(const std::string& deviceId, const TECHNOLOGY_e& technology, const std::string& friendlyName);
    bool sendBTMACAddress(const std::string& deviceId, const std::string& macAddr);
    bool sendWifiMACAddress(const std::string& deviceId, const std::string& macAddr);
    bool sendUsbSerial(const std::string& deviceId, const std::string& serial);
    // Accepts results 100, 400 and 401 only; 400 and 401 travel as result 0
    // with the flag true and false.
    bool sendCapability(const TECHNOLOGY_e& technology, const std::string& deviceId, const ORNA_RESULT_e& result,
                        const std::string& friendlyName);
    bool sendCapability(const TECHNOLOGY_e& technology, const std::string& deviceId, const bool& available,
                        const std::string& friendlyName);

    // Synchronous queries: block until the service replies (bus default timeout).
    // The client kind sent is taken from the technology (4, 5: 200; 6, 7: 201;
    // 14, 15: 105), whatever the caller gives.
    bool sendReqGetDeviceIdSync(const CLIENT_TYPE_e& clientType, const CORE_REQUEST_e& request,
                                const TECHNOLOGY_e& technology, std::string& deviceId);
    bool sendReqGetDeviceIdSync(const CLIENT_TYPE_e& clientType, const CORE_REQUEST_e& request,
                                const TECHNOLOGY_e& technology, const std::string& macAddr, std::string& deviceId);
    // Gives the first record of the service's list.
    bool sendReqGetWifiCredentialsSync(const CLIENT_TYPE_e& clientType, const CORE_REQUEST_e& request,
                                       WIFI_CREDENTIALS_s& credentials);
    bool sendReqGetWifiCredentialsSyncEx(const CLIENT_TYPE_e& clientType, const CORE_REQUEST_e& request,
                                         std::list<WIFI_CREDENTIALS_s>& wifiCredentialsList);
    bool sendReqGetHUBTMacAddressSync(const CLIENT_TYPE_e& clientType, const CORE_REQUEST_e& request,
                                      std::string& macAddress);

    // The one handler of the six subscribed signals; userData is the facade.
    static void onVelLibraryCoreengineCallBack(GDBusConnection* connection, const gchar* senderName,
                                               const gchar* objectPath, const gchar* interfaceName,
                                               const gchar* signalName, GVariant* parameters, gpointer userData);

    class ImplVelComProxyCoreEngine;

private:
    VelComProxyCoreEngine(const CLIENT_TYPE_e& clientType, const std::string& clientName,
                          VelCallBackCoreEngine* callback);

    ImplVelComProxyCoreEngine* mImpl;
};
