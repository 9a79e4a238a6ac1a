// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// A small head-unit HMI in QML on libvel-qt: the known and discovered devices
// of the service in two lists, a connect button per device.
//
//   vel-sandbox -- vel-qml-example
//   vel-sandbox -- vel-qml-example --screenshot devices.png   (offscreen too)
//
// --screenshot FILE renders the window once the known devices are shown,
// saves it as PNG and exits (status 0; 1 when no device came in 10 s).

#include <QCommandLineParser>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QTimer>

#include <cstdio>

#include "SimulatorDeviceDecoder.h"
#include "velqt/VelDeviceListModel.h"
#include "velqt/VelQtApplicationClient.h"

namespace {

// Saves the window once the client's known devices are there and the scene
// has been drawn with them.
void screenshotWhenShown(QQuickWindow* window, const QString& path)
{
    auto* poll = new QTimer(window);
    poll->setInterval(50);
    QObject::connect(poll, &QTimer::timeout, window, [window, path, poll] {
        auto* client = window->findChild<VelQtApplicationClient*>();
        if (client == nullptr || !client->isReady() || client->knownDevices()->count() == 0) {
            return;
        }
        poll->stop();
        // Two more frames: the delegates of the last rows are laid out and painted.
        QTimer::singleShot(300, window, [window, path, client] {
            const QImage image = window->grabWindow();
            const bool saved = image.save(path, "PNG");
            std::printf("%s %s: %d known, %d discovered devices\n", saved ? "saved" : "could not save",
                        qPrintable(path), client->knownDevices()->count(), client->discoveredDevices()->count());
            QCoreApplication::exit(saved ? 0 : 1);
        });
    });
    poll->start();
    QTimer::singleShot(10000, window, [] {
        std::fprintf(stderr, "vel-qml-example: no known devices came in 10 s\n");
        QCoreApplication::exit(1);
    });
}

} // namespace

int main(int argc, char* argv[])
{
    // Qt's own event dispatcher: libvel's thread keeps GLib's default context
    // (docs/hosting.md).
    qputenv("QT_NO_GLIB", "1");
    QGuiApplication application(argc, argv);
    application.setApplicationName("vel-qml-example");

    QCommandLineParser options;
    options.setApplicationDescription("A QML HMI on libvel-qt: the service's devices and a connect button each.");
    options.addHelpOption();
    const QCommandLineOption screenshot("screenshot", "Save the window as PNG once devices are shown, then exit.",
                                        "file");
    options.addOption(screenshot);
    options.process(application);

    // Before QML makes the client: its models take the decoder's roles.
    VelDeviceListModel::setDefaultDecoder(simulatorDeviceDecoder());

    QQmlApplicationEngine engine;
#ifdef VEL_QML_IMPORT_DIR
    // Inside libvel's build tree, the module "Vel" is not installed yet.
    engine.addImportPath(VEL_QML_IMPORT_DIR);
#endif
    engine.load(QUrl("qrc:/vel-example/Main.qml"));
    if (engine.rootObjects().isEmpty()) {
        return 1;
    }
    auto* window = qobject_cast<QQuickWindow*>(engine.rootObjects().first());
    if (window != nullptr && options.isSet(screenshot)) {
        screenshotWhenShown(window, options.value(screenshot));
    }
    return QGuiApplication::exec();
}
