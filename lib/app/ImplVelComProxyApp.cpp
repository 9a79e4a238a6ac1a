// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "ImplVelComProxyApp.h"

#include "AppLog.h"
#include "DeviceRecordBuffer.h"
#include "ProxyReference.h"
#include "vel/VelLibShm.h"

VelComProxyApp::ImplVelComProxyApp::ImplVelComProxyApp(VelComProxyApp* owner, const CLIENT_TYPE_e& clientType,
                                                       const std::string& clientName)
    : mpOwner(owner),
      mClientType(clientType),
      mClientName(clientName),
      mName(owner->mName),
      mInitialized(false),
      mpVellShm(nullptr),
      mAppRequestDoneId(0),
      mCheckFuncOpModeDoneId(0),
      mNoticeToAppId(0),
      mNoticeTechActiveInfoId(0),
      mpDeviceArray(nullptr),
      mpValidKnownDeviceArray(nullptr),
      mValidKnownDeviceCount(0),
      mpReservedDevices(allocateDeviceRecords(VEL_DEVICE_LIST_BYTES)),
      mReservedDevicesSize(mpReservedDevices != nullptr ? VEL_DEVICE_LIST_BYTES : 0)
{
}

VelComProxyApp::ImplVelComProxyApp::~ImplVelComProxyApp()
{
    // The facade lives until the process exits; the signals stay subscribed
    // (see doRelease), only our reference to their connection goes.
    delete mpVellShm;
    mpVellShm = nullptr;
    freeDeviceRecords(mpDeviceArray);
    freeDeviceRecords(mpValidKnownDeviceArray);
    freeDeviceRecords(mpReservedDevices);
}

bool VelComProxyApp::ImplVelComProxyApp::sendActionFromApp(APP_REQUEST_e _action, std::string _deviceId,
                                                           TECHNOLOGY_e _technology, std::string _deviceIdToReplace)
{
    VEL_APP_LOG(DLT_LOG_INFO, mName, "_action:", static_cast<unsigned>(_action), ", _deviceId:", _deviceId,
                ", _technology:", static_cast<unsigned>(_technology), ", _deviceIdToReplace:", _deviceIdToReplace);
    // Held across the call: a vanish on the main-loop thread cannot free it.
    vel_link::ProxyReference proxy(mpOwner->mProxy);
    if (!mpOwner->checkProxyAvailable() || !proxy) {
        VEL_APP_LOG(DLT_LOG_ERROR, mName, "checkProxyAvailable() failed! Return!");
        return false;
    }
    // The reply is never read: the outcome arrives as appRequestDone.
    com_qor_vel_communicator_call_action_from_app(proxy.get(), _action, _deviceId.c_str(), _technology,
                                                  _deviceIdToReplace.c_str(), nullptr, nullptr, nullptr);
    return true;
}

bool VelComProxyApp::ImplVelComProxyApp::sendActionFromAppSync(APP_REQUEST_e _action, std::string _deviceId,
                                                               TECHNOLOGY_e _technology,
                                                               std::string _deviceIdToReplace)
{
    VEL_APP_LOG(DLT_LOG_INFO, mName, "_action:", static_cast<unsigned>(_action), ", _deviceId:", _deviceId,
                ", _technology:", static_cast<unsigned>(_technology), ", _deviceIdToReplace:", _deviceIdToReplace);
    vel_link::ProxyReference proxy(mpOwner->mProxy);
    if (!mpOwner->checkProxyAvailable() || !proxy) {
        VEL_APP_LOG(DLT_LOG_ERROR, mName, "@@@ ERR. checkProxyAvailable() failed! Return!");
        return false;
    }
    gboolean result = FALSE;
    const gboolean dbusProcessed = com_qor_vel_communicator_call_action_from_app_sync(
        proxy.get(), _action, _deviceId.c_str(), _technology, _deviceIdToReplace.c_str(), &result, nullptr,
        nullptr);
    if (!dbusProcessed) {
        VEL_APP_LOG(DLT_LOG_ERROR, mName, "@@@ ERR. dbusProcessed is false! Return!");
        return false;
    }
    VEL_APP_LOG(DLT_LOG_INFO, mName, "result:", result != FALSE);
    return result != FALSE;
}

bool VelComProxyApp::ImplVelComProxyApp::sendInformFromApp_l(APP_INFO_e _appInfo, std::string _param)
{
    VEL_APP_LOG(DLT_LOG_INFO, mName, "_appInfo:", static_cast<unsigned>(_appInfo), ", _param:", _param);
    vel_link::ProxyReference proxy(mpOwner->mProxy);
    if (!mpOwner->checkProxyAvailable() || !proxy) {
        VEL_APP_LOG(DLT_LOG_ERROR, mName, "checkProxyAvailable() failed! Return!");
        return false;
    }
    com_qor_vel_communicator_call_inform_from_app(proxy.get(), _appInfo, _param.c_str(), nullptr, nullptr,
                                                  nullptr);
    return true;
}

bool VelComProxyApp::ImplVelComProxyApp::responseUpdate_l(DEVICE_LIST_TYPE _listType)
{
    return sendInformFromApp_l(APPINFO_RESPONSE_UPDATE, std::to_string(static_cast<unsigned>(_listType)));
}
