// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "vel/VelComProxyCoreEngine.h"

#include <chrono>
#include <cstdlib>

#include "CoreEngineLog.h"
#include "DispatchGate.h"
#include "ImplVelComProxyCoreEngine.h"

using vel_core::log;

namespace {

constexpr const char* kClassName = "VelComProxyCoreEngine";

// Values the reports carry literally.
constexpr ORNA_RESULT_e kResultZero = static_cast<ORNA_RESULT_e>(0);
constexpr ORNA_RESULT_e kResultCapable = static_cast<ORNA_RESULT_e>(100);
constexpr ORNA_RESULT_e kResultCapabilityOn = static_cast<ORNA_RESULT_e>(400);
constexpr ORNA_RESULT_e kResultCapabilityOff = static_cast<ORNA_RESULT_e>(401);
constexpr ORNA_RESULT_e kResultInformation = static_cast<ORNA_RESULT_e>(900);

template <unsigned int kType>
VelComProxyCoreEngine* instanceOfType(VelComProxyCoreEngine* (*make)(const CLIENT_TYPE_e&, const std::string&,
                                                                      VelCallBackCoreEngine*),
                                      const std::string& clientName, VelCallBackCoreEngine* callback)
{
    // One facade per client kind, made once; later calls ignore name and callback.
    static VelComProxyCoreEngine* const instance = make(static_cast<CLIENT_TYPE_e>(kType), clientName, callback);
    return instance;
}

} // namespace

VelComProxyCoreEngine* VelComProxyCoreEngine::getInstance(const CLIENT_TYPE_e& clientType,
                                                          const std::string& clientName,
                                                          VelCallBackCoreEngine* callback)
{
    orna::OrnaLogWrapper::instance(true)->registerContext(VELLIBCORE, "LIBC", "vel_library_coreengine");
    log(DLT_LOG_INFO, __func__, "mClientType:", clientType, ", mClientName:", clientName);
    VelComProxyCoreEngine* instance = getInstance_l(clientType, clientName, callback);
    if (instance != nullptr) {
        return instance;
    }
    log(DLT_LOG_ERROR, __func__, "@@@ ERR. mpInstance is nullptr! exit(0)!");
    // A core engine started with a wrong client kind must not run on.
    std::exit(0);
}

VelComProxyCoreEngine* VelComProxyCoreEngine::getInstance_l(const CLIENT_TYPE_e& clientType,
                                                            const std::string& clientName,
                                                            VelCallBackCoreEngine* callback)
{
    auto make = [](const CLIENT_TYPE_e& type, const std::string& name, VelCallBackCoreEngine* cb) {
        // Never destroyed: the main-loop thread may dispatch to it until exit.
        return new VelComProxyCoreEngine(type, name, cb);
    };
    switch (static_cast<unsigned int>(clientType)) {
    case 200:
        return instanceOfType<200>(make, clientName, callback);
    case 201:
        return instanceOfType<201>(make, clientName, callback);
    case 202:
        return instanceOfType<202>(make, clientName, callback);
    case 203:
        return instanceOfType<203>(make, clientName, callback);
    default:
        return nullptr;
    }
}

VelComProxyCoreEngine::VelComProxyCoreEngine(const CLIENT_TYPE_e& clientType, const std::string& clientName,
                                             VelCallBackCoreEngine* callback)
    : VelComProxy(clientType, clientName, callback),
      mImpl(new ImplVelComProxyCoreEngine(this, kClassName, callback))
{
}

VelComProxyCoreEngine::~VelComProxyCoreEngine()
{
    orna::OrnaLogWrapper::instance(true)->unregisterContext(VELLIBCORE);
    // The subscriptions stay and the main-loop thread runs on: wait for a
    // signal being dispatched to this facade and turn away the later ones.
    DispatchGate* gate = DispatchGate::forOwner(static_cast<VelComProxy*>(this));
    if (gate != nullptr && !gate->closeAndDrain(DispatchGate::kDestructionWait)) {
        return;
    }
    delete mImpl;
}

bool VelComProxyCoreEngine::doInitialize()
{
    log(DLT_LOG_INFO, __func__, "doInitialize");
    return prepareToCommunicateWithStub();
}

bool VelComProxyCoreEngine::doRelease()
{
    // The subscriptions and the link belong to the base's teardown.
    log(DLT_LOG_INFO, __func__, "doRelease");
    return true;
}

bool VelComProxyCoreEngine::subscribe()
{
    if (mConnection == nullptr) {
        orna::log(&VELLIBCORE, DLT_LOG_ERROR, "[VELLIBCORE][", __func__, "][VELLIBCORE] @@@ ERR. Connection is null!");
        return false;
    }
    return mImpl->subscribe_l(mConnection);
}

bool VelComProxyCoreEngine::sendRoleswitchStarted(const std::string& deviceId, TECHNOLOGY_e technology)
{
    log(DLT_LOG_INFO, __func__, "Do nothing. Return true! ", "_deviceId:", deviceId, ", _technology:", technology);
    return true;
}

bool VelComProxyCoreEngine::sendReqDisableBT(const CLIENT_TYPE_e& clientType, const CORE_REQUEST_e& request,
                                             const std::string& macAddr)
{
    log(DLT_LOG_INFO, __func__, "_clientType:", clientType, ", _request:", request, ", _macAddr:", macAddr);
    if (request != COREREQ_DISABLE_BT) {
        log(DLT_LOG_ERROR, __func__, "@@@ ERR. Not CORE_REQUEST_e::COREREQ_DISABLE_BT!");
        return false;
    }
    return mImpl->sendActionFromCore(clientType, request, macAddr, false, std::string());
}

bool VelComProxyCoreEngine::sendReqWifiStart(const CLIENT_TYPE_e& clientType, const std::string& deviceId)
{
    log(DLT_LOG_INFO, __func__, "_clientType:", clientType, ", _deviceId:", deviceId);
    if (!mImpl->isDeviceIdValid(deviceId)) {
        log(DLT_LOG_ERROR, __func__, "@@@ ERR. Device ID is NOT VALID: ", deviceId);
        return false;
    }
    return mImpl->sendActionFromCore(clientType, COREREQ_WIFI_START, deviceId, false, std::string());
}

bool VelComProxyCoreEngine::sendReqUserSwitch(const CLIENT_TYPE_e& clientType, const std::string& deviceId,
                                              bool mode)
{
    log(DLT_LOG_INFO, __func__, "_clientType:", clientType, ", _deviceId:", deviceId, ", _mode:", mode);
    return mImpl->sendActionFromCore(clientType, COREREQ_USER_SWITCH, deviceId, mode, std::string());
}

bool VelComProxyCoreEngine::responseFindTechnologyDone(const ORNA_RESULT_e& result, const std::string& deviceId,
                                                       TECHNOLOGY_e technology)
{
    log(DLT_LOG_INFO, __func__, "_result:", result, ", _deviceId:", deviceId, ", _technology:", technology);
    if (!mImpl->isDeviceIdValid(deviceId)) {
        log(DLT_LOG_ERROR, __func__, "@@@ ERR. Device ID is NOT VALID: ", deviceId);
        return false;
    }
    return mImpl->sendInformFromCore(COREINFO_REQUEST_DONE, ORNA_REQ_FIND_TECHNOLOGY, result, deviceId, technology,
                                     std::string(), true);
}

bool VelComProxyCoreEngine::responseConnectDone(const ORNA_RESULT_e& result, const std::string& deviceId,
                                                TECHNOLOGY_e technology, const std::string& info)
{
    log(DLT_LOG_INFO, __func__, "_result:", result, ", _deviceId:", deviceId, ", _technology:", technology,
        ", _info:", info);
    return mImpl->sendInformFromCore(COREINFO_REQUEST_DONE, ORNA_REQ_CONNECT, result, deviceId, technology, info,
                                     true);
}

bool VelComProxyCoreEngine::responseIAP2ConnectDone(const ORNA_RESULT_e& result, const std::string& deviceId,
                                                    TECHNOLOGY_e technology, bool flag)
{
    log(DLT_LOG_INFO, __func__, "_result:", result, ", _deviceId:", deviceId, ", _technology:", technology,
        ", _flag:", flag);
    return mImpl->sendInformFromCore(COREINFO_REQUEST_DONE, ORNA_REQ_IAP2_CONNECT, result, deviceId, technology,
                                     std::string(), flag);
}

bool VelComProxyCoreEngine::sendDisconnectDone(const ORNA_RESULT_e& result, const std::string& deviceId,
                                               TECHNOLOGY_e technology)
{
    log(DLT_LOG_INFO, __func__, "_result:", result, ", _deviceId:", deviceId, ", _technology:", technology);
    return mImpl->sendInformFromCore(COREINFO_REQUEST_DONE, ORNA_REQ_DISCONNECT, result, deviceId, technology,
                                     std::string(), true);
}

bool VelComProxyCoreEngine::sendIAP2DisconnectDone(const ORNA_RESULT_e& result, const std::string& deviceId,
                                                   TECHNOLOGY_e technology)
{
    log(DLT_LOG_INFO, __func__, "_result:", result, ", _deviceId:", deviceId, ", _technology:", technology);
    return mImpl->sendInformFromCore(COREINFO_REQUEST_DONE, ORNA_REQ_IAP2_DISCONNECT, result, deviceId, technology,
                                     std::string(), true);
}

bool VelComProxyCoreEngine::sendVideoSetupNotResponse(const std::string& deviceId, const TECHNOLOGY_e& technology)
{
    log(DLT_LOG_INFO, __func__, "_deviceId:", deviceId, ", _technology:", technology);
    if (!mImpl->isDeviceIdValid(deviceId)) {
        log(DLT_LOG_ERROR, __func__, "@@@ ERR. Device ID is NOT VALID: ", deviceId);
        return false;
    }
    return mImpl->sendInformFromCore(COREINFO_VIDEO_SETUP_NOT_RESPONSE, ORNA_REQ_CONNECT, kResultZero, deviceId,
                                     technology, std::string(), true);
}

bool VelComProxyCoreEngine::sendFriendlyName(const std::string& deviceId, const TECHNOLOGY_e& technology,
                                             const std::string& friendlyName)
{
    log(DLT_LOG_INFO, __func__, "_deviceId:", deviceId, ", _technology:", technology, ", _friendlyName:",
        friendlyName);
    if (!mImpl->isDeviceIdValid(deviceId)) {
        log(DLT_LOG_ERROR, __func__, "@@@ ERR. Device ID is NOT VALID: ", deviceId);
        return false;
    }
    // Sent as given: only capability reports filter the name.
    return mImpl->sendInformFromCore(COREINFO_FRIENDLY_NAME, ORNA_REQ_INFORMATION, kResultInformation, deviceId,
                                     technology, friendlyName, true);
}

bool VelComProxyCoreEngine::sendBTMACAddress(const std::string& deviceId, const std::string& macAddr)
{
    log(DLT_LOG_INFO, __func__, "_deviceId:", deviceId, ", _macAddr:", macAddr);
    if (!mImpl->isDeviceIdValid(deviceId)) {
        log(DLT_LOG_ERROR, __func__, "@@@ ERR. Device ID is NOT VALID: ", deviceId);
        return false;
    }
    return mImpl->sendInformFromCore(COREINFO_BT_MAC_ADDRESS, ORNA_REQ_INFORMATION, kResultInformation, deviceId,
                                     TECHNOLOGY_NONE, macAddr, true);
}

bool VelComProxyCoreEngine::sendWifiMACAddress(const std::string& deviceId, const std::string& macAddr)
{
    log(DLT_LOG_INFO, __func__, "_deviceId:", deviceId, ", _macAddr:", macAddr);
    if (!mImpl->isDeviceIdValid(deviceId)) {
        log(DLT_LOG_ERROR, __func__, "@@@ ERR. Device ID is NOT VALID: ", deviceId);
        return false;
    }
    return mImpl->sendInformFromCore(COREINFO_WIFI_MAC_ADDRESS, ORNA_REQ_INFORMATION, kResultInformation, deviceId,
                                     TECHNOLOGY_NONE, macAddr, true);
}

bool VelComProxyCoreEngine::sendUsbSerial(const std::string& deviceId, const std::string& serial)
{
    log(DLT_LOG_INFO, __func__, "_deviceId:", deviceId, ", _serial:", serial);
    if (!mImpl->isDeviceIdValid(deviceId)) {
        log(DLT_LOG_ERROR, __func__, "@@@ ERR. Device ID is NOT VALID: ", deviceId);
        return false;
    }
    return mImpl->sendInformFromCore(COREINFO_USB_SERIAL, ORNA_REQ_INFORMATION, kResultInformation, deviceId,
                                     TECHNOLOGY_NONE, serial, true);
}

bool VelComProxyCoreEngine::sendCapability(const TECHNOLOGY_e& technology, const std::string& deviceId,
                                           const ORNA_RESULT_e& result, const std::string& friendlyName)
{
    log(DLT_LOG_INFO, __func__, "_technology:", technology, ", _deviceId:", deviceId, ", _result:", result,
        ", _friendlyName:", friendlyName);
    if (!mImpl->isDeviceIdValid(deviceId)) {
        log(DLT_LOG_ERROR, __func__, "@@@ ERR. Device ID is NOT VALID: ", deviceId);
        return false;
    }
    // 400 and 401 travel as result 0 and are told apart by the flag.
    ORNA_RESULT_e resultSent = kResultZero;
    bool flagSent = false;
    if (result == kResultCapabilityOn) {
        resultSent = kResultZero;
        flagSent = true;
    } else if (result == kResultCapabilityOff) {
        resultSent = kResultZero;
        flagSent = false;
    } else if (result == kResultCapable) {
        resultSent = kResultCapable;
        flagSent = false;
    } else {
        log(DLT_LOG_ERROR, __func__, "@@@ ERR. Unexpected result! Return!");
        return false;
    }
    return mImpl->sendInformFromCore(COREINFO_CAPABILITY, ORNA_REQ_INFORMATION, resultSent, deviceId, technology,
                                     mImpl->filterFriendlyName(friendlyName), flagSent);
}

bool VelComProxyCoreEngine::sendCapability(const TECHNOLOGY_e& technology, const std::string& deviceId,
                                           const bool& available, const std::string& friendlyName)
{
    log(DLT_LOG_INFO, __func__, "_technology:", technology, ", _deviceId:", deviceId, ", _available:", available,
        ", _friendlyName:", friendlyName);
    if (!mImpl->isDeviceIdValid(deviceId)) {
        log(DLT_LOG_ERROR, __func__, "@@@ ERR. Device ID is NOT VALID: ", deviceId);
        return false;
    }
    return mImpl->sendInformFromCore(COREINFO_CAPABILITY, ORNA_REQ_INFORMATION, kResultInformation, deviceId,
                                     technology, mImpl->filterFriendlyName(friendlyName), available);
}
