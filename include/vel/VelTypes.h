// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

/// @file
/// Vocabulary shared with the MVEL service: the numbers that travel in the bus
/// methods and signals, and the records published in the device store. Every
/// enumeration is 32 bits wide and may carry values this header does not name;
/// the library passes such values through unchanged.

#include <cstddef>
#include <cstdint>

/// Client kind, registered with the service. Each kind has one facade per
/// process.
enum CLIENT_TYPE_e : uint32_t {
    CLIENT_TYPE_APPLICATION_FIRST = 100, ///< first application kind (VelComProxyApp: 100 to 105)
    CLIENT_TYPE_APPLICATION_LAST = 105,  ///< last application kind
    CLIENT_TYPE_CORE_ENGINE_FIRST = 200, ///< first core engine kind (VelComProxyCoreEngine: 200 to 203)
    CLIENT_TYPE_CORE_ENGINE_LAST = 203,  ///< last core engine kind
    CLIENT_TYPE_CONTROLLER = 400,        ///< the controller (VelComProxyController)
};

/// Connection technology of a device or service, as the service numbers it.
/// The library passes every value through unchanged.
enum TECHNOLOGY_e : uint32_t {
    /// The service reads 28 as "no technology named"; sent with every
    /// application request that names no technology.
    TECHNOLOGY_NONE = 28,
};

/// Outcome of a request; defined by the service and passed through untouched.
enum ORNA_RESULT_e : uint32_t {
};

/// What an application asks of the service ("actionFromApp"); also the request
/// a completion ("appRequestDone") answers.
enum APP_REQUEST_e : uint32_t {
    APPREQ_CONNECT_SERVICE = 0,             ///< VelComProxyApp::doServiceConnect()
    APPREQ_DISCONNECT_SERVICE = 1,          ///< VelComProxyApp::doServiceDisconnect()
    APPREQ_REMOVE_DEVICE = 3,               ///< VelComProxyApp::doRemoveDevice()
    APPREQ_REJECT_TECHNOLOGY_SELECTION = 5, ///< VelComProxyApp::doRejectTechnologySelection()
    APPREQ_SET_PRIORITIZED_DEVICE = 6,      ///< VelComProxyApp::doSetPrioritizedDevice()
    APPREQ_RECONNECT_SUSPEND = 7,           ///< VelComProxyApp::doReconnectSuspend()
    APPREQ_CHECK_MAX_PAIRED = 8,            ///< VelComProxyApp::checkMaxPaired()
    APPREQ_CHECK_PAIRED = 9,                ///< VelComProxyApp::checkPaired()
};

/// What an application reports to the service ("informFromApp").
enum APP_INFO_e : uint32_t {
    APPINFO_RESPONSE_UPDATE = 0, ///< a response update
};

/// Kind of a notice the service sends to applications ("noticeToApp").
enum ORNA_NOTICE_e : uint32_t {
    NOTICE_KNOWN_DEVICES_UPDATED = 0,      ///< the known-device list changed: VelCallBackApp::onRcvUpdateKnownDevices()
    NOTICE_DISCOVERED_DEVICES_UPDATED = 1, ///< the discovered-device list changed: VelCallBackApp::onRcvUpdateDiscoveredDevices()
    NOTICE_GET_TECHNOLOGY_SELECTION = 3,   ///< VelCallBackApp::onRcvUpdateGetTechnologySelection()
    /// VelCallBackApp::onRcvUpdateIncomingServiceRequestLimitExceeded()
    NOTICE_INCOMING_SERVICE_REQUEST_LIMIT_EXCEEDED = 4,
    NOTICE_LINK_LOSS = 7, ///< VelCallBackApp::onRcvNoticeLinkLossToApp()
};

/// Function item of a control-mode change (VelComProxyController::sendControlMode())
/// and of its completion ("checkFuncOpModeDone").
enum ORNA_FUNC_ITEM_e : uint32_t {
    FUNC_ITEM_RESTORE_FACTORY_SETTINGS = 2, ///< restore factory settings: VelCallBackApp::onRcvResponseRestoreFactorySettings()
};

/// Which device list of the device store.
enum DEVICE_LIST_TYPE : uint32_t {
    KNOWN_DEVICE_LIST = 0,      ///< the known (paired) devices
    DISCOVERED_DEVICE_LIST = 1, ///< the discovered devices
};

/// Whether one technology is active (an element of "noticeTechActiveInfo").
struct TECH_ACTIVE_INFO_s {
    TECHNOLOGY_e technology; ///< the technology
    bool active;             ///< whether it is active now
};

/// One device exactly as the service lays it out in the device store. Only
/// deviceId is read by the library; every other byte is carried unchanged.
struct DEVICE {
    /// The service's fields before the id, carried unchanged.
    uint8_t serviceFieldsHead[4608];
    /// The device id, NUL-terminated unless it fills all 256 bytes.
    char deviceId[256];
    /// The service's fields after the id, carried unchanged.
    uint8_t serviceFieldsTail[12492 - 4608 - 256];
};

static_assert(sizeof(DEVICE) == 12492, "DEVICE must keep the service's record size");
static_assert(offsetof(DEVICE, deviceId) == 4608, "deviceId must stay where the service writes it");

/// Most devices in one list.
constexpr unsigned int VEL_MAX_DEVICE_COUNT = 10;
/// Size in bytes of a full device list.
constexpr std::size_t VEL_DEVICE_LIST_BYTES = VEL_MAX_DEVICE_COUNT * sizeof(DEVICE);
static_assert(VEL_DEVICE_LIST_BYTES == 124920, "a whole device list is ten records");
