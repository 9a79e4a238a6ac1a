// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "ImplVelComProxyCoreEngine.h"

#include <cctype>

#include "CoreEngineLog.h"
#include "ProxyReference.h"

using vel_core::log;

namespace {

// Signals of the service meant for the core engine; one subscription each.
constexpr const char* kActionToCore = "actionToCore";
constexpr const char* kActionToCoreWireless = "actionToCoreWireless";
constexpr const char* kCheckCapability = "checkCapability";
constexpr const char* kCoreRequestDone = "coreRequestDone";
constexpr const char* kNoticeToCoreLinkLoss = "noticeToCoreLinkLoss";
constexpr const char* kNoticeToCore = "noticeToCore";

constexpr const char* kInterfaceName = "com.qor.vel_communicator";
constexpr const char* kObjectPath = "/com/qor/vel_communicator";

unsigned int subscribeOne(GDBusConnection* connection, const char* signalName, gpointer owner)
{
    return g_dbus_connection_signal_subscribe(connection, nullptr, kInterfaceName, signalName, kObjectPath, nullptr,
                                              G_DBUS_SIGNAL_FLAGS_NONE,
                                              VelComProxyCoreEngine::onVelLibraryCoreengineCallBack, owner, nullptr);
}

} // namespace

VelComProxyCoreEngine::ImplVelComProxyCoreEngine::ImplVelComProxyCoreEngine(VelComProxyCoreEngine* owner,
                                                                            const std::string& className,
                                                                            VelCallBackCoreEngine* callback)
    : mpOwner(owner),
      mClassName(className),
      mpCoreCB(callback),
      mActionToCoreSubscriptionId(0),
      mActionToCoreWirelessSubscriptionId(0),
      mCheckCapabilitySubscriptionId(0),
      mCoreRequestDoneSubscriptionId(0),
      mNoticeToCoreLinkLossSubscriptionId(0),
      mNoticeToCoreSubscriptionId(0)
{
}

VelComProxyCoreEngine::ImplVelComProxyCoreEngine::~ImplVelComProxyCoreEngine()
{
    // The subscriptions themselves stay with the connection; only our hold on
    // it is given back.
}

bool VelComProxyCoreEngine::ImplVelComProxyCoreEngine::sendActionFromCore(CLIENT_TYPE_e clientType,
                                                                          const CORE_REQUEST_e& request,
                                                                          const std::string& data, const bool& flag,
                                                                          const std::string& data2)
{
    // Held across the call: a vanish on the main-loop thread cannot free it.
    vel_link::ProxyReference proxy(mpOwner->mProxy);
    if (!mpOwner->checkProxyAvailable() || !proxy) {
        return false;
    }
    log(DLT_LOG_INFO, __func__, "_clientType:", clientType, ", _request:", request, ", _data:", data,
        ", _flag:", flag, ", _data2:", data2);
    // Fire and forget: the service's reply carries nothing the sender waits for.
    com_qor_vel_communicator_call_action_from_core(proxy.get(), clientType, request, data.c_str(), flag,
                                                   data2.c_str(), nullptr, nullptr, nullptr);
    return true;
}

bool VelComProxyCoreEngine::ImplVelComProxyCoreEngine::sendInformFromCore(CORE_INFO_e coreInfo,
                                                                          ORNA_REQUEST_e request,
                                                                          ORNA_RESULT_e result,
                                                                          const std::string& strInfo,
                                                                          TECHNOLOGY_e technology,
                                                                          const std::string& strInfo2, bool boolInfo)
{
    // Held across the call: a vanish on the main-loop thread cannot free it.
    vel_link::ProxyReference proxy(mpOwner->mProxy);
    if (!mpOwner->checkProxyAvailable() || !proxy) {
        return false;
    }
    log(DLT_LOG_INFO, __func__, "_coreInfo:", coreInfo, ", _request:", request, ", _result:", result,
        ", _strInfo:", strInfo, ", _technology:", technology, ", _strInfo2:", strInfo2, ", _boolInfo:", boolInfo);
    com_qor_vel_communicator_call_inform_from_core(proxy.get(), coreInfo, request, result, strInfo.c_str(),
                                                   technology, strInfo2.c_str(), boolInfo, nullptr, nullptr,
                                                   nullptr);
    return true;
}

bool VelComProxyCoreEngine::ImplVelComProxyCoreEngine::isDeviceIdValid(std::string deviceId)
{
    if (deviceId.empty()) {
        log(DLT_LOG_ERROR, __func__, "@@@ ERR. None DeviceID!");
        return false;
    }
    for (const char character : deviceId) {
        if (character < '0' || character > '9') {
            log(DLT_LOG_ERROR, __func__, "@@@ ERR. deviceId has non-digit character!");
            return false;
        }
    }
    return true;
}

std::string VelComProxyCoreEngine::ImplVelComProxyCoreEngine::filterFriendlyName(const std::string& friendlyName)
{
    std::string filtered;
    filtered.reserve(friendlyName.size());
    for (const char character : friendlyName) {
        if (std::isprint(static_cast<unsigned char>(character)) != 0) {
            filtered += character;
        } else {
            log(DLT_LOG_INFO, __func__, "friendlyName has non-printable character!");
        }
    }
    return filtered;
}

bool VelComProxyCoreEngine::ImplVelComProxyCoreEngine::subscribe_l(GDBusConnection* connection)
{
    if (mSubscribedConnection.is(connection)) {
        // A reconnection on the connection we already listen on: subscribing
        // again would deliver every signal twice.
        log(DLT_LOG_INFO, __func__, "Already subscribed on this connection");
        return true;
    }
    unsubscribe_l();
    mActionToCoreSubscriptionId = subscribeOne(connection, kActionToCore, mpOwner);
    mActionToCoreWirelessSubscriptionId = subscribeOne(connection, kActionToCoreWireless, mpOwner);
    mCheckCapabilitySubscriptionId = subscribeOne(connection, kCheckCapability, mpOwner);
    mCoreRequestDoneSubscriptionId = subscribeOne(connection, kCoreRequestDone, mpOwner);
    mNoticeToCoreLinkLossSubscriptionId = subscribeOne(connection, kNoticeToCoreLinkLoss, mpOwner);
    mNoticeToCoreSubscriptionId = subscribeOne(connection, kNoticeToCore, mpOwner);
    mSubscribedConnection.set(connection);
    log(DLT_LOG_INFO, __func__, "subscription ids:", mActionToCoreSubscriptionId, ",",
        mActionToCoreWirelessSubscriptionId, ",", mCheckCapabilitySubscriptionId, ",", mCoreRequestDoneSubscriptionId,
        ",", mNoticeToCoreLinkLossSubscriptionId, ",", mNoticeToCoreSubscriptionId);
    return true;
}

void VelComProxyCoreEngine::ImplVelComProxyCoreEngine::unsubscribe_l()
{
    // The old connection was replaced (the bus went away and came back): its
    // subscriptions would never fire again, so they are dropped with it.
    GDBusConnection* subscribed = mSubscribedConnection.get();
    for (unsigned int* id : {&mActionToCoreSubscriptionId, &mActionToCoreWirelessSubscriptionId,
                             &mCheckCapabilitySubscriptionId, &mCoreRequestDoneSubscriptionId,
                             &mNoticeToCoreLinkLossSubscriptionId, &mNoticeToCoreSubscriptionId}) {
        if (*id != 0 && subscribed != nullptr) {
            g_dbus_connection_signal_unsubscribe(subscribed, *id);
        }
        *id = 0;
    }
    g_clear_object(&subscribed);
    mSubscribedConnection.set(nullptr);
}
