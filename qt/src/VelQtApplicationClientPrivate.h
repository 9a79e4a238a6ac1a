// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <memory>
#include <mutex>

#include "velqt/VelQtApplicationClient.h"

class VelComProxyApp;
class VelDeviceListModel;
class VelQtCallbackRelay;
class VelQtRelayInbox;

// Worker threads of the asynchronous checks queue their answers through it;
// the client clears it when it is destroyed, so a late answer goes nowhere.
struct VelQtClientHandle {
    std::mutex mutex;
    VelQtRelayInbox* inbox = nullptr;
};

// Lives on the client's thread; the calls queued by the relay and by the
// asynchronous checks run here, through the inbox.
class VEL_QT_HIDDEN VelQtApplicationClient::Private {
public:
    explicit Private(VelQtApplicationClient* owner);

    void setReady(bool ready);
    void applyKnown(const QList<QByteArray>& records, int result);
    void applyDiscovered(const QList<QByteArray>& records, int result);
    // The facade, or nullptr with one warning line naming `request`.
    VelComProxyApp* facadeFor(const char* request) const;
    // Runs a blocking query on a thread of its own and hands its answer to
    // `deliver` on the client's thread, unless the client is gone by then.
    template <typename Query, typename Deliver>
    void runOffThread(Query query, Deliver deliver);

    VelQtApplicationClient* q;
    int clientType = 100;
    QString clientName;
    bool ready = false;
    VelComProxyApp* facade = nullptr;
    VelQtCallbackRelay* relay = nullptr;
    VelQtRelayInbox* inbox = nullptr;
    VelDeviceListModel* known = nullptr;
    VelDeviceListModel* discovered = nullptr;
    std::shared_ptr<VelQtClientHandle> handle;
};
