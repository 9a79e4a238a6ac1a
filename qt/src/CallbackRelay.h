// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <QByteArray>
#include <QList>
#include <QVariantList>

#include <list>
#include <mutex>
#include <string>
#include <vector>

#include "vel/VelCallBackApp.h"

class VelQtRelayInbox;

// The VelCallBackApp that a client registers with libvel. It runs on libvel's
// main-loop thread and touches no QObject there: it copies what it is given
// and queues it in the client's inbox, which runs it on the client's thread.
// libvel keeps callback objects until the process ends, so a relay outlives
// its client: the client detaches it when destroyed, after which it queues
// nothing, and a later client of the same kind attaches to it again.
class VelQtCallbackRelay : public VelCallBackApp {
public:
    // The relay for the client kind that is not attached to a client, made
    // (and registered with libvel's facade by the caller) when there is none.
    // `fresh` tells whether it still needs registering.
    static VelQtCallbackRelay* acquire(int clientType, VelQtRelayInbox* inbox, bool& fresh);
    void detach();

    void onRcvMVELReady(bool ready) override;
    void onRcvResponseConnectService(std::string deviceId, TECHNOLOGY_e technology, int result) override;
    void onRcvResponseDisconnectService(std::string deviceId, TECHNOLOGY_e technology, int result) override;
    void onRcvResponseRejectTechnologySelection(std::string deviceId, int result) override;
    void onRcvResponseRemoveDevice(std::string deviceId, int result) override;
    void onRcvResponseRestoreFactorySettings(int result) override;
    void onRcvResponseSetPrioritizedDevice(int result) override;
    void onRcvUpdateDiscoveredDevices(std::list<DEVICE>& devices, int result) override;
    void onRcvUpdateGetTechnologySelection(std::string deviceId, int result) override;
    void onRcvUpdateIncomingServiceRequestLimitExceeded(std::string deviceId, TECHNOLOGY_e technology,
                                                        int result) override;
    void onRcvNoticeLinkLossToApp(std::string deviceId, TECHNOLOGY_e technology, int result) override;
    void onRcvUpdateKnownDevices(std::list<DEVICE>& devices, int result) override;
    bool onRcvTechActiveInfo(std::vector<TECH_ACTIVE_INFO_s> infos) override;

private:
    VelQtCallbackRelay() = default;

    // Runs `call` on the client's thread, if a client is attached.
    template <typename Call>
    void post(Call&& call);

    static QList<QByteArray> copyRecords(const std::list<DEVICE>& devices);

    // Held while queueing, so that the client's destructor, which detaches
    // under it, never races a call queued into an inbox being destroyed.
    std::mutex mTargetMutex;
    VelQtRelayInbox* mTarget = nullptr;
};
