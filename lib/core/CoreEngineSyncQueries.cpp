// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// The queries whose answer the core engine waits for: device ids, Wi-Fi
// credentials and the head unit's Bluetooth address.
#include <utility>

#include "CoreEngineLog.h"
#include "ImplVelComProxyCoreEngine.h"
#include "ProxyReference.h"
#include "WifiCredentialsList.h"

using vel_core::log;

namespace {

struct DeviceIdQuery {
    CLIENT_TYPE_e clientType;
    const char* data;
};

constexpr const char* kSupportWireless = "support_wireless";
constexpr const char* kUnsupportWireless = "unsupport_wireless";

// The service tells the technology apart by client kind and data, so the kind
// sent comes from here and not from the caller.
bool deviceIdQueryFor(TECHNOLOGY_e technology, DeviceIdQuery& query)
{
    switch (static_cast<unsigned int>(technology)) {
    case 4: query = {static_cast<CLIENT_TYPE_e>(200), kSupportWireless}; return true;
    case 5: query = {static_cast<CLIENT_TYPE_e>(200), kUnsupportWireless}; return true;
    case 6: query = {static_cast<CLIENT_TYPE_e>(201), kSupportWireless}; return true;
    case 7: query = {static_cast<CLIENT_TYPE_e>(201), kUnsupportWireless}; return true;
    case 14: query = {static_cast<CLIENT_TYPE_e>(105), kSupportWireless}; return true;
    case 15: query = {static_cast<CLIENT_TYPE_e>(105), kUnsupportWireless}; return true;
    default: return false;
    }
}

// Frees what the synchronous call handed out, on every path.
struct ReplyParts {
    gchar* information = nullptr;
    GVariant* credentials = nullptr;
    GError* error = nullptr;
    ~ReplyParts()
    {
        g_free(information);
        if (credentials != nullptr) {
            g_variant_unref(credentials);
        }
        if (error != nullptr) {
            g_error_free(error);
        }
    }
};

} // namespace

bool VelComProxyCoreEngine::ImplVelComProxyCoreEngine::sendActionFromCoreSync(
    CLIENT_TYPE_e clientType, const CORE_REQUEST_e& request, const std::string& data, std::string& information,
    std::list<WIFI_CREDENTIALS_s>& wifiCredentialsList, const bool& flag, const std::string& data2)
{
    // Held across the call: a vanish on the main-loop thread cannot free it.
    vel_link::ProxyReference proxy(mpOwner->mProxy);
    if (!mpOwner->checkProxyAvailable() || !proxy) {
        return false;
    }
    log(DLT_LOG_INFO, __func__, "_clientType:", clientType, ", _request:", request, ", _data:", data,
        ", _flag:", flag, ", _data2:", data2);
    ReplyParts reply;
    // The proxy knows the interface, so a reply of another type than
    // "(s@a(ssyuuss))" comes back as a failed call and is never unpacked.
    const bool dbusProcessed = com_qor_vel_communicator_call_action_from_core_sync(
                                   proxy.get(), clientType, request, data.c_str(), flag, data2.c_str(),
                                   &reply.information, &reply.credentials, nullptr, &reply.error) != FALSE;
    if (request == COREREQ_GET_WIFI_CREDENTIALS) {
        if (!dbusProcessed) {
            log(DLT_LOG_ERROR, __func__, "@@@ ERR. dbusProcessed is false! Return!");
            return false;
        }
        if (reply.credentials == nullptr ||
            !g_variant_is_of_type(reply.credentials, vel_core::wifiCredentialsListType())) {
            log(DLT_LOG_ERROR, __func__, "Some arguments are wrong");
            return false;
        }
        std::list<WIFI_CREDENTIALS_s> received = vel_core::readWifiCredentialsList(reply.credentials, __func__);
        wifiCredentialsList.splice(wifiCredentialsList.end(), received);
        if (wifiCredentialsList.empty()) {
            log(DLT_LOG_ERROR, __func__, "wifiCredentialsList is empty! Return!");
            return false;
        }
        log(DLT_LOG_INFO, __func__, "_wifiCredentialsList.size():",
            static_cast<unsigned long>(wifiCredentialsList.size()));
        return true;
    }
    if (!dbusProcessed || reply.information == nullptr) {
        log(DLT_LOG_ERROR, __func__, "@@@ ERR. (!dbusProcessed || (information == nullptr)) is true! Return!");
        return false;
    }
    information = reply.information;
    return true;
}

bool VelComProxyCoreEngine::sendReqGetDeviceIdSync(const CLIENT_TYPE_e& clientType, const CORE_REQUEST_e& request,
                                                   const TECHNOLOGY_e& technology, std::string& deviceId)
{
    log(DLT_LOG_INFO, __func__, "_clientType:", clientType, ", _request:", request, ", _technology:", technology);
    if (request != COREREQ_GET_DEVID) {
        log(DLT_LOG_ERROR, __func__, "@@@ ERR. Not CORE_REQUEST_e::COREREQ_GET_DEVID!");
        return false;
    }
    DeviceIdQuery query{};
    if (!deviceIdQueryFor(technology, query)) {
        log(DLT_LOG_ERROR, __func__, "@@@ ERR. _technology is not valid. Return !!!");
        return false;
    }
    std::string information;
    std::list<WIFI_CREDENTIALS_s> unused;
    if (!mImpl->sendActionFromCoreSync(query.clientType, request, query.data, information, unused, false,
                                       std::string())) {
        return false;
    }
    deviceId = information;
    log(DLT_LOG_INFO, __func__, "deviceId:", deviceId);
    return true;
}

bool VelComProxyCoreEngine::sendReqGetDeviceIdSync(const CLIENT_TYPE_e& clientType, const CORE_REQUEST_e& request,
                                                   const TECHNOLOGY_e& technology, const std::string& macAddr,
                                                   std::string& deviceId)
{
    log(DLT_LOG_INFO, __func__, "_clientType:", clientType, ", _request:", request, ", _technology:", technology,
        ", _macAddr:", macAddr);
    if (request != COREREQ_GET_DEVID) {
        log(DLT_LOG_ERROR, __func__, "@@@ ERR. Not CORE_REQUEST_e::COREREQ_GET_DEVID!");
        return false;
    }
    std::string data;
    if (static_cast<unsigned int>(technology) == 4) {
        data = kSupportWireless;
    } else if (static_cast<unsigned int>(technology) == 5) {
        data = kUnsupportWireless;
    }
    std::string information;
    std::list<WIFI_CREDENTIALS_s> unused;
    if (!mImpl->sendActionFromCoreSync(clientType, request, data, information, unused, false, macAddr)) {
        return false;
    }
    deviceId = information;
    log(DLT_LOG_INFO, __func__, "deviceId:", deviceId);
    return true;
}

bool VelComProxyCoreEngine::sendReqGetWifiCredentialsSync(const CLIENT_TYPE_e& clientType,
                                                          const CORE_REQUEST_e& request,
                                                          WIFI_CREDENTIALS_s& credentials)
{
    log(DLT_LOG_INFO, __func__, "_clientType:", clientType, ", _request:", request);
    if (request != COREREQ_GET_WIFI_CREDENTIALS) {
        log(DLT_LOG_ERROR, __func__, "@@@ ERR. Not CORE_REQUEST_e::COREREQ_GET_WIFI_CREDENTIALS!");
        return false;
    }
    std::string information;
    std::list<WIFI_CREDENTIALS_s> wifiCredentialsList;
    if (!mImpl->sendActionFromCoreSync(clientType, request, std::string(), information, wifiCredentialsList, false,
                                       std::string())) {
        return false;
    }
    if (wifiCredentialsList.empty()) {
        log(DLT_LOG_ERROR, __func__, "@@@ ERR. Received _wifiCredentialsList is empty! Return!");
        return false;
    }
    // Only the first record is wanted here; the Ex query returns them all.
    credentials = wifiCredentialsList.front();
    return true;
}

bool VelComProxyCoreEngine::sendReqGetWifiCredentialsSyncEx(const CLIENT_TYPE_e& clientType,
                                                            const CORE_REQUEST_e& request,
                                                            std::list<WIFI_CREDENTIALS_s>& wifiCredentialsList)
{
    log(DLT_LOG_INFO, __func__, "_clientType:", clientType, ", _request:", request);
    if (request != COREREQ_GET_WIFI_CREDENTIALS) {
        log(DLT_LOG_ERROR, __func__, "@@@ ERR. Not CORE_REQUEST_e::COREREQ_GET_WIFI_CREDENTIALS!");
        return false;
    }
    std::string information;
    std::list<WIFI_CREDENTIALS_s> received;
    if (!mImpl->sendActionFromCoreSync(clientType, request, std::string(), information, received, false,
                                       std::string())) {
        return false;
    }
    // Replaces, not appends to, whatever the caller's list held.
    wifiCredentialsList = std::move(received);
    return true;
}

bool VelComProxyCoreEngine::sendReqGetHUBTMacAddressSync(const CLIENT_TYPE_e& clientType,
                                                         const CORE_REQUEST_e& request, std::string& macAddress)
{
    log(DLT_LOG_INFO, __func__, "_clientType:", clientType, ", _request:", request);
    if (request != COREREQ_GET_HU_BT_MAC) {
        log(DLT_LOG_ERROR, __func__, "@@@ ERR. Not CORE_REQUEST_e::COREREQ_GET_HU_BT_MAC!");
        return false;
    }
    std::string information;
    std::list<WIFI_CREDENTIALS_s> unused;
    if (!mImpl->sendActionFromCoreSync(clientType, request, std::string(), information, unused, false,
                                       std::string())) {
        return false;
    }
    macAddress = information;
    return true;
}
