// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <climits>
#include <cstdlib>

#include "AppLog.h"
#include "DispatchGate.h"
#include "ImplVelComProxyApp.h"
#include "vel/VelCallBackApp.h"

namespace {

constexpr const char* kClassTag = "[VelComProxyApp]";

// The count of a notice, read as decimal text the way the service writes it:
// leading sign allowed, reading stops at the first non-digit, no digits give
// 0. Values beyond int are clamped instead of overflowing.
int decimalCount(const std::string& text)
{
    const long value = std::strtol(text.c_str(), nullptr, 10);
    if (value > INT_MAX) {
        return INT_MAX;
    }
    if (value < INT_MIN) {
        return INT_MIN;
    }
    return static_cast<int>(value);
}

// A signal of the right name but the wrong shape must not be unpacked.
bool hasFormat(const std::string& objectName, const std::string& name, GVariant* parameters, const char* format)
{
    if (parameters != nullptr && g_variant_is_of_type(parameters, G_VARIANT_TYPE(format))) {
        return true;
    }
    orna::log(&VELLIBAPP, DLT_LOG_ERROR, "[VELLIBAPP]", objectName, "[onVelLibraryAppCallBack] ",
              "@@@ ERR. ", name, " carries ",
              parameters != nullptr ? g_variant_get_type_string(parameters) : "no parameters", " instead of ",
              format, "! Return!");
    return false;
}

} // namespace

void VelComProxyApp::onVelLibraryAppCallBack(GDBusConnection*, const gchar*, const gchar*, const gchar*,
                                             const gchar* signalName, GVariant* parameters, gpointer userData)
{
    VelComProxyApp* facade = static_cast<VelComProxyApp*>(userData);
    // Looked up by address alone: the facade may already be destroyed at exit.
    DispatchGate::Pass pass(DispatchGate::forOwner(static_cast<VelComProxy*>(facade)));
    if (!pass) {
        return;
    }
    const std::string name = signalName != nullptr ? signalName : "";
    if (facade == nullptr || facade->mImpl == nullptr) {
        VEL_APP_LOG(DLT_LOG_ERROR, kClassTag, "@@@ ERR. No facade for signal_name:", name, "! Return!");
        return;
    }
    ImplVelComProxyApp* impl = facade->mImpl;
    VEL_APP_LOG(DLT_LOG_INFO, facade->mName, "signal_name:", name);

    if (name == "appRequestDone") {
        if (!hasFormat(facade->mName, name, parameters, "(uusu)")) {
            return;
        }
        guint32 request = 0;
        guint32 result = 0;
        gchar* deviceId = nullptr;
        guint32 technology = 0;
        g_variant_get(parameters, "(uusu)", &request, &result, &deviceId, &technology);
        impl->receiveAppRequestDone(static_cast<APP_REQUEST_e>(request), static_cast<ORNA_RESULT_e>(result),
                                    deviceId, static_cast<TECHNOLOGY_e>(technology));
        g_free(deviceId);
    } else if (name == "checkFuncOpModeDone") {
        if (!hasFormat(facade->mName, name, parameters, "(uu)")) {
            return;
        }
        guint32 function = 0;
        guint32 result = 0;
        g_variant_get(parameters, "(uu)", &function, &result);
        impl->receiveCheckFuncOpModeDone(static_cast<ORNA_FUNC_ITEM_e>(function),
                                         static_cast<ORNA_RESULT_e>(result));
    } else if (name == "noticeToApp") {
        if (!hasFormat(facade->mName, name, parameters, "(usi)")) {
            return;
        }
        guint32 notice = 0;
        gchar* info1 = nullptr;
        gint32 info2 = 0;
        g_variant_get(parameters, "(usi)", &notice, &info1, &info2);
        impl->receiveNoticeToApp(static_cast<ORNA_NOTICE_e>(notice), info1, static_cast<unsigned int>(info2));
        g_free(info1);
    } else if (name == "noticeTechActiveInfo") {
        if (!hasFormat(facade->mName, name, parameters, "(a(ub))")) {
            return;
        }
        std::vector<TECH_ACTIVE_INFO_s> infos;
        GVariantIter* iter = nullptr;
        g_variant_get(parameters, "(a(ub))", &iter);
        guint32 technology = 0;
        gboolean active = FALSE;
        while (g_variant_iter_next(iter, "(ub)", &technology, &active)) {
            infos.push_back(TECH_ACTIVE_INFO_s{static_cast<TECHNOLOGY_e>(technology), active != FALSE});
        }
        g_variant_iter_free(iter);
        impl->receiveNoticeTechActiveInfo(infos);
    }
}

bool VelComProxyApp::ImplVelComProxyApp::receiveAppRequestDone(const APP_REQUEST_e& _appRequest,
                                                               const ORNA_RESULT_e& _result,
                                                               const std::string& _deviceId,
                                                               const TECHNOLOGY_e& _technology)
{
    VEL_APP_LOG(DLT_LOG_INFO, mName, "_appRequest:", static_cast<unsigned>(_appRequest), ", _result:",
                static_cast<unsigned>(_result), ", _deviceId:", _deviceId, ", _technology:",
                static_cast<unsigned>(_technology));
    if (mCbList.size() == 0) {
        VEL_APP_LOG(DLT_LOG_WARN, mName, "@@@ WARN. (mCbList.size() == 0) is true. Return!");
        return false;
    }
    const int result = static_cast<int>(_result);
    bool dispatched = false;
    for (VelCallBackApp* callback : mCbList) {
        switch (static_cast<unsigned>(_appRequest)) {
        case APPREQ_CONNECT_SERVICE:
            callback->onRcvResponseConnectService(_deviceId, _technology, result);
            break;
        case APPREQ_DISCONNECT_SERVICE:
            callback->onRcvResponseDisconnectService(_deviceId, _technology, result);
            break;
        case APPREQ_REMOVE_DEVICE:
            callback->onRcvResponseRemoveDevice(_deviceId, result);
            break;
        case APPREQ_REJECT_TECHNOLOGY_SELECTION:
            callback->onRcvResponseRejectTechnologySelection(_deviceId, result);
            break;
        case APPREQ_SET_PRIORITIZED_DEVICE:
            callback->onRcvResponseSetPrioritizedDevice(result);
            break;
        default:
            // Reconnect suspend (7) has no completion on purpose.
            VEL_APP_LOG(DLT_LOG_ERROR, mName, "@@@ ERR. Unexpected appRequest!");
            continue;
        }
        dispatched = true;
    }
    return dispatched;
}

bool VelComProxyApp::ImplVelComProxyApp::receiveCheckFuncOpModeDone(const ORNA_FUNC_ITEM_e& _function,
                                                                    const ORNA_RESULT_e& _result)
{
    VEL_APP_LOG(DLT_LOG_INFO, mName, "_function:", static_cast<unsigned>(_function), ", _result:",
                static_cast<unsigned>(_result));
    if (mCbList.empty()) {
        VEL_APP_LOG(DLT_LOG_WARN, mName, "@@@ WARN. mCbList is empty! Return!");
        return false;
    }
    bool dispatched = false;
    for (VelCallBackApp* callback : mCbList) {
        switch (static_cast<unsigned>(_function)) {
        case FUNC_ITEM_RESTORE_FACTORY_SETTINGS:
            callback->onRcvResponseRestoreFactorySettings(static_cast<int>(_result));
            dispatched = true;
            break;
        case 1:
        case 5:
            // Items of the core engine; not the application's business.
            break;
        default:
            // The wording names the request, as log consumers expect.
            VEL_APP_LOG(DLT_LOG_ERROR, mName, "@@@ ERR. Unexpected appRequest!");
            break;
        }
    }
    return dispatched;
}

bool VelComProxyApp::ImplVelComProxyApp::receiveNoticeToApp(const ORNA_NOTICE_e& _notice,
                                                            const std::string& _info1, const unsigned int& _info2)
{
    VEL_APP_LOG(DLT_LOG_INFO, mName, "_notice:", static_cast<unsigned>(_notice), ", _info1:", _info1, ", _info2:",
                _info2);
    // Device identifiers go through the same conversion on purpose: an
    // identifier starting with "-" and a digit refuses its notice.
    const int count = decimalCount(_info1);
    if (mCbList.empty()) {
        VEL_APP_LOG(DLT_LOG_WARN, mName, "@@@ WARN. mCbList is empty! Return!");
        return false;
    }
    if (count < 0) {
        VEL_APP_LOG(DLT_LOG_ERROR, mName, "@@@ ERR. (count < 0) is true! Return!");
        return false;
    }
    // The discovered list never holds more than one read buffer's worth of
    // records; a larger count would read past what the store publishes.
    if (_notice == NOTICE_DISCOVERED_DEVICES_UPDATED && static_cast<unsigned>(count) > VEL_MAX_DEVICE_COUNT) {
        VEL_APP_LOG(DLT_LOG_ERROR, mName, "@@@ ERR. Discovered device count:", count, " is above the limit of ",
                    VEL_MAX_DEVICE_COUNT, "! Return!");
        return false;
    }

    const TECHNOLOGY_e technology = static_cast<TECHNOLOGY_e>(_info2);
    unsigned listsDelivered = 0;
    bool dispatched = false;
    for (VelCallBackApp* callback : mCbList) {
        switch (static_cast<unsigned>(_notice)) {
        case NOTICE_KNOWN_DEVICES_UPDATED:
        case NOTICE_DISCOVERED_DEVICES_UPDATED:
            // Each callback gets a reading of its own.
            if (handleUpdatedDeviceInfo_l(static_cast<DEVICE_LIST_TYPE>(_notice), static_cast<unsigned>(count), 1,
                                          callback)) {
                ++listsDelivered;
                dispatched = true;
            } else {
                VEL_APP_LOG(DLT_LOG_ERROR, mName, "@@@ ERR. handleUpdatedDeviceInfo_l() failed!");
            }
            break;
        case NOTICE_GET_TECHNOLOGY_SELECTION:
            callback->onRcvUpdateGetTechnologySelection(_info1, 1);
            dispatched = true;
            break;
        case NOTICE_INCOMING_SERVICE_REQUEST_LIMIT_EXCEEDED:
            callback->onRcvUpdateIncomingServiceRequestLimitExceeded(_info1, technology, 1);
            dispatched = true;
            break;
        case NOTICE_LINK_LOSS:
            callback->onRcvNoticeLinkLossToApp(_info1, technology, 1);
            dispatched = true;
            break;
        default:
            VEL_APP_LOG(DLT_LOG_ERROR, mName, "@@@ ERR. Unexpected notice!");
            break;
        }
    }
    if (listsDelivered > 0) {
        responseUpdate_l(static_cast<DEVICE_LIST_TYPE>(_notice));
    }
    return dispatched;
}

bool VelComProxyApp::ImplVelComProxyApp::receiveNoticeTechActiveInfo(std::vector<TECH_ACTIVE_INFO_s> _infos)
{
    if (mCbList.empty()) {
        VEL_APP_LOG(DLT_LOG_WARN, mName, "@@@ WARN. mCbList is empty! Return!");
        return false;
    }
    for (VelCallBackApp* callback : mCbList) {
        if (callback->onRcvTechActiveInfo(_infos)) {
            VEL_APP_LOG(DLT_LOG_INFO, mName, "onRcvTechActiveInfo() success");
        } else {
            VEL_APP_LOG(DLT_LOG_ERROR, mName, "@@@ ERR. onRcvTechActiveInfo() fail");
        }
    }
    return true;
}
