// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "QtTestSupport.h"

#include <QAbstractItemModel>

#include <iostream>
#include <mutex>

#include "velqt/VelDeviceListModel.h"

namespace veltest {

namespace {

std::mutex gWarningsMutex;
std::vector<std::string> gWarnings;
QtMessageHandler gPreviousHandler = nullptr;

void collect(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (type == QtWarningMsg || type == QtCriticalMsg || type == QtFatalMsg) {
        std::lock_guard<std::mutex> lock(gWarningsMutex);
        gWarnings.push_back(message.toStdString());
    }
    if (gPreviousHandler != nullptr) {
        gPreviousHandler(type, context, message);
    }
}

} // namespace

QStringList modelDeviceIds(const QAbstractItemModel& model)
{
    QStringList ids;
    for (int row = 0; row < model.rowCount(); ++row) {
        ids.append(model.data(model.index(row, 0), VelDeviceListModel::DeviceIdRole).toString());
    }
    return ids;
}

QtWarningCollector::QtWarningCollector()
{
    std::lock_guard<std::mutex> lock(gWarningsMutex);
    gWarnings.clear();
    gPreviousHandler = qInstallMessageHandler(&collect);
}

QtWarningCollector::~QtWarningCollector()
{
    qInstallMessageHandler(gPreviousHandler);
}

std::vector<std::string> QtWarningCollector::warnings() const
{
    std::lock_guard<std::mutex> lock(gWarningsMutex);
    return gWarnings;
}

} // namespace veltest
