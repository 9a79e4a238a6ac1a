// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "CallbackRelay.h"

#include <QString>
#include <QVariantMap>

#include <map>

#include "RelayInbox.h"
#include "VelQtApplicationClientPrivate.h"
#include "velqt/VelQtApplicationClient.h"

namespace {

// Every relay ever made, by client kind; libvel holds them until the process
// ends, and so does this table. Guarded by gRelaysMutex.
std::mutex gRelaysMutex;
std::multimap<int, VelQtCallbackRelay*>& relays()
{
    static auto* table = new std::multimap<int, VelQtCallbackRelay*>();
    return *table;
}

QString text(const std::string& value)
{
    return QString::fromStdString(value);
}

} // namespace

VelQtCallbackRelay* VelQtCallbackRelay::acquire(int clientType, VelQtRelayInbox* inbox, bool& fresh)
{
    std::lock_guard<std::mutex> tableLock(gRelaysMutex);
    auto range = relays().equal_range(clientType);
    for (auto it = range.first; it != range.second; ++it) {
        VelQtCallbackRelay* relay = it->second;
        std::lock_guard<std::mutex> lock(relay->mTargetMutex);
        if (relay->mTarget == nullptr) {
            relay->mTarget = inbox;
            fresh = false;
            return relay;
        }
    }
    auto* relay = new VelQtCallbackRelay();
    relay->mTarget = inbox;
    relays().emplace(clientType, relay);
    fresh = true;
    return relay;
}

void VelQtCallbackRelay::detach()
{
    std::lock_guard<std::mutex> lock(mTargetMutex);
    mTarget = nullptr;
}

template <typename Call>
void VelQtCallbackRelay::post(Call&& call)
{
    std::lock_guard<std::mutex> lock(mTargetMutex);
    if (mTarget != nullptr) {
        mTarget->push(std::forward<Call>(call));
    }
}

QList<QByteArray> VelQtCallbackRelay::copyRecords(const std::list<DEVICE>& devices)
{
    // The one copy of the list: the references libvel hands over are valid
    // only during the callback.
    QList<QByteArray> records;
    records.reserve(static_cast<qsizetype>(devices.size()));
    for (const DEVICE& device : devices) {
        records.append(QByteArray(reinterpret_cast<const char*>(&device), static_cast<qsizetype>(sizeof(DEVICE))));
    }
    return records;
}

void VelQtCallbackRelay::onRcvMVELReady(bool ready)
{
    post([ready](VelQtApplicationClient::Private& client) { client.setReady(ready); });
}

void VelQtCallbackRelay::onRcvResponseConnectService(std::string deviceId, TECHNOLOGY_e technology, int result)
{
    post([id = text(deviceId), technology, result](VelQtApplicationClient::Private& client) {
        Q_EMIT client.q->connectServiceDone(id, technology, result);
    });
}

void VelQtCallbackRelay::onRcvResponseDisconnectService(std::string deviceId, TECHNOLOGY_e technology, int result)
{
    post([id = text(deviceId), technology, result](VelQtApplicationClient::Private& client) {
        Q_EMIT client.q->disconnectServiceDone(id, technology, result);
    });
}

void VelQtCallbackRelay::onRcvResponseRejectTechnologySelection(std::string deviceId, int result)
{
    post([id = text(deviceId), result](VelQtApplicationClient::Private& client) {
        Q_EMIT client.q->rejectTechnologySelectionDone(id, result);
    });
}

void VelQtCallbackRelay::onRcvResponseRemoveDevice(std::string deviceId, int result)
{
    post([id = text(deviceId), result](VelQtApplicationClient::Private& client) {
        Q_EMIT client.q->removeDeviceDone(id, result);
    });
}

void VelQtCallbackRelay::onRcvResponseRestoreFactorySettings(int result)
{
    post([result](VelQtApplicationClient::Private& client) { Q_EMIT client.q->restoreFactorySettingsDone(result); });
}

void VelQtCallbackRelay::onRcvResponseSetPrioritizedDevice(int result)
{
    post([result](VelQtApplicationClient::Private& client) { Q_EMIT client.q->setPrioritizedDeviceDone(result); });
}

void VelQtCallbackRelay::onRcvUpdateDiscoveredDevices(std::list<DEVICE>& devices, int result)
{
    post([records = copyRecords(devices), result](VelQtApplicationClient::Private& client) {
        client.applyDiscovered(records, result);
    });
}

void VelQtCallbackRelay::onRcvUpdateGetTechnologySelection(std::string deviceId, int result)
{
    post([id = text(deviceId), result](VelQtApplicationClient::Private& client) {
        Q_EMIT client.q->technologySelectionRequested(id, result);
    });
}

void VelQtCallbackRelay::onRcvUpdateIncomingServiceRequestLimitExceeded(std::string deviceId,
                                                                        TECHNOLOGY_e technology, int result)
{
    post([id = text(deviceId), technology, result](VelQtApplicationClient::Private& client) {
        Q_EMIT client.q->incomingServiceRequestLimitExceeded(id, technology, result);
    });
}

void VelQtCallbackRelay::onRcvNoticeLinkLossToApp(std::string deviceId, TECHNOLOGY_e technology, int result)
{
    post([id = text(deviceId), technology, result](VelQtApplicationClient::Private& client) {
        Q_EMIT client.q->linkLost(id, technology, result);
    });
}

void VelQtCallbackRelay::onRcvUpdateKnownDevices(std::list<DEVICE>& devices, int result)
{
    post([records = copyRecords(devices), result](VelQtApplicationClient::Private& client) {
        client.applyKnown(records, result);
    });
}

bool VelQtCallbackRelay::onRcvTechActiveInfo(std::vector<TECH_ACTIVE_INFO_s> infos)
{
    // Plain values across the hop; the QVariant maps are built on the client's thread.
    post([infos = std::move(infos)](VelQtApplicationClient::Private& client) {
        QVariantList list;
        for (const TECH_ACTIVE_INFO_s& info : infos) {
            list.append(QVariantMap{{QStringLiteral("technology"), static_cast<uint>(info.technology)},
                                    {QStringLiteral("active"), info.active}});
        }
        Q_EMIT client.q->techActiveInfoChanged(list);
    });
    return true;
}
