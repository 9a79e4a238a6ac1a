// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <gio/gio.h>

#include <cstddef>
#include <list>
#include <string>
#include <vector>

#include "SubscribedConnection.h"
#include "vel/VelComProxyApp.h"
#include "vel/VelTypes.h"

class VelCallBackApp;
class VelLibShm;

// Private state of an application facade: its callbacks, its subscriptions,
// the device-store reader and the device lists handed to the callbacks.
class VelComProxyApp::ImplVelComProxyApp {
public:
    // getInstance() called with this client name returns the facade without
    // touching the callback list.
    static constexpr const char* kClassName = "ImplVelComProxyApp";

    ImplVelComProxyApp(VelComProxyApp* owner, const CLIENT_TYPE_e& clientType, const std::string& clientName);
    virtual ~ImplVelComProxyApp();

    ImplVelComProxyApp(const ImplVelComProxyApp&) = delete;
    ImplVelComProxyApp& operator=(const ImplVelComProxyApp&) = delete;

    // Requests.
    bool sendActionFromApp(APP_REQUEST_e _action, std::string _deviceId, TECHNOLOGY_e _technology,
                           std::string _deviceIdToReplace);
    bool sendActionFromAppSync(APP_REQUEST_e _action, std::string _deviceId, TECHNOLOGY_e _technology,
                               std::string _deviceIdToReplace);
    bool sendInformFromApp_l(APP_INFO_e _appInfo, std::string _param);
    // Tells the service which device list the callbacks have just been given.
    bool responseUpdate_l(DEVICE_LIST_TYPE _listType);

    // Subscriptions on the base's connection, which must not be null.
    bool subscribeSignals_l(GDBusConnection* _connection);
    void unsubscribeSignals_l();
    bool hasSubscriptions_l() const;

    // Signal dispatch to every registered callback, in list order.
    bool receiveAppRequestDone(const APP_REQUEST_e& _appRequest, const ORNA_RESULT_e& _result,
                               const std::string& _deviceId, const TECHNOLOGY_e& _technology);
    bool receiveCheckFuncOpModeDone(const ORNA_FUNC_ITEM_e& _function, const ORNA_RESULT_e& _result);
    bool receiveNoticeToApp(const ORNA_NOTICE_e& _notice, const std::string& _info1, const unsigned int& _info2);
    bool receiveNoticeTechActiveInfo(std::vector<TECH_ACTIVE_INFO_s> _infos);

    // Device list assembly: one read of the store per callback.
    bool handleUpdatedDeviceInfo_l(DEVICE_LIST_TYPE _listType, unsigned _deviceCount, unsigned _result,
                                   VelCallBackApp* _pCb);
    bool processReceivedDeviceList_l(DEVICE_LIST_TYPE _listType, int _count);
    bool composeDeviceList_l(DEVICE_LIST_TYPE _listType, int _count);
    bool changeArrayToList_l(DEVICE_LIST_TYPE _listType, unsigned _count);
    void resetDeviceList_l(DEVICE_LIST_TYPE _listType);
    void releaseDeviceListResource_l(DEVICE_LIST_TYPE _listType);
    bool composeDeviceListToIncludeValidItemOnly_l();
    void vellDisplayDeviceList_l(std::list<DEVICE>& _list);

    VelComProxyApp* mpOwner;
    CLIENT_TYPE_e mClientType;
    std::string mClientName;
    // Adjusted client name of the owner; tag of every log line.
    std::string mName;
    std::list<VelCallBackApp*> mCbList;
    bool mInitialized;
    VelLibShm* mpVellShm;

    guint mAppRequestDoneId;
    guint mCheckFuncOpModeDoneId;
    guint mNoticeToAppId;
    guint mNoticeTechActiveInfoId;
    // The connection the ids above belong to, so that they can be dropped
    // there and renewed when the service comes back on another connection.
    SubscribedConnection mSubscribedConnection;

    // Raw read buffer, alive only during one read.
    DEVICE* mpDeviceArray;
    // The leading records of the last known list up to the first empty one.
    DEVICE* mpValidKnownDeviceArray;
    unsigned mValidKnownDeviceCount;
    std::list<DEVICE> mKnownDeviceList;
    std::list<DEVICE> mDiscoveredDeviceList;

    // Room for one whole list, kept for the service features that will use it.
    DEVICE* mpReservedDevices;
    std::size_t mReservedDevicesSize;
};
