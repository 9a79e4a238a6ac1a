// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "velqt/VelQtApplicationClient.h"

#include <QCoreApplication>

#include <thread>

#include "CallbackRelay.h"
#include "HostCheck.h"
#include "RelayInbox.h"
#include "VelQtApplicationClientPrivate.h"
#include "VelQtLog.h"
#include "vel/VelComProxyApp.h"
#include "velqt/VelDeviceListModel.h"

namespace {

constexpr const char* kOwner = "VelQtApplicationClient";

} // namespace

VelQtApplicationClient::Private::Private(VelQtApplicationClient* owner)
    : q(owner), inbox(new VelQtRelayInbox(*this, owner)), handle(std::make_shared<VelQtClientHandle>())
{
    handle->inbox = inbox;
}

void VelQtApplicationClient::Private::setReady(bool value)
{
    if (ready == value) {
        return;
    }
    ready = value;
    Q_EMIT q->readyChanged(ready);
}

void VelQtApplicationClient::Private::applyKnown(const QList<QByteArray>& records, int result)
{
    known->applyRecords(records);
    Q_EMIT q->knownDevicesUpdated(result);
}

void VelQtApplicationClient::Private::applyDiscovered(const QList<QByteArray>& records, int result)
{
    discovered->applyRecords(records);
    Q_EMIT q->discoveredDevicesUpdated(result);
}

// The thread is left to finish alone: the query ends with the bus's timeout
// at the latest.
template <typename Query, typename Deliver>
void VelQtApplicationClient::Private::runOffThread(Query query, Deliver deliver)
{
    std::thread([handle = handle, query = std::move(query), deliver = std::move(deliver)]() {
        const bool answer = query();
        std::lock_guard<std::mutex> lock(handle->mutex);
        if (handle->inbox != nullptr) {
            handle->inbox->push([deliver, answer](Private& client) { deliver(client.q, answer); });
        }
    }).detach();
}

VelComProxyApp* VelQtApplicationClient::Private::facadeFor(const char* request) const
{
    if (facade == nullptr) {
        VEL_QT_LOG(DLT_LOG_WARN, kOwner, "@@@ WARN. ", request, " before start()! Return!");
    }
    return facade;
}

VelQtApplicationClient::VelQtApplicationClient(QObject* parent) : QObject(parent), d(new Private(this))
{
    d->clientName = QCoreApplication::applicationName();
    d->known = new VelDeviceListModel(this);
    d->discovered = new VelDeviceListModel(this);
}

VelQtApplicationClient::~VelQtApplicationClient()
{
    {
        std::lock_guard<std::mutex> lock(d->handle->mutex);
        d->handle->inbox = nullptr;
    }
    if (d->relay != nullptr) {
        d->relay->detach();
    }
    // Nothing queues into the inbox any more; what it holds is dropped with it.
    delete d->inbox;
    delete d;
}

bool VelQtApplicationClient::isReady() const
{
    return d->ready;
}

bool VelQtApplicationClient::isStarted() const
{
    return d->facade != nullptr;
}

int VelQtApplicationClient::clientType() const
{
    return d->clientType;
}

void VelQtApplicationClient::setClientType(int clientType)
{
    if (d->facade != nullptr) {
        VEL_QT_LOG(DLT_LOG_WARN, kOwner, "@@@ WARN. Already started; the client type stays ", d->clientType,
                   "! Return!");
        return;
    }
    if (clientType != d->clientType) {
        d->clientType = clientType;
        Q_EMIT clientTypeChanged();
    }
}

QString VelQtApplicationClient::clientName() const
{
    return d->clientName;
}

void VelQtApplicationClient::setClientName(const QString& clientName)
{
    if (d->facade != nullptr) {
        VEL_QT_LOG(DLT_LOG_WARN, kOwner, "@@@ WARN. Already started; the client name stays ",
                   d->clientName.toStdString(), "! Return!");
        return;
    }
    if (clientName != d->clientName) {
        d->clientName = clientName;
        Q_EMIT clientNameChanged();
    }
}

VelDeviceListModel* VelQtApplicationClient::knownDevices() const
{
    return d->known;
}

VelDeviceListModel* VelQtApplicationClient::discoveredDevices() const
{
    return d->discovered;
}

bool VelQtApplicationClient::start()
{
    if (d->facade != nullptr) {
        VEL_QT_LOG(DLT_LOG_WARN, kOwner, "@@@ WARN. Already started! Return!");
        return true;
    }
    constexpr int first = CLIENT_TYPE_APPLICATION_FIRST;
    constexpr int last = CLIENT_TYPE_APPLICATION_LAST;
    if (d->clientType < first || d->clientType > last) {
        VEL_QT_LOG(DLT_LOG_ERROR, kOwner, "@@@ ERR. Client type ", d->clientType, " is not an application's (", first,
                   " to ", last, ")! Return!");
        return false;
    }
    const std::string problem = velqt::hostSetUpProblem();
    if (!problem.empty()) {
        VEL_QT_LOG(DLT_LOG_ERROR, kOwner, "@@@ ERR. ", problem, "! Return!");
        return false;
    }
    bool fresh = false;
    d->relay = VelQtCallbackRelay::acquire(d->clientType, d->inbox, fresh);
    // A relay taken over from an earlier client is registered already; a
    // second registration would be refused (and logged) by the facade.
    VelComProxyApp* facade = VelComProxyApp::getInstance(static_cast<CLIENT_TYPE_e>(d->clientType),
                                                         d->clientName.toStdString(), fresh ? d->relay : nullptr);
    d->facade = facade;
    Q_EMIT startedChanged();
    VEL_QT_LOG(DLT_LOG_INFO, kOwner, "clientType:", d->clientType, ", clientName:", d->clientName.toStdString());
    const bool initialized = facade->doInitialize();
    // A facade that an earlier client started has told its readiness before.
    if (!fresh && facade->checkProxyAvailable()) {
        d->setReady(true);
    }
    return initialized;
}

bool VelQtApplicationClient::connectService(const QString& deviceId, uint technology, const QString& deviceIdToReplace)
{
    VelComProxyApp* facade = d->facadeFor("connectService");
    return facade != nullptr && facade->doServiceConnect(deviceId.toStdString(), static_cast<TECHNOLOGY_e>(technology),
                                                         deviceIdToReplace.toStdString());
}

bool VelQtApplicationClient::disconnectService(const QString& deviceId, uint technology)
{
    VelComProxyApp* facade = d->facadeFor("disconnectService");
    return facade != nullptr &&
           facade->doServiceDisconnect(deviceId.toStdString(), static_cast<TECHNOLOGY_e>(technology));
}

bool VelQtApplicationClient::removeDevice(const QString& deviceId)
{
    VelComProxyApp* facade = d->facadeFor("removeDevice");
    return facade != nullptr && facade->doRemoveDevice(deviceId.toStdString());
}

bool VelQtApplicationClient::rejectTechnologySelection(const QString& deviceId)
{
    VelComProxyApp* facade = d->facadeFor("rejectTechnologySelection");
    return facade != nullptr && facade->doRejectTechnologySelection(deviceId.toStdString());
}

bool VelQtApplicationClient::setPrioritizedDevice(const QString& deviceId)
{
    VelComProxyApp* facade = d->facadeFor("setPrioritizedDevice");
    return facade != nullptr && facade->doSetPrioritizedDevice(deviceId.toStdString());
}

bool VelQtApplicationClient::reconnectSuspend(bool suspend)
{
    VelComProxyApp* facade = d->facadeFor("reconnectSuspend");
    return facade != nullptr && facade->doReconnectSuspend(suspend);
}

bool VelQtApplicationClient::checkPaired(const QString& deviceId)
{
    VelComProxyApp* facade = d->facadeFor("checkPaired");
    return facade != nullptr && facade->checkPaired(deviceId.toStdString());
}

bool VelQtApplicationClient::checkMaxPaired()
{
    VelComProxyApp* facade = d->facadeFor("checkMaxPaired");
    return facade != nullptr && facade->checkMaxPaired();
}

void VelQtApplicationClient::requestCheckPaired(const QString& deviceId)
{
    VelComProxyApp* facade = d->facadeFor("requestCheckPaired");
    if (facade == nullptr) {
        Q_EMIT checkPairedDone(deviceId, false);
        return;
    }
    d->runOffThread(
        [facade, id = deviceId.toStdString()] { return facade->checkPaired(id); },
        [deviceId](VelQtApplicationClient* client, bool paired) { Q_EMIT client->checkPairedDone(deviceId, paired); });
}

void VelQtApplicationClient::requestCheckMaxPaired()
{
    VelComProxyApp* facade = d->facadeFor("requestCheckMaxPaired");
    if (facade == nullptr) {
        Q_EMIT checkMaxPairedDone(false);
        return;
    }
    d->runOffThread(
        [facade] { return facade->checkMaxPaired(); },
        [](VelQtApplicationClient* client, bool reached) { Q_EMIT client->checkMaxPairedDone(reached); });
}
