// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QVariant>

#include <functional>
#include <memory>

#include "velqt/VelQtExport.h"

/// The bytes of one field of a DEVICE record, as a decoder sees them: only
/// its own span. A read outside the span gives nothing and marks the field
/// as overrun; the decoder that did it is refused from then on.
class VEL_QT_EXPORT VelDeviceField {
public:
    VelDeviceField(const char* bytes, int size);

    int size() const { return mSize; }
    /// `length` bytes from `offset` inside the field; empty when they do not fit.
    QByteArray bytes(int offset, int length) const;
    /// Text up to the first NUL, or to the field's end when it has none (UTF-8).
    QString text() const;
    /// Unsigned integers in the head unit's byte order; 0 when they do not fit.
    quint8 uint8At(int offset) const;
    quint16 uint16At(int offset) const;
    quint32 uint32At(int offset) const;
    bool overran() const { return mOverran; }

private:
    bool fits(int offset, int length) const;

    const char* mBytes;
    int mSize;
    mutable bool mOverran = false;
};

/// A product's view of its service's DEVICE records. libvel knows only the
/// record's size and its deviceId; every other byte belongs to the service.
/// A decoder names fields (a byte span and a function that turns the span
/// into a value); each field becomes a role of VelDeviceListModel.
class VEL_QT_EXPORT VelDeviceDecoder {
public:
    using Decode = std::function<QVariant(const VelDeviceField& field)>;

    /// The size of a DEVICE record, in bytes.
    static constexpr int kRecordSize = 12492;

    VelDeviceDecoder();
    ~VelDeviceDecoder();
    VelDeviceDecoder(const VelDeviceDecoder& other);
    VelDeviceDecoder& operator=(const VelDeviceDecoder& other);

    /// Adds a field. Refused (false, one error line) when the span is empty or
    /// runs past the record, or the role name is empty or already taken
    /// ("deviceId" and "record" belong to the model).
    bool addField(const QByteArray& roleName, int offset, int size, Decode decode);
    /// Text up to the first NUL inside the span.
    bool addTextField(const QByteArray& roleName, int offset, int size);
    /// An unsigned integer of 1, 2 or 4 bytes.
    bool addUnsignedField(const QByteArray& roleName, int offset, int size);

    QList<QByteArray> roleNames() const;
    int fieldCount() const;
    /// The value of field `index` in `record`; invalid when the record is too
    /// short, the index unknown, or the field refused for reading past its span.
    QVariant decode(int index, const QByteArray& record) const;
    /// Whether field `index` was refused for reading past its span.
    bool refused(int index) const;

private:
    struct Field;
    struct Fields;
    std::unique_ptr<Fields> mFields;
};
