// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

/// @file
/// Vocabulary that only the core engine and the service share: what the core
/// engine asks for, what it reports, which request of the service a report
/// answers, and the records and values its callbacks receive. Every enumeration
/// is 32 bits wide and travels on the bus as "u"; values without a name here are
/// the service's to define and are carried unchanged.

#include <cstdint>
#include <string>

#include "vel/VelTypes.h"

/// What the core engine asks of the service in "actionFromCore".
enum CORE_REQUEST_e : uint32_t {
    COREREQ_DISABLE_BT = 0,           ///< VelComProxyCoreEngine::sendReqDisableBT()
    COREREQ_GET_DEVID = 1,            ///< VelComProxyCoreEngine::sendReqGetDeviceIdSync()
    COREREQ_GET_WIFI_CREDENTIALS = 2, ///< VelComProxyCoreEngine::sendReqGetWifiCredentialsSync() and ...SyncEx()
    COREREQ_GET_HU_BT_MAC = 3,        ///< VelComProxyCoreEngine::sendReqGetHUBTMacAddressSync()
    COREREQ_USER_SWITCH = 4,          ///< VelComProxyCoreEngine::sendReqUserSwitch()
    COREREQ_WIFI_START = 5,           ///< VelComProxyCoreEngine::sendReqWifiStart()
};

/// What an "informFromCore" call reports. 1 is the service's and never sent here.
enum CORE_INFO_e : uint32_t {
    COREINFO_REQUEST_DONE = 0,             ///< the end of one of the service's requests
    COREINFO_BT_MAC_ADDRESS = 2,           ///< VelComProxyCoreEngine::sendBTMACAddress()
    COREINFO_WIFI_MAC_ADDRESS = 3,         ///< VelComProxyCoreEngine::sendWifiMACAddress()
    COREINFO_FRIENDLY_NAME = 4,            ///< VelComProxyCoreEngine::sendFriendlyName()
    COREINFO_CAPABILITY = 5,               ///< VelComProxyCoreEngine::sendCapability()
    COREINFO_VIDEO_SETUP_NOT_RESPONSE = 6, ///< VelComProxyCoreEngine::sendVideoSetupNotResponse()
    COREINFO_USB_SERIAL = 7,               ///< VelComProxyCoreEngine::sendUsbSerial()
};

/// The service's request that a report answers; also the action of "actionToCore".
enum ORNA_REQUEST_e : uint32_t {
    ORNA_REQ_FIND_TECHNOLOGY = 0,  ///< find the technology of a newly attached device
    ORNA_REQ_CONNECT = 1,          ///< connect a device
    ORNA_REQ_IAP2_CONNECT = 2,     ///< connect an iAP2 device
    ORNA_REQ_DISCONNECT = 3,       ///< disconnect a device
    ORNA_REQ_IAP2_DISCONNECT = 4,  ///< disconnect an iAP2 device
    ORNA_REQ_CHECK_CAPABILITY = 6, ///< check the capability of a device
    ORNA_REQ_INFORMATION = 13,     ///< no request: an unsolicited information report
};

/// Security mode of a Wi-Fi network, as the service sends it.
enum SECURITY_TYPE_e : uint32_t {
};

/// Condition under which the service asks for a connection.
enum CONNECT_CONDITION_e : uint32_t {
};

/// Why the service asks for a disconnection.
enum ORNA_DISCONN_REASON_e : uint32_t {
};

/// Device status told by onRcvDeviceStatusChanged: 0 when the service sends
/// notice 8, 1 when it sends notice 9.
enum DEVICE_STATE_e : uint32_t {
};

/// One set of Wi-Fi credentials; field order is the bus order "(ssyuuss)".
struct WIFI_CREDENTIALS_s {
    std::string ssid;     ///< network name
    std::string password; ///< pass phrase
    uint8_t channel = 0;  ///< radio channel
    /// security mode, as the service sent it
    SECURITY_TYPE_e securityType = static_cast<SECURITY_TYPE_e>(0);
    uint32_t port = 0;    ///< port number
    std::string ip;       ///< IP address, as text
    std::string bssid;    ///< access point MAC address, as text
};
