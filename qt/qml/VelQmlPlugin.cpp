// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// The QML module "Vel": `import Vel 1.0` gives VelApplicationClient (a
// VelQtApplicationClient) and the model type VelDeviceListModel, which QML
// reaches through the client's knownDevices and discoveredDevices.

#include <QQmlEngineExtensionPlugin>
#include <QtQml>

#include "velqt/VelDeviceListModel.h"
#include "velqt/VelQtApplicationClient.h"

class VelQmlPlugin : public QQmlExtensionPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QQmlExtensionInterface_iid)

public:
    void registerTypes(const char* uri) override
    {
        qmlRegisterType<VelQtApplicationClient>(uri, 1, 0, "VelApplicationClient");
        qmlRegisterUncreatableType<VelDeviceListModel>(uri, 1, 0, "VelDeviceListModel",
                                                       QStringLiteral("Device lists come from a VelApplicationClient"));
    }
};

#include "VelQmlPlugin.moc"
