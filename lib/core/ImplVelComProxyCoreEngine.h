// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <gio/gio.h>

#include "SubscribedConnection.h"

#include <list>
#include <string>

#include "vel/VelComProxyCoreEngine.h"

// Private part of the core engine facade: the transport of both bus methods,
// the argument checks, the signal subscriptions and the choice of callback for
// each received signal.
class VelComProxyCoreEngine::ImplVelComProxyCoreEngine {
public:
    ImplVelComProxyCoreEngine(VelComProxyCoreEngine* owner, const std::string& className,
                              VelCallBackCoreEngine* callback);
    virtual ~ImplVelComProxyCoreEngine();

    bool sendActionFromCore(CLIENT_TYPE_e clientType, const CORE_REQUEST_e& request, const std::string& data,
                            const bool& flag, const std::string& data2);
    bool sendInformFromCore(CORE_INFO_e coreInfo, ORNA_REQUEST_e request, ORNA_RESULT_e result,
                            const std::string& strInfo, TECHNOLOGY_e technology, const std::string& strInfo2,
                            bool boolInfo);
    bool sendActionFromCoreSync(CLIENT_TYPE_e clientType, const CORE_REQUEST_e& request, const std::string& data,
                                std::string& information, std::list<WIFI_CREDENTIALS_s>& wifiCredentialsList,
                                const bool& flag, const std::string& data2);

    bool isDeviceIdValid(std::string deviceId);
    // Drops every byte that is not printable, one info line per dropped byte.
    std::string filterFriendlyName(const std::string& friendlyName);

    bool subscribe_l(GDBusConnection* connection);

    void receiveActionToCore(const ORNA_REQUEST_e& action, const TECHNOLOGY_e& technology,
                             const std::string& deviceId, const unsigned int& vendorId,
                             const unsigned int& productId, const unsigned int& portNum, const std::string& serial,
                             const std::string& devpath, const std::string& macAddress,
                             const CONNECT_CONDITION_e& cond, const ORNA_DISCONN_REASON_e& reason);
    void receiveActionToCoreWireless(const ORNA_REQUEST_e& action, const TECHNOLOGY_e& technology,
                                     const std::string& deviceId, const std::string& deviceSppNodePath,
                                     const std::string& information, const CONNECT_CONDITION_e& cond,
                                     const ORNA_DISCONN_REASON_e& reason);
    void receiveCheckCapability(const std::string& deviceId, const TECHNOLOGY_e& technology,
                                const std::string& deviceSppNodePath, const std::string& BTMacAddress,
                                const std::list<WIFI_CREDENTIALS_s>& wifiCredentialsList);
    void receiveCoreRequestDone(const CORE_REQUEST_e& coreRequest, const ORNA_RESULT_e& result,
                                const std::string& coreInfo);
    void receiveNoticeToCoreLinkLoss(const std::string& information);
    void receiveNoticeToCore(ORNA_NOTICE_e notice, const std::string& information1,
                             const std::string& information2);

    ImplVelComProxyCoreEngine(const ImplVelComProxyCoreEngine&) = delete;
    ImplVelComProxyCoreEngine& operator=(const ImplVelComProxyCoreEngine&) = delete;

private:
    void unsubscribe_l();

    VelComProxyCoreEngine* mpOwner;
    std::string mClassName;
    VelCallBackCoreEngine* mpCoreCB;
    unsigned int mActionToCoreSubscriptionId;
    unsigned int mActionToCoreWirelessSubscriptionId;
    unsigned int mCheckCapabilitySubscriptionId;
    unsigned int mCoreRequestDoneSubscriptionId;
    unsigned int mNoticeToCoreLinkLossSubscriptionId;
    unsigned int mNoticeToCoreSubscriptionId;
    // The connection the ids above belong to, held so that a reconnection on
    // the same connection does not subscribe twice and one on a new connection
    // can drop the old subscriptions.
    SubscribedConnection mSubscribedConnection;
};
