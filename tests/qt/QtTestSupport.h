// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <cstring>
#include <string>
#include <vector>

#include "vel/VelTypes.h"

class QAbstractItemModel;

namespace veltest {

// A DEVICE record as bytes: the id at its place, `name` at the start of the
// service's bytes (where the simulator writes it) and `fill` elsewhere.
inline QByteArray deviceRecord(const QString& deviceId, const QString& name = QString(), char fill = 0)
{
    DEVICE device;
    std::memset(&device, fill, sizeof(device));
    std::memset(device.deviceId, 0, sizeof(device.deviceId));
    const QByteArray id = deviceId.toUtf8();
    std::memcpy(device.deviceId, id.constData(), static_cast<std::size_t>(id.size()));
    const QByteArray text = name.toUtf8();
    std::memcpy(device.serviceFieldsHead, text.constData(), static_cast<std::size_t>(text.size()));
    device.serviceFieldsHead[text.size()] = 0;
    return QByteArray(reinterpret_cast<const char*>(&device), static_cast<int>(sizeof(device)));
}

inline QList<QByteArray> deviceRecords(const QStringList& deviceIds)
{
    QList<QByteArray> records;
    for (const QString& id : deviceIds) {
        records.append(deviceRecord(id, QStringLiteral("name of ") + id));
    }
    return records;
}

// The deviceIds of the model's rows, top down.
QStringList modelDeviceIds(const QAbstractItemModel& model);

// Collects Qt's warnings (QAbstractItemModelTester reports through them)
// while it lives; the tests expect none.
class QtWarningCollector {
public:
    QtWarningCollector();
    ~QtWarningCollector();
    std::vector<std::string> warnings() const;
};

} // namespace veltest
