// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <QAbstractListModel>
#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>

#include "velqt/VelDeviceDecoder.h"
#include "velqt/VelQtExport.h"

/// The known or the discovered devices of the service, one row per DEVICE
/// record, for a QML ListView. Each new list is applied as row removals,
/// moves, insertions and changes, matched by deviceId (never as a reset), so
/// views keep their scroll position, current item and animations.
class VEL_QT_EXPORT VelDeviceListModel : public QAbstractListModel {
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    enum Role {
        DeviceIdRole = Qt::UserRole + 1, ///< "deviceId": the record's deviceId (QString)
        RecordRole,                      ///< "record": the whole record (QByteArray, 12492 bytes)
        FirstDecodedRole = Qt::UserRole + 16, ///< the decoder's fields, in the order they were added
    };

    explicit VelDeviceListModel(QObject* parent = nullptr);
    ~VelDeviceListModel() override;

    /// Installs the decoder whose fields become roles from FirstDecodedRole
    /// on. The role names change, so views must be (re)bound after this;
    /// products set it once, before the model is shown.
    void setDecoder(const VelDeviceDecoder& decoder);
    const VelDeviceDecoder& decoder() const;
    /// The decoder that models made from now on start with (in any thread).
    /// A product registers its service's layout once in main(), before QML
    /// creates clients and their models.
    static void setDefaultDecoder(const VelDeviceDecoder& decoder);

    /// Applies a new list of records (each 12492 bytes) in the service's order.
    /// Records of another size are dropped with one error line each.
    void applyRecords(const QList<QByteArray>& records);

    int count() const;
    /// The row of `deviceId`, or -1.
    Q_INVOKABLE int indexOf(const QString& deviceId) const;
    /// The deviceId of `row`, or an empty string.
    Q_INVOKABLE QString deviceIdAt(int row) const;
    /// Every role of `row` by name, for QML code outside a delegate.
    Q_INVOKABLE QVariantMap get(int row) const;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

Q_SIGNALS:
    void countChanged();

private:
    class Private;
    Private* d;
};
