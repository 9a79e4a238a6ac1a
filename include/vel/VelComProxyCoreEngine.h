// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <list>
#include <string>

#include "vel/GlibTypes.h"
#include "vel/VelCallBackCoreEngine.h"
#include "vel/VelComProxy.h"
#include "vel/VelCoreEngineTypes.h"
#include "vel/VelTypes.h"

/// @file
/// The core engine facade.

/// The core engine's link to the MVEL service: one facade per core engine
/// client kind (200 to 203). It reports results, capabilities, addresses and
/// serials, asks the service synchronously for device ids, Wi-Fi credentials
/// and the head unit's Bluetooth address, and hands the service's actions to
/// the callback.
///
/// Lifecycle:
/// - getInstance(kind, name, &callback), then doInitialize(). The facade is a
///   process-wide object destroyed at exit; the callback object is not owned
///   and must live until the process ends.
/// - doRelease() does nothing and is never needed.
/// - onRcvMVELReady(true) on the callback tells that the facade has subscribed
///   and registered; reports sent before it fail.
/// - The service's actions and notices reach every core engine of the service.
/// - Callbacks run on the library's main-loop thread, one at a time. A
///   synchronous query (the ...Sync methods) from inside a callback holds up
///   every other delivery until its answer comes, up to D-Bus's timeout of
///   25 s.
/// - Technology and result values belong to the service and pass through
///   unchanged; docs/simulator.md lists the values the simulator uses.
class VelComProxyCoreEngine : public VelComProxy {
public:
    /// Returns the facade of this core engine client kind, created on the first
    /// call with this name and callback; later calls return it unchanged.
    /// Ends the process (exit status 0) for a client kind outside 200 to 203.
    /// @param clientType core engine client kind, 200 to 203
    /// @param clientName the client's name, the tag of the facade's log lines
    /// @param callback   receives the service's actions; may be null; not
    ///                   owned, and must live as long as the facade is used
    /// @return the facade
    static VelComProxyCoreEngine* getInstance(const CLIENT_TYPE_e& clientType, const std::string& clientName,
                                              VelCallBackCoreEngine* callback);
    /// The facade of this client kind, created on first use. Internal step of
    /// getInstance().
    /// @param clientType core engine client kind
    /// @param clientName the name used when the facade is created
    /// @param callback   the callback used when the facade is created
    /// @return the facade, or null for a kind outside 200 to 203
    static VelComProxyCoreEngine* getInstance_l(const CLIENT_TYPE_e& clientType, const std::string& clientName,
                                                VelCallBackCoreEngine* callback);

    /// Runs at process exit; does not unsubscribe the signals.
    ~VelComProxyCoreEngine() override;
    /// Starts watching the service. The link is ready when
    /// VelCallBackCoreEngine::onRcvMVELReady(true) arrives.
    /// @return true when the watch was started
    bool doInitialize() override;
    /// Releases nothing.
    /// @return true
    bool doRelease() override;
    /// Subscribes the six core engine signals; called by the library when the
    /// service appears.
    /// @return false when there is no bus connection
    bool subscribe() override;

    /// Sends nothing; kept for core engines that call it.
    /// @param deviceId   the device
    /// @param technology the technology
    /// @return true
    bool sendRoleswitchStarted(const std::string& deviceId, TECHNOLOGY_e technology);
    /// Asks the service to disable Bluetooth. Asynchronous; the outcome arrives
    /// in VelCallBackCoreEngine::onRcvReqDone().
    /// @param clientType the core engine's client kind
    /// @param request    must be COREREQ_DISABLE_BT
    /// @param macAddr    Bluetooth MAC address
    /// @return true once handed to the bus; false for another request or while
    ///         the service is not connected
    bool sendReqDisableBT(const CLIENT_TYPE_e& clientType, const CORE_REQUEST_e& request, const std::string& macAddr);
    /// Asks the service to start Wi-Fi for the device. Asynchronous.
    /// @param clientType the core engine's client kind
    /// @param deviceId   the device; digits only
    /// @return true once handed to the bus; false for an invalid device id or
    ///         while the service is not connected
    bool sendReqWifiStart(const CLIENT_TYPE_e& clientType, const std::string& deviceId);
    /// Asks the service for a user switch. Asynchronous.
    /// @param clientType the core engine's client kind
    /// @param deviceId   the device (not checked)
    /// @param mode       the switch's mode
    /// @return true once handed to the bus
    bool sendReqUserSwitch(const CLIENT_TYPE_e& clientType, const std::string& deviceId, bool mode);
    /// Answers VelCallBackCoreEngine::onRcvFindTechnology(). Asynchronous.
    /// @param result     the outcome, as the service numbers it
    /// @param deviceId   the device; digits only
    /// @param technology the technology found
    /// @return true once handed to the bus; false for an invalid device id or
    ///         while the service is not connected
    bool responseFindTechnologyDone(const ORNA_RESULT_e& result, const std::string& deviceId, TECHNOLOGY_e technology);
    /// Answers VelCallBackCoreEngine::onRcvReqConnect(). Asynchronous.
    /// @param result     the outcome, as the service numbers it
    /// @param deviceId   the device (not checked)
    /// @param technology the technology
    /// @param info       information text for the service
    /// @return true once handed to the bus
    bool responseConnectDone(const ORNA_RESULT_e& result, const std::string& deviceId, TECHNOLOGY_e technology,
                             const std::string& info);
    /// Reports the end of an iAP2 connection (request ORNA_REQ_IAP2_CONNECT).
    /// Asynchronous.
    /// @param result     the outcome, as the service numbers it
    /// @param deviceId   the device (not checked)
    /// @param technology the technology
    /// @param flag       the service's flag for the connection
    /// @return true once handed to the bus
    bool responseIAP2ConnectDone(const ORNA_RESULT_e& result, const std::string& deviceId, TECHNOLOGY_e technology,
                                 bool flag);
    /// Answers VelCallBackCoreEngine::onRcvReqDisconnect(). Asynchronous.
    /// @param result     the outcome, as the service numbers it
    /// @param deviceId   the device (not checked)
    /// @param technology the technology
    /// @return true once handed to the bus
    bool sendDisconnectDone(const ORNA_RESULT_e& result, const std::string& deviceId, TECHNOLOGY_e technology);
    /// Reports the end of an iAP2 disconnection (request
    /// ORNA_REQ_IAP2_DISCONNECT). Asynchronous.
    /// @param result     the outcome, as the service numbers it
    /// @param deviceId   the device (not checked)
    /// @param technology the technology
    /// @return true once handed to the bus
    bool sendIAP2DisconnectDone(const ORNA_RESULT_e& result, const std::string& deviceId, TECHNOLOGY_e technology);
    /// Reports that the device did not answer the video set-up. Asynchronous.
    /// @param deviceId   the device; digits only
    /// @param technology the technology
    /// @return true once handed to the bus; false for an invalid device id
    bool sendVideoSetupNotResponse(const std::string& deviceId, const TECHNOLOGY_e& technology);
    /// Reports the device's friendly name, unfiltered. Asynchronous.
    /// @param deviceId     the device; digits only
    /// @param technology   the technology
    /// @param friendlyName the name
    /// @return true once handed to the bus; false for an invalid device id
    bool sendFriendlyName(const std::string& deviceId, const TECHNOLOGY_e& technology, const std::string& friendlyName);
    /// Reports the device's Bluetooth MAC address. Asynchronous.
    /// @param deviceId the device; digits only
    /// @param macAddr  the address
    /// @return true once handed to the bus; false for an invalid device id
    bool sendBTMACAddress(const std::string& deviceId, const std::string& macAddr);
    /// Reports the device's Wi-Fi MAC address. Asynchronous.
    /// @param deviceId the device; digits only
    /// @param macAddr  the address
    /// @return true once handed to the bus; false for an invalid device id
    bool sendWifiMACAddress(const std::string& deviceId, const std::string& macAddr);
    /// Reports the device's USB serial number. Asynchronous.
    /// @param deviceId the device; digits only
    /// @param serial   the serial number
    /// @return true once handed to the bus; false for an invalid device id
    bool sendUsbSerial(const std::string& deviceId, const std::string& serial);
    /// Answers VelCallBackCoreEngine::onRcvReqCheckCapability() with a result.
    /// Asynchronous.
    /// Accepts results 100, 400 and 401 only; 400 and 401 travel as result 0
    /// with the flag true and false.
    /// @param technology   the technology checked
    /// @param deviceId     the device; digits only
    /// @param result       100, 400 or 401
    /// @param friendlyName the device's name; unprintable bytes are dropped
    /// @return true once handed to the bus; false for another result or an
    ///         invalid device id
    bool sendCapability(const TECHNOLOGY_e& technology, const std::string& deviceId, const ORNA_RESULT_e& result,
                        const std::string& friendlyName);
    /// Answers VelCallBackCoreEngine::onRcvReqCheckCapability() with a yes or
    /// no. Asynchronous.
    /// @param technology   the technology checked
    /// @param deviceId     the device; digits only
    /// @param available    whether the device has the capability
    /// @param friendlyName the device's name; unprintable bytes are dropped
    /// @return true once handed to the bus; false for an invalid device id
    bool sendCapability(const TECHNOLOGY_e& technology, const std::string& deviceId, const bool& available,
                        const std::string& friendlyName);

    /// Asks the service for the id it assigned to a device. Synchronous: blocks
    /// until the service replies (bus default timeout).
    /// The client kind sent is taken from the technology (4, 5: 200; 6, 7: 201;
    /// 14, 15: 105), whatever the caller gives.
    /// @param clientType logged only
    /// @param request    must be COREREQ_GET_DEVID
    /// @param technology 4, 5, 6, 7, 14 or 15
    /// @param[out] deviceId the service's answer
    /// @return true when the service answered; false for another request or
    ///         technology, or when the call failed
    bool sendReqGetDeviceIdSync(const CLIENT_TYPE_e& clientType, const CORE_REQUEST_e& request,
                                const TECHNOLOGY_e& technology, std::string& deviceId);
    /// Asks the service for the id it assigned to the device with this MAC
    /// address. Synchronous, like the overload without it; any technology is
    /// sent, with the given client kind.
    /// @param clientType the client kind sent
    /// @param request    must be COREREQ_GET_DEVID
    /// @param technology the technology
    /// @param macAddr    the device's MAC address
    /// @param[out] deviceId the service's answer
    /// @return true when the service answered
    bool sendReqGetDeviceIdSync(const CLIENT_TYPE_e& clientType, const CORE_REQUEST_e& request,
                                const TECHNOLOGY_e& technology, const std::string& macAddr, std::string& deviceId);
    /// Asks the service for the head unit's Wi-Fi credentials. Synchronous.
    /// Gives the first record of the service's list.
    /// @param clientType the client kind sent
    /// @param request    must be COREREQ_GET_WIFI_CREDENTIALS
    /// @param[out] credentials the first record
    /// @return true when the service answered with at least one record
    bool sendReqGetWifiCredentialsSync(const CLIENT_TYPE_e& clientType, const CORE_REQUEST_e& request,
                                       WIFI_CREDENTIALS_s& credentials);
    /// Asks the service for every Wi-Fi credentials record. Synchronous.
    /// @param clientType the client kind sent
    /// @param request    must be COREREQ_GET_WIFI_CREDENTIALS
    /// @param[out] wifiCredentialsList the records are appended, in the
    ///             service's order
    /// @return true when the service answered with at least one record
    bool sendReqGetWifiCredentialsSyncEx(const CLIENT_TYPE_e& clientType, const CORE_REQUEST_e& request,
                                         std::list<WIFI_CREDENTIALS_s>& wifiCredentialsList);
    /// Asks the service for the head unit's Bluetooth MAC address. Synchronous.
    /// @param clientType the client kind sent
    /// @param request    must be COREREQ_GET_HU_BT_MAC
    /// @param[out] macAddress the service's answer
    /// @return true when the service answered
    bool sendReqGetHUBTMacAddressSync(const CLIENT_TYPE_e& clientType, const CORE_REQUEST_e& request,
                                      std::string& macAddress);

    /// The one handler of the six subscribed signals; userData is the facade.
    /// Called by GDBus on the main-loop thread; it calls the
    /// VelCallBackCoreEngine object given to getInstance().
    static void onVelLibraryCoreengineCallBack(GDBusConnection* connection, const gchar* senderName,
                                               const gchar* objectPath, const gchar* interfaceName,
                                               const gchar* signalName, GVariant* parameters, gpointer userData);

    class ImplVelComProxyCoreEngine;

private:
    VelComProxyCoreEngine(const CLIENT_TYPE_e& clientType, const std::string& clientName,
                          VelCallBackCoreEngine* callback);

    ImplVelComProxyCoreEngine* mImpl;
};
