// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <list>
#include <string>

#include "vel/VelCallBackAgent.h"
#include "vel/VelCoreEngineTypes.h"
#include "vel/VelTypes.h"

/// @file
/// The callback interface of the core engine client.

/// What the MVEL service asks of the core engine, and what it tells it. A core
/// engine derives from this class and overrides the methods it handles; every
/// method it leaves alone logs one "not implemented" warning when called.
///
/// - The object must live until the process ends: the facade keeps a plain
///   pointer to it.
/// - The methods run on the library's main-loop thread, one at a time, and
///   must return quickly; a synchronous query sent from one of them holds up
///   every other delivery (see VelComProxyCoreEngine).
/// - Arguments are valid during the call only.
class VelCallBackCoreEngine : public VelCallBackAgent {
public:
    /// Registers the class's log context.
    VelCallBackCoreEngine();
    /// Unregisters the log context. The facade never deletes a callback object.
    virtual ~VelCallBackCoreEngine();

    /// Find the technology of a newly attached device ("actionToCore" with
    /// ORNA_REQ_FIND_TECHNOLOGY); answer with
    /// VelComProxyCoreEngine::responseFindTechnologyDone().
    /// @param vendorId  USB vendor id
    /// @param productId USB product id
    /// @param portNum   port number
    /// @param serial    serial number
    /// @param devpath   device path
    virtual void onRcvFindTechnology(const unsigned int& vendorId, const unsigned int& productId,
                                     const unsigned int& portNum, const std::string& serial,
                                     const std::string& devpath);
    /// Connect a device ("actionToCore" with ORNA_REQ_CONNECT); answer with
    /// VelComProxyCoreEngine::responseConnectDone().
    /// @param technology technology to connect with
    /// @param deviceId   the device
    /// @param vendorId   USB vendor id
    /// @param productId  USB product id
    /// @param portNum    port number
    /// @param serial     serial number
    /// @param devpath    device path
    /// @param macAddress MAC address
    /// @param cond       condition of the request, as the service sent it
    virtual void onRcvReqConnect(const TECHNOLOGY_e& technology, const std::string& deviceId,
                                 const unsigned int& vendorId, const unsigned int& productId,
                                 const unsigned int& portNum, const std::string& serial, const std::string& devpath,
                                 const std::string& macAddress, const CONNECT_CONDITION_e& cond);
    /// Connect a device over a wireless technology ("actionToCoreWireless" with
    /// ORNA_REQ_CONNECT).
    /// @param deviceId          the device
    /// @param technology        technology to connect with
    /// @param deviceSppNodePath the device's SPP node path
    /// @param information       the service's information text
    /// @param cond              condition of the request, as the service sent it
    virtual void onRcvReqConnectWireless(const std::string& deviceId, const TECHNOLOGY_e& technology,
                                         const std::string& deviceSppNodePath, const std::string& information,
                                         const CONNECT_CONDITION_e& cond);
    /// Disconnect a device ("actionToCore" with ORNA_REQ_DISCONNECT); answer
    /// with VelComProxyCoreEngine::sendDisconnectDone().
    /// @param technology technology to disconnect
    /// @param deviceId   the device
    /// @param vendorId   USB vendor id
    /// @param productId  USB product id
    /// @param portNum    port number
    /// @param serial     serial number
    /// @param devpath    device path
    /// @param reason     why, as the service sent it
    virtual void onRcvReqDisconnect(const TECHNOLOGY_e& technology, const std::string& deviceId,
                                    const unsigned int& vendorId, const unsigned int& productId,
                                    const unsigned int& portNum, const std::string& serial,
                                    const std::string& devpath, const ORNA_DISCONN_REASON_e& reason);
    /// Disconnect a device over a wireless technology ("actionToCoreWireless"
    /// with ORNA_REQ_DISCONNECT).
    /// @param technology technology to disconnect
    /// @param deviceId   the device
    /// @param info       the information text for technologies 2, 4 and 14, the
    ///                   SPP node path for technology 6
    /// @param reason     why, as the service sent it
    virtual void onRcvReqDisconnectWireless(const TECHNOLOGY_e& technology, const std::string& deviceId,
                                            const std::string& info, const ORNA_DISCONN_REASON_e& reason);
    /// The service finished a request of the core engine ("coreRequestDone").
    /// @param coreRequest the request, e.g. COREREQ_DISABLE_BT
    /// @param result      the service's result code, passed through unchanged
    /// @param coreInfo    the service's information text
    virtual void onRcvReqDone(const CORE_REQUEST_e& coreRequest, const ORNA_RESULT_e& result,
                              const std::string& coreInfo);
    /// Check what a device can do ("actionToCore" with ORNA_REQ_CHECK_CAPABILITY);
    /// answer with VelComProxyCoreEngine::sendCapability().
    /// @param technology technology to check
    /// @param deviceId   the device
    /// @param vendorId   USB vendor id
    /// @param productId  USB product id
    virtual void onRcvReqCheckCapability(const TECHNOLOGY_e& technology, const std::string& deviceId,
                                         const unsigned int& vendorId, const unsigned int& productId);
    /// Check what a wireless device can do ("checkCapability"), with the first
    /// Wi-Fi credentials record. Called right after
    /// onRcvReqCheckCapabilityWirelessEx(), and only when the list is not empty.
    /// @param deviceId          the device
    /// @param technology        technology to check
    /// @param deviceSppNodePath the device's SPP node path
    /// @param BTMacAddress      the device's Bluetooth MAC address
    /// @param credentials       the first record of the service's list
    virtual void onRcvReqCheckCapabilityWireless(const std::string& deviceId, const TECHNOLOGY_e& technology,
                                                 const std::string& deviceSppNodePath,
                                                 const std::string& BTMacAddress,
                                                 const WIFI_CREDENTIALS_s& credentials);
    /// Check what a wireless device can do ("checkCapability"), with every
    /// Wi-Fi credentials record the service sent.
    /// @param deviceId          the device
    /// @param technology        technology to check
    /// @param deviceSppNodePath the device's SPP node path
    /// @param BTMacAddress      the device's Bluetooth MAC address
    /// @param credentialsList   the records, in the service's order
    virtual void onRcvReqCheckCapabilityWirelessEx(const std::string& deviceId, const TECHNOLOGY_e& technology,
                                                   const std::string& deviceSppNodePath,
                                                   const std::string& BTMacAddress,
                                                   const std::list<WIFI_CREDENTIALS_s>& credentialsList);
    /// The link to a device was lost ("noticeToCoreLinkLoss").
    /// @param information the service's information text
    virtual void onRcvInfoLinkLoss(const std::string& information);
    /// Kept for core engines built against the full interface; no signal calls it.
    /// @param information the service's information text
    virtual void onRcvInfoLinkLossIP(const std::string& information);
    /// A device's id changed ("noticeToCore" with notice 6).
    /// @param information1 the notice's first text
    /// @param information2 the notice's second text
    virtual void onRcvChangedDeviceID(const std::string& information1, const std::string& information2);
    /// Kept for core engines built against the full interface; no signal calls it.
    /// @param deviceId   the device
    /// @param technology the technology
    /// @param value1     the service's first value
    /// @param value2     the service's second value
    virtual void onRcvOriginalDeviceInfo(const std::string& deviceId, const TECHNOLOGY_e& technology,
                                         const unsigned int& value1, const unsigned int& value2);
    /// A device's status changed ("noticeToCore" with notice 8 or 9).
    /// @param state        0 for notice 8, 1 for notice 9
    /// @param information1 the notice's text
    virtual void onRcvDeviceStatusChanged(const DEVICE_STATE_e& state, const std::string& information1);

    /// Not copyable: the facade keeps the object's address.
    VelCallBackCoreEngine(const VelCallBackCoreEngine&) = delete;
    /// Not copyable: the facade keeps the object's address.
    VelCallBackCoreEngine& operator=(const VelCallBackCoreEngine&) = delete;

private:
    class ImplVelCallBackCoreEngine;
    ImplVelCallBackCoreEngine* mImpl;
};
