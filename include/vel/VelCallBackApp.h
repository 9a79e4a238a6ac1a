// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <list>
#include <string>
#include <vector>

#include "vel/VelCallBackAgent.h"
#include "vel/VelTypes.h"

/// @file
/// The callback interface of application clients.

/// What an application hears from the device-connection service: completions
/// of requests, notices and device lists. Derive from it, override what you
/// need and hand the object to VelComProxyApp::getInstance(); every default
/// body only writes a warning.
///
/// - The object must live until the process ends: the facade keeps a plain
///   pointer to it and never lets go.
/// - Every method runs on the library's main-loop thread, one call at a time,
///   for every registered object in registration order. Return quickly and do
///   not send synchronous requests from here (see VelComProxyApp).
/// - Completions and notices reach every application of the service, whoever
///   asked.
/// - A device list handed to onRcvUpdateKnownDevices() or
///   onRcvUpdateDiscoveredDevices() is valid during the call only; copy what
///   you keep.
///
/// The order of the virtual functions is part of the binary interface with
/// applications that are already compiled: add nothing in between.
class VelCallBackApp : public VelCallBackAgent {
public:
    /// Registers the class's log context.
    VelCallBackApp();
    /// Unregisters the log context. The facade never deletes a callback object.
    ~VelCallBackApp() override;

    /// Not called by this library (no request of the facade starts a discovery).
    /// @param result the service's result code
    virtual void onRcvResponseAbortDiscovery(int result);
    /// Completion of VelComProxyApp::doServiceConnect().
    /// @param deviceId   the device the request named
    /// @param technology the technology the service used, as it sent it
    /// @param result     the service's result code, passed through unchanged
    virtual void onRcvResponseConnectService(std::string deviceId, TECHNOLOGY_e technology, int result);
    /// Completion of VelComProxyApp::doServiceDisconnect().
    /// @param deviceId   the device the request named
    /// @param technology the technology, as the service sent it
    /// @param result     the service's result code, passed through unchanged
    virtual void onRcvResponseDisconnectService(std::string deviceId, TECHNOLOGY_e technology, int result);
    /// Not called by this library: VelComProxyApp::doSetEmergencyCallIndicator()
    /// sends nothing, so no completion arrives.
    /// @param result the service's result code
    virtual void onRcvResponseEmergencyCallIndicator(int result);
    /// Not called by this library: the service sends no completion for
    /// VelComProxyApp::doReconnectSuspend().
    /// @param result the service's result code
    virtual void onRcvResponseReconnectSuspend(int result);
    /// Completion of VelComProxyApp::doRejectTechnologySelection().
    /// @param deviceId the device the request named
    /// @param result   the service's result code, passed through unchanged
    virtual void onRcvResponseRejectTechnologySelection(std::string deviceId, int result);
    /// Completion of VelComProxyApp::doRemoveDevice().
    /// @param deviceId the device the request named
    /// @param result   the service's result code, passed through unchanged
    virtual void onRcvResponseRemoveDevice(std::string deviceId, int result);
    /// The service finished the function item FUNC_ITEM_RESTORE_FACTORY_SETTINGS
    /// (signal "checkFuncOpModeDone").
    /// @param result the service's result code, passed through unchanged
    virtual void onRcvResponseRestoreFactorySettings(int result);
    /// Completion of VelComProxyApp::doSetPrioritizedDevice().
    /// @param result the service's result code, passed through unchanged
    virtual void onRcvResponseSetPrioritizedDevice(int result);
    /// Not called by this library (no request of the facade starts a reconnection).
    /// @param result the service's result code
    virtual void onRcvResponseStartReconnect(int result);
    /// Not called by this library (no request of the facade starts a discovery).
    /// @param result the service's result code
    virtual void onRcvResponseStartDiscovery(int result);
    /// Not called by this library (no signal carries disconnection details).
    /// @param deviceId   the device
    /// @param technology the technology
    /// @param detail     the service's detail code
    /// @param result     the service's result code
    virtual void onRcvUpdateDeviceDisconnectionInfo(std::string deviceId, TECHNOLOGY_e technology, int detail,
                                                    int result);
    /// The list of discovered devices changed (notice
    /// NOTICE_DISCOVERED_DEVICES_UPDATED); the facade copied it out of the
    /// device store.
    /// The list belongs to the library and is only valid during the call:
    /// copy or take what you need, but do not keep the reference.
    /// @param devices the devices, in the order the service published them
    /// @param result  always 1
    virtual void onRcvUpdateDiscoveredDevices(std::list<DEVICE>& devices, int result);
    /// Not called by this library (no signal carries the indicator).
    /// @param active whether the emergency-call indicator is on
    /// @param result the service's result code
    virtual void onRcvUpdateEmergencyCallIndicator(bool active, int result);
    /// The service asks for a technology selection for the device (notice
    /// NOTICE_GET_TECHNOLOGY_SELECTION); VelComProxyApp::doRejectTechnologySelection()
    /// rejects it.
    /// @param deviceId the device
    /// @param result   always 1
    virtual void onRcvUpdateGetTechnologySelection(std::string deviceId, int result);
    /// The device asked for more services than the service accepts at once
    /// (notice NOTICE_INCOMING_SERVICE_REQUEST_LIMIT_EXCEEDED).
    /// @param deviceId   the device
    /// @param technology the technology, as the service sent it
    /// @param result     always 1
    virtual void onRcvUpdateIncomingServiceRequestLimitExceeded(std::string deviceId, TECHNOLOGY_e technology,
                                                                int result);
    /// The link to a device was lost (notice NOTICE_LINK_LOSS).
    /// @param deviceId   the device
    /// @param technology the technology whose link was lost
    /// @param result     always 1
    virtual void onRcvNoticeLinkLossToApp(std::string deviceId, TECHNOLOGY_e technology, int result);
    /// The list of known devices changed (notice NOTICE_KNOWN_DEVICES_UPDATED);
    /// the facade copied it out of the device store.
    /// The list belongs to the library and is only valid during the call:
    /// copy or take what you need, but do not keep the reference.
    /// @param devices the devices, in the order the service published them
    /// @param result  always 1
    virtual void onRcvUpdateKnownDevices(std::list<DEVICE>& devices, int result);
    /// Not called by this library (no signal carries the coexistence mode).
    /// @param coexMode whether only one device may be connected at a time
    /// @param result   the service's result code
    virtual void onRcvUpdateSingleDeviceCoexMode(bool coexMode, int result);
    /// Which technologies are active now (signal "noticeTechActiveInfo").
    /// @param infos one entry per technology, in the service's order
    /// @return true when handled; false to have the library log the delivery
    ///         as failed
    virtual bool onRcvTechActiveInfo(std::vector<TECH_ACTIVE_INFO_s> infos);

    /// Not copyable: the facade keeps the object's address.
    VelCallBackApp(const VelCallBackApp&) = delete;
    /// Not copyable: the facade keeps the object's address.
    VelCallBackApp& operator=(const VelCallBackApp&) = delete;

private:
    class ImplVelCallBackApp;
    ImplVelCallBackApp* mImpl;
};
