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

// Worker threads of the asynchronous checks post their answers through it;
// the client clears it when it is destroyed, so a late answer goes nowhere.
struct VelQtClientHandle {
    std::mutex mutex;
    VelQtApplicationClient* client = nullptr;
};

// Lives on the client's thread; the relay's posted calls run here.
class VelQtApplicationClient::Private {
public:
    explicit Private(VelQtApplicationClient* owner);

    void setReady(bool ready);
    void applyKnown(const QList<QByteArray>& records, int result);
    void applyDiscovered(const QList<QByteArray>& records, int result);
    // The facade, or nullptr with one warning line naming `request`.
    VelComProxyApp* facadeFor(const char* request) const;

    VelQtApplicationClient* q;
    int clientType = 100;
    QString clientName;
    bool ready = false;
    VelComProxyApp* facade = nullptr;
    VelQtCallbackRelay* relay = nullptr;
    VelDeviceListModel* known = nullptr;
    VelDeviceListModel* discovered = nullptr;
    std::shared_ptr<VelQtClientHandle> handle;
};
