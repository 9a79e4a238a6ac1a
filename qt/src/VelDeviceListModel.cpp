// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "velqt/VelDeviceListModel.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

#include "VelQtLog.h"
#include "vel/VelTypes.h"

namespace {

constexpr int kDeviceIdOffset = static_cast<int>(offsetof(DEVICE, deviceId));
constexpr int kDeviceIdSize = static_cast<int>(sizeof(DEVICE::deviceId));

// A row's identity: its deviceId and which occurrence of that id it is, so
// that a list holding one id twice still matches row for row.
using RowKey = std::pair<QString, int>;

struct Row {
    RowKey key;
    QByteArray record;
};

QString deviceIdOf(const QByteArray& record)
{
    const char* id = record.constData() + kDeviceIdOffset;
    const void* end = std::memchr(id, '\0', kDeviceIdSize);
    const int length = end != nullptr ? static_cast<int>(static_cast<const char*>(end) - id) : kDeviceIdSize;
    return QString::fromUtf8(id, length);
}

std::vector<Row> keyedRows(const QList<QByteArray>& records)
{
    std::vector<Row> rows;
    std::map<QString, int> seen;
    for (const QByteArray& record : records) {
        if (record.size() != VelDeviceDecoder::kRecordSize) {
            VEL_QT_LOG(DLT_LOG_ERROR, "VelDeviceListModel", "@@@ ERR. A record of ", record.size(),
                       " bytes instead of ", VelDeviceDecoder::kRecordSize, "! Dropped!");
            continue;
        }
        const QString id = deviceIdOf(record);
        rows.push_back(Row{RowKey(id, seen[id]++), record});
    }
    return rows;
}

// Positions of a longest strictly increasing subsequence of `values`.
std::vector<bool> longestIncreasing(const std::vector<int>& values)
{
    const std::size_t n = values.size();
    std::vector<int> tailValue;
    std::vector<int> tailIndex;
    std::vector<int> previous(n, -1);
    for (std::size_t i = 0; i < n; ++i) {
        const auto at = std::lower_bound(tailValue.begin(), tailValue.end(), values[i]);
        const std::size_t length = static_cast<std::size_t>(at - tailValue.begin());
        if (length > 0) {
            previous[i] = tailIndex[length - 1];
        }
        if (at == tailValue.end()) {
            tailValue.push_back(values[i]);
            tailIndex.push_back(static_cast<int>(i));
        } else {
            *at = values[i];
            tailIndex[length] = static_cast<int>(i);
        }
    }
    std::vector<bool> member(n, false);
    for (int i = tailIndex.empty() ? -1 : tailIndex.back(); i >= 0; i = previous[static_cast<std::size_t>(i)]) {
        member[static_cast<std::size_t>(i)] = true;
    }
    return member;
}

std::mutex gDefaultDecoderMutex;

VelDeviceDecoder& defaultDecoder()
{
    static auto* decoder = new VelDeviceDecoder();
    return *decoder;
}

} // namespace

class VEL_QT_HIDDEN VelDeviceListModel::Private {
public:
    std::vector<Row> rows;
    VelDeviceDecoder decoder;
    QHash<int, QByteArray> roles;

    void updateRoles()
    {
        roles.clear();
        roles.insert(DeviceIdRole, "deviceId");
        roles.insert(RecordRole, "record");
        const QList<QByteArray> names = decoder.roleNames();
        for (int i = 0; i < names.size(); ++i) {
            roles.insert(FirstDecodedRole + i, names[i]);
        }
    }

    int rowOf(const RowKey& key) const
    {
        for (std::size_t i = 0; i < rows.size(); ++i) {
            if (rows[i].key == key) {
                return static_cast<int>(i);
            }
        }
        return -1;
    }
};

VelDeviceListModel::VelDeviceListModel(QObject* parent) : QAbstractListModel(parent), d(new Private())
{
    {
        std::lock_guard<std::mutex> lock(gDefaultDecoderMutex);
        d->decoder = defaultDecoder();
    }
    d->updateRoles();
}

VelDeviceListModel::~VelDeviceListModel()
{
    delete d;
}

void VelDeviceListModel::setDecoder(const VelDeviceDecoder& decoder)
{
    // Role names are fixed for a view once it has bound them; a reset is the
    // one way to tell it they changed.
    beginResetModel();
    d->decoder = decoder;
    d->updateRoles();
    endResetModel();
}

const VelDeviceDecoder& VelDeviceListModel::decoder() const
{
    return d->decoder;
}

void VelDeviceListModel::setDefaultDecoder(const VelDeviceDecoder& decoder)
{
    std::lock_guard<std::mutex> lock(gDefaultDecoderMutex);
    defaultDecoder() = decoder;
}

void VelDeviceListModel::applyRecords(const QList<QByteArray>& records)
{
    const std::vector<Row> target = keyedRows(records);
    std::map<RowKey, std::size_t> targetIndex;
    for (std::size_t i = 0; i < target.size(); ++i) {
        targetIndex[target[i].key] = i;
    }
    const int countBefore = static_cast<int>(d->rows.size());
    const QModelIndex root;

    // 1. Rows whose device is gone, bottom up, in contiguous runs.
    for (int last = static_cast<int>(d->rows.size()) - 1; last >= 0;) {
        if (targetIndex.count(d->rows[static_cast<std::size_t>(last)].key) != 0) {
            --last;
            continue;
        }
        int first = last;
        while (first > 0 && targetIndex.count(d->rows[static_cast<std::size_t>(first - 1)].key) == 0) {
            --first;
        }
        beginRemoveRows(root, first, last);
        d->rows.erase(d->rows.begin() + first, d->rows.begin() + last + 1);
        endRemoveRows();
        last = first - 1;
    }

    // 2. Moves: the longest run of rows already in the new order stays; every
    // other row moves to just after the row that precedes it in the new list.
    std::vector<int> order;
    for (const Row& row : d->rows) {
        order.push_back(static_cast<int>(targetIndex[row.key]));
    }
    const std::vector<bool> staying = longestIncreasing(order);
    std::vector<RowKey> movers;
    for (std::size_t i = 0; i < d->rows.size(); ++i) {
        if (!staying[i]) {
            movers.push_back(d->rows[i].key);
        }
    }
    std::sort(movers.begin(), movers.end(),
              [&](const RowKey& a, const RowKey& b) { return targetIndex[a] < targetIndex[b]; });
    for (const RowKey& key : movers) {
        const int from = d->rowOf(key);
        // The nearest row before it in the new list that is already here.
        int destination = 0;
        for (std::size_t t = targetIndex[key]; t-- > 0;) {
            const int predecessor = d->rowOf(target[t].key);
            if (predecessor >= 0) {
                destination = predecessor + 1;
                break;
            }
        }
        if (destination == from || destination == from + 1) {
            continue;
        }
        beginMoveRows(root, from, from, root, destination);
        Row row = std::move(d->rows[static_cast<std::size_t>(from)]);
        d->rows.erase(d->rows.begin() + from);
        d->rows.insert(d->rows.begin() + (destination > from ? destination - 1 : destination), std::move(row));
        endMoveRows();
    }

    // 3. New devices, top down in contiguous runs: what is here now is the new
    // list without them, in its order.
    std::vector<bool> arriving(target.size(), true);
    for (const Row& row : d->rows) {
        arriving[targetIndex[row.key]] = false;
    }
    for (std::size_t t = 0; t < target.size();) {
        if (!arriving[t]) {
            ++t;
            continue;
        }
        std::size_t end = t;
        while (end < target.size() && arriving[end]) {
            ++end;
        }
        beginInsertRows(root, static_cast<int>(t), static_cast<int>(end) - 1);
        d->rows.insert(d->rows.begin() + static_cast<std::ptrdiff_t>(t), target.begin() + static_cast<std::ptrdiff_t>(t),
                       target.begin() + static_cast<std::ptrdiff_t>(end));
        endInsertRows();
        t = end;
    }

    // 4. Rows whose record bytes changed, in contiguous runs.
    int changedFirst = -1;
    for (std::size_t i = 0; i <= d->rows.size(); ++i) {
        const bool changed = i < d->rows.size() && d->rows[i].record != target[i].record;
        if (changed) {
            d->rows[i].record = target[i].record;
            if (changedFirst < 0) {
                changedFirst = static_cast<int>(i);
            }
        } else if (changedFirst >= 0) {
            Q_EMIT dataChanged(index(changedFirst), index(static_cast<int>(i) - 1));
            changedFirst = -1;
        }
    }

    if (countBefore != static_cast<int>(d->rows.size())) {
        Q_EMIT countChanged();
    }
}

int VelDeviceListModel::count() const
{
    return static_cast<int>(d->rows.size());
}

int VelDeviceListModel::indexOf(const QString& deviceId) const
{
    return d->rowOf(RowKey(deviceId, 0));
}

QString VelDeviceListModel::deviceIdAt(int row) const
{
    return row >= 0 && row < count() ? d->rows[static_cast<std::size_t>(row)].key.first : QString();
}

QVariantMap VelDeviceListModel::get(int row) const
{
    QVariantMap values;
    if (row < 0 || row >= count()) {
        return values;
    }
    for (auto role = d->roles.constBegin(); role != d->roles.constEnd(); ++role) {
        values.insert(QString::fromUtf8(role.value()), data(index(row), role.key()));
    }
    return values;
}

int VelDeviceListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : count();
}

QVariant VelDeviceListModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid)) {
        return QVariant();
    }
    const Row& row = d->rows[static_cast<std::size_t>(index.row())];
    switch (role) {
    case Qt::DisplayRole:
    case DeviceIdRole:
        return row.key.first;
    case RecordRole:
        return row.record;
    default:
        return d->decoder.decode(role - FirstDecodedRole, row.record);
    }
}

QHash<int, QByteArray> VelDeviceListModel::roleNames() const
{
    return d->roles;
}
