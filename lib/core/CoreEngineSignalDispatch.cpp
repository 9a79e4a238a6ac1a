// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// From the six signals of the service to the core engine's callbacks.
#include "CoreEngineLog.h"
#include "DispatchGate.h"
#include "ImplVelComProxyCoreEngine.h"
#include "WifiCredentialsList.h"

using vel_core::log;

namespace {

constexpr unsigned int kNoticeChangedDeviceId = 6;
constexpr unsigned int kNoticeDeviceStatus0 = 8;
constexpr unsigned int kNoticeDeviceStatus1 = 9;

constexpr unsigned int kTechnologySppNodePath = 6;

// Owns a string received from the bus; a missing one reads as empty.
struct BusString {
    gchar* value = nullptr;
    ~BusString() { g_free(value); }
    std::string str() const { return value != nullptr ? std::string(value) : std::string(); }
};

// Refuses parameters of another type than the signal's, before any unpacking.
bool hasSignalType(GVariant* parameters, const char* signalName, const char* format)
{
    if (parameters != nullptr && g_variant_is_of_type(parameters, G_VARIANT_TYPE(format))) {
        return true;
    }
    log(DLT_LOG_ERROR, "onVelLibraryCoreengineCallBack", "@@@ ERR. ", signalName, " parameters are ",
        parameters != nullptr ? g_variant_get_type_string(parameters) : "missing", ", expected ", format,
        "! Return!");
    return false;
}

template <typename Enum>
Enum as(guint32 value)
{
    return static_cast<Enum>(value);
}

} // namespace

void VelComProxyCoreEngine::onVelLibraryCoreengineCallBack(GDBusConnection*, const gchar*, const gchar*,
                                                           const gchar*, const gchar* signalName,
                                                           GVariant* parameters, gpointer userData)
{
    auto* self = static_cast<VelComProxyCoreEngine*>(userData);
    // Looked up by address alone: the facade may already be destroyed at exit.
    DispatchGate::Pass pass(DispatchGate::forOwner(static_cast<VelComProxy*>(self)));
    if (!pass || self == nullptr || self->mImpl == nullptr) {
        return;
    }
    ImplVelComProxyCoreEngine* impl = self->mImpl;

    if (g_strcmp0(signalName, "actionToCore") == 0) {
        if (!hasSignalType(parameters, signalName, "(uusuuusssuu)")) {
            return;
        }
        guint32 action = 0, technology = 0, vendorId = 0, productId = 0, portNum = 0, cond = 0, reason = 0;
        BusString deviceId, serial, devpath, macAddress;
        g_variant_get(parameters, "(uusuuusssuu)", &action, &technology, &deviceId.value, &vendorId, &productId,
                      &portNum, &serial.value, &devpath.value, &macAddress.value, &cond, &reason);
        impl->receiveActionToCore(as<ORNA_REQUEST_e>(action), as<TECHNOLOGY_e>(technology), deviceId.str(),
                                  vendorId, productId, portNum, serial.str(), devpath.str(), macAddress.str(),
                                  as<CONNECT_CONDITION_e>(cond), as<ORNA_DISCONN_REASON_e>(reason));
    } else if (g_strcmp0(signalName, "actionToCoreWireless") == 0) {
        if (!hasSignalType(parameters, signalName, "(uusssuu)")) {
            return;
        }
        guint32 action = 0, technology = 0, cond = 0, reason = 0;
        BusString deviceId, deviceSppNodePath, information;
        g_variant_get(parameters, "(uusssuu)", &action, &technology, &deviceId.value, &deviceSppNodePath.value,
                      &information.value, &cond, &reason);
        impl->receiveActionToCoreWireless(as<ORNA_REQUEST_e>(action), as<TECHNOLOGY_e>(technology), deviceId.str(),
                                          deviceSppNodePath.str(), information.str(),
                                          as<CONNECT_CONDITION_e>(cond), as<ORNA_DISCONN_REASON_e>(reason));
    } else if (g_strcmp0(signalName, "checkCapability") == 0) {
        if (!hasSignalType(parameters, signalName, "(sussa(ssyuuss))")) {
            return;
        }
        guint32 technology = 0;
        BusString deviceId, deviceSppNodePath, btMacAddress;
        GVariant* credentials = nullptr;
        g_variant_get(parameters, "(suss@a(ssyuuss))", &deviceId.value, &technology, &deviceSppNodePath.value,
                      &btMacAddress.value, &credentials);
        if (credentials == nullptr || !g_variant_is_of_type(credentials, vel_core::wifiCredentialsListType())) {
            log(DLT_LOG_ERROR, __func__, "Some arguments are wrong");
            if (credentials != nullptr) {
                g_variant_unref(credentials);
            }
            return;
        }
        const std::list<WIFI_CREDENTIALS_s> wifiCredentialsList =
            vel_core::readWifiCredentialsList(credentials, __func__);
        g_variant_unref(credentials);
        if (wifiCredentialsList.empty()) {
            log(DLT_LOG_ERROR, __func__, "wifiCredentialsList is empty! Return!");
            return;
        }
        impl->receiveCheckCapability(deviceId.str(), as<TECHNOLOGY_e>(technology), deviceSppNodePath.str(),
                                     btMacAddress.str(), wifiCredentialsList);
    } else if (g_strcmp0(signalName, "coreRequestDone") == 0) {
        if (!hasSignalType(parameters, signalName, "(uus)")) {
            return;
        }
        guint32 coreRequest = 0, result = 0;
        BusString coreInfo;
        g_variant_get(parameters, "(uus)", &coreRequest, &result, &coreInfo.value);
        impl->receiveCoreRequestDone(as<CORE_REQUEST_e>(coreRequest), as<ORNA_RESULT_e>(result), coreInfo.str());
    } else if (g_strcmp0(signalName, "noticeToCoreLinkLoss") == 0) {
        if (!hasSignalType(parameters, signalName, "(s)")) {
            return;
        }
        BusString information;
        g_variant_get(parameters, "(s)", &information.value);
        impl->receiveNoticeToCoreLinkLoss(information.str());
    } else if (g_strcmp0(signalName, "noticeToCore") == 0) {
        if (!hasSignalType(parameters, signalName, "(uss)")) {
            return;
        }
        guint32 notice = 0;
        BusString information1, information2;
        g_variant_get(parameters, "(uss)", &notice, &information1.value, &information2.value);
        impl->receiveNoticeToCore(as<ORNA_NOTICE_e>(notice), information1.str(), information2.str());
    }
}

void VelComProxyCoreEngine::ImplVelComProxyCoreEngine::receiveActionToCore(
    const ORNA_REQUEST_e& action, const TECHNOLOGY_e& technology, const std::string& deviceId,
    const unsigned int& vendorId, const unsigned int& productId, const unsigned int& portNum,
    const std::string& serial, const std::string& devpath, const std::string& macAddress,
    const CONNECT_CONDITION_e& cond, const ORNA_DISCONN_REASON_e& reason)
{
    log(DLT_LOG_INFO, __func__, "_action:", action, ", _technology:", technology, ", _deviceId:", deviceId,
        ", _vendorId:", vendorId, ", _productId:", productId, ", _portNum:", portNum, ", _serial:", serial,
        ", _devpath:", devpath, ", _macAddress:", macAddress, ", _cond:", cond, ", _reason:", reason);
    if (mpCoreCB == nullptr) {
        log(DLT_LOG_INFO, __func__, "mpCoreCB is NULL !");
        return;
    }
    switch (action) {
    case ORNA_REQ_FIND_TECHNOLOGY:
        mpCoreCB->onRcvFindTechnology(vendorId, productId, portNum, serial, devpath);
        break;
    case ORNA_REQ_CONNECT:
        mpCoreCB->onRcvReqConnect(technology, deviceId, vendorId, productId, portNum, serial, devpath, macAddress,
                                  cond);
        break;
    case ORNA_REQ_DISCONNECT:
        mpCoreCB->onRcvReqDisconnect(technology, deviceId, vendorId, productId, portNum, serial, devpath, reason);
        break;
    case ORNA_REQ_CHECK_CAPABILITY:
        mpCoreCB->onRcvReqCheckCapability(technology, deviceId, vendorId, productId);
        break;
    default:
        log(DLT_LOG_ERROR, __func__, "@@@ ERR. Unexpected _action!");
        break;
    }
}

void VelComProxyCoreEngine::ImplVelComProxyCoreEngine::receiveActionToCoreWireless(
    const ORNA_REQUEST_e& action, const TECHNOLOGY_e& technology, const std::string& deviceId,
    const std::string& deviceSppNodePath, const std::string& information, const CONNECT_CONDITION_e& cond,
    const ORNA_DISCONN_REASON_e& reason)
{
    log(DLT_LOG_INFO, __func__, "_action:", action, ", _technology:", technology, ", _deviceId:", deviceId,
        ", _deviceSppNodePath:", deviceSppNodePath, ", _information:", information, ", _cond:", cond,
        ", _reason:", reason);
    if (mpCoreCB == nullptr) {
        log(DLT_LOG_INFO, __func__, "mpCoreCB is NULL !");
        return;
    }
    if (action == ORNA_REQ_CONNECT) {
        mpCoreCB->onRcvReqConnectWireless(deviceId, technology, deviceSppNodePath, information, cond);
        return;
    }
    if (action != ORNA_REQ_DISCONNECT) {
        log(DLT_LOG_ERROR, __func__, "@@@ ERR. Unexpected _action!");
        return;
    }
    switch (static_cast<unsigned int>(technology)) {
    case 2:
    case 4:
    case 14:
        mpCoreCB->onRcvReqDisconnectWireless(technology, deviceId, information, reason);
        break;
    case kTechnologySppNodePath:
        // This technology names its link by the SPP node path, not by text.
        mpCoreCB->onRcvReqDisconnectWireless(technology, deviceId, deviceSppNodePath, reason);
        break;
    default:
        log(DLT_LOG_ERROR, __func__, "@@@ ERR. Unexpected _technology!");
        break;
    }
}

void VelComProxyCoreEngine::ImplVelComProxyCoreEngine::receiveCheckCapability(
    const std::string& deviceId, const TECHNOLOGY_e& technology, const std::string& deviceSppNodePath,
    const std::string& BTMacAddress, const std::list<WIFI_CREDENTIALS_s>& wifiCredentialsList)
{
    log(DLT_LOG_INFO, __func__, "_deviceId:", deviceId, ", _technology:", technology, ", _deviceSppNodePath:",
        deviceSppNodePath, ", _BTMacAddress:", BTMacAddress, ", _wifiCredentialsList.size():",
        static_cast<unsigned long>(wifiCredentialsList.size()));
    if (mpCoreCB == nullptr) {
        log(DLT_LOG_INFO, __func__, "mpCoreCB is NULL !");
        return;
    }
    mpCoreCB->onRcvReqCheckCapabilityWirelessEx(deviceId, technology, deviceSppNodePath, BTMacAddress,
                                                wifiCredentialsList);
    if (wifiCredentialsList.empty()) {
        log(DLT_LOG_ERROR, __func__, "@@@ ERR. Received _wifiCredentialsList is empty! Return!");
        return;
    }
    mpCoreCB->onRcvReqCheckCapabilityWireless(deviceId, technology, deviceSppNodePath, BTMacAddress,
                                              wifiCredentialsList.front());
}

void VelComProxyCoreEngine::ImplVelComProxyCoreEngine::receiveCoreRequestDone(const CORE_REQUEST_e& coreRequest,
                                                                              const ORNA_RESULT_e& result,
                                                                              const std::string& coreInfo)
{
    log(DLT_LOG_INFO, __func__, "_coreRequest:", coreRequest, ", _result:", result, ", _coreInfo:", coreInfo);
    if (mpCoreCB == nullptr) {
        log(DLT_LOG_INFO, __func__, "mpCoreCB is NULL !");
        return;
    }
    mpCoreCB->onRcvReqDone(coreRequest, result, coreInfo);
}

void VelComProxyCoreEngine::ImplVelComProxyCoreEngine::receiveNoticeToCoreLinkLoss(const std::string& information)
{
    log(DLT_LOG_INFO, __func__, "_information:", information);
    if (mpCoreCB == nullptr) {
        log(DLT_LOG_INFO, __func__, "mpCoreCB is NULL !");
        return;
    }
    mpCoreCB->onRcvInfoLinkLoss(information);
}

void VelComProxyCoreEngine::ImplVelComProxyCoreEngine::receiveNoticeToCore(ORNA_NOTICE_e notice,
                                                                           const std::string& information1,
                                                                           const std::string& information2)
{
    log(DLT_LOG_INFO, __func__, "_notice:", notice, ", _information1:", information1, ", _information2:",
        information2);
    if (mpCoreCB == nullptr) {
        log(DLT_LOG_INFO, __func__, "mpCoreCB is NULL !");
        return;
    }
    switch (static_cast<unsigned int>(notice)) {
    case kNoticeChangedDeviceId:
        mpCoreCB->onRcvChangedDeviceID(information1, information2);
        break;
    case kNoticeDeviceStatus0:
        mpCoreCB->onRcvDeviceStatusChanged(static_cast<DEVICE_STATE_e>(0), information1);
        break;
    case kNoticeDeviceStatus1:
        mpCoreCB->onRcvDeviceStatusChanged(static_cast<DEVICE_STATE_e>(1), information1);
        break;
    default:
        log(DLT_LOG_WARN, __func__, "notice type is invalid");
        break;
    }
}
