// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "velqt/VelDeviceDecoder.h"

#include <cstring>
#include <vector>

#include "VelQtLog.h"
#include "vel/VelTypes.h"

static_assert(VelDeviceDecoder::kRecordSize == static_cast<int>(sizeof(DEVICE)),
              "the decoder's record size is libvel's DEVICE");

VelDeviceField::VelDeviceField(const char* bytes, int size) : mBytes(bytes), mSize(size) {}

bool VelDeviceField::fits(int offset, int length) const
{
    if (offset < 0 || length < 0 || offset > mSize || length > mSize - offset) {
        mOverran = true;
        return false;
    }
    return true;
}

QByteArray VelDeviceField::bytes(int offset, int length) const
{
    return fits(offset, length) ? QByteArray(mBytes + offset, length) : QByteArray();
}

QString VelDeviceField::text() const
{
    // Bounded by the field: a text without its terminator ends with the field.
    const void* end = std::memchr(mBytes, '\0', static_cast<std::size_t>(mSize));
    const int length = end != nullptr ? static_cast<int>(static_cast<const char*>(end) - mBytes) : mSize;
    return QString::fromUtf8(mBytes, length);
}

quint8 VelDeviceField::uint8At(int offset) const
{
    return fits(offset, 1) ? static_cast<quint8>(mBytes[offset]) : 0;
}

quint16 VelDeviceField::uint16At(int offset) const
{
    quint16 value = 0;
    if (fits(offset, 2)) {
        std::memcpy(&value, mBytes + offset, sizeof(value));
    }
    return value;
}

quint32 VelDeviceField::uint32At(int offset) const
{
    quint32 value = 0;
    if (fits(offset, 4)) {
        std::memcpy(&value, mBytes + offset, sizeof(value));
    }
    return value;
}

struct VEL_QT_HIDDEN VelDeviceDecoder::Field {
    QByteArray roleName;
    int offset;
    int size;
    Decode decode;
    // Set when the decode function read outside its span; decoded no more.
    bool refused = false;
};

struct VEL_QT_HIDDEN VelDeviceDecoder::Fields {
    std::vector<Field> list;
};

VelDeviceDecoder::VelDeviceDecoder() : mFields(std::make_unique<Fields>()) {}

VelDeviceDecoder::~VelDeviceDecoder() = default;

VelDeviceDecoder::VelDeviceDecoder(const VelDeviceDecoder& other) : mFields(std::make_unique<Fields>(*other.mFields))
{
}

VelDeviceDecoder& VelDeviceDecoder::operator=(const VelDeviceDecoder& other)
{
    if (this != &other) {
        mFields = std::make_unique<Fields>(*other.mFields);
    }
    return *this;
}

bool VelDeviceDecoder::addField(const QByteArray& roleName, int offset, int size, Decode decode)
{
    const std::string name = roleName.toStdString();
    if (roleName.isEmpty() || roleName == "deviceId" || roleName == "record" || !decode) {
        VEL_QT_LOG(DLT_LOG_ERROR, "VelDeviceDecoder", "@@@ ERR. Field '", name,
                   "' needs a free role name and a decode function! Refused!");
        return false;
    }
    for (const Field& field : mFields->list) {
        if (field.roleName == roleName) {
            VEL_QT_LOG(DLT_LOG_ERROR, "VelDeviceDecoder", "@@@ ERR. Field '", name, "' is there already! Refused!");
            return false;
        }
    }
    if (offset < 0 || size <= 0 || size > kRecordSize - offset) {
        VEL_QT_LOG(DLT_LOG_ERROR, "VelDeviceDecoder", "@@@ ERR. Field '", name, "' (offset ", offset, ", size ", size,
                   ") reads past the record's ", kRecordSize, " bytes! Refused!");
        return false;
    }
    mFields->list.push_back(Field{roleName, offset, size, std::move(decode)});
    return true;
}

bool VelDeviceDecoder::addTextField(const QByteArray& roleName, int offset, int size)
{
    return addField(roleName, offset, size, [](const VelDeviceField& field) { return QVariant(field.text()); });
}

bool VelDeviceDecoder::addUnsignedField(const QByteArray& roleName, int offset, int size)
{
    Decode decode;
    switch (size) {
    case 1:
        decode = [](const VelDeviceField& field) { return QVariant(static_cast<uint>(field.uint8At(0))); };
        break;
    case 2:
        decode = [](const VelDeviceField& field) { return QVariant(static_cast<uint>(field.uint16At(0))); };
        break;
    case 4:
        decode = [](const VelDeviceField& field) { return QVariant(static_cast<uint>(field.uint32At(0))); };
        break;
    default:
        VEL_QT_LOG(DLT_LOG_ERROR, "VelDeviceDecoder", "@@@ ERR. Field '", roleName.toStdString(), "' has size ", size,
                   "; an unsigned field has 1, 2 or 4 bytes! Refused!");
        return false;
    }
    return addField(roleName, offset, size, std::move(decode));
}

QList<QByteArray> VelDeviceDecoder::roleNames() const
{
    QList<QByteArray> names;
    for (const Field& field : mFields->list) {
        names.append(field.roleName);
    }
    return names;
}

int VelDeviceDecoder::fieldCount() const
{
    return static_cast<int>(mFields->list.size());
}

QVariant VelDeviceDecoder::decode(int index, const QByteArray& record) const
{
    if (index < 0 || index >= fieldCount() || record.size() != kRecordSize) {
        return QVariant();
    }
    Field& field = mFields->list[static_cast<std::size_t>(index)];
    if (field.refused) {
        return QVariant();
    }
    const VelDeviceField view(record.constData() + field.offset, field.size);
    QVariant value = field.decode(view);
    if (view.overran()) {
        field.refused = true;
        VEL_QT_LOG(DLT_LOG_ERROR, "VelDeviceDecoder", "@@@ ERR. Field '", field.roleName.toStdString(), "' (offset ",
                   field.offset, ", size ", field.size, ") read past its bytes! Refused from now on!");
        return QVariant();
    }
    return value;
}

bool VelDeviceDecoder::refused(int index) const
{
    return index >= 0 && index < fieldCount() && mFields->list[static_cast<std::size_t>(index)].refused;
}
