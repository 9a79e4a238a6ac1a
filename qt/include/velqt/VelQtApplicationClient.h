// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <QObject>
#include <QString>
#include <QVariantList>

#include "velqt/VelQtExport.h"

class VelDeviceListModel;

/// An application's link to the device-connection service as a QObject: the
/// requests of VelComProxyApp as invokable methods, their completions and
/// the service's notices as signals, and the two device lists as models.
///
/// libvel calls back on its own main-loop thread. This object copies what a
/// callback brings and hands it to its own thread with a queued call; every
/// signal and every model change happens on the thread this object lives in,
/// and nothing of Qt is touched on libvel's thread.
class VEL_QT_EXPORT VelQtApplicationClient : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool ready READ isReady NOTIFY readyChanged)
    Q_PROPERTY(bool started READ isStarted NOTIFY startedChanged)
    Q_PROPERTY(int clientType READ clientType WRITE setClientType NOTIFY clientTypeChanged)
    Q_PROPERTY(QString clientName READ clientName WRITE setClientName NOTIFY clientNameChanged)
    Q_PROPERTY(VelDeviceListModel* knownDevices READ knownDevices CONSTANT)
    Q_PROPERTY(VelDeviceListModel* discoveredDevices READ discoveredDevices CONSTANT)

public:
    explicit VelQtApplicationClient(QObject* parent = nullptr);
    ~VelQtApplicationClient() override;

    /// Whether the service is there and has registered this client.
    bool isReady() const;
    bool isStarted() const;
    /// The application client kind, 100 to 105 (default 100). Fixed by start().
    int clientType() const;
    void setClientType(int clientType);
    /// The client's name towards the service (default: the application's name).
    QString clientName() const;
    void setClientName(const QString& clientName);

    VelDeviceListModel* knownDevices() const;
    VelDeviceListModel* discoveredDevices() const;

    /// Starts the link: registers with libvel's application facade and
    /// initialises it. Refused (false, one error line) in a host set-up that
    /// is known to crash: Qt's GLib event dispatcher when libvel's thread
    /// runs GLib's default main context, or no application object yet while
    /// Qt would pick the GLib dispatcher for it. readyChanged(true) follows
    /// when the service answers.
    Q_INVOKABLE bool start();

    // Requests: true when sent; the completion comes as the signal named
    // after the request.
    Q_INVOKABLE bool connectService(const QString& deviceId, uint technology,
                                    const QString& deviceIdToReplace = QString());
    Q_INVOKABLE bool disconnectService(const QString& deviceId, uint technology);
    Q_INVOKABLE bool removeDevice(const QString& deviceId);
    Q_INVOKABLE bool rejectTechnologySelection(const QString& deviceId);
    Q_INVOKABLE bool setPrioritizedDevice(const QString& deviceId);
    /// No completion: the service sends none for it.
    Q_INVOKABLE bool reconnectSuspend(bool suspend);

    /// Blocking queries, as libvel's: they wait for the service's reply (up to
    /// the bus's default timeout). Never call them on a GUI thread; use the
    /// request... forms below.
    bool checkPaired(const QString& deviceId);
    bool checkMaxPaired();
    /// The same queries on a worker thread; the answer comes as
    /// checkPairedDone / checkMaxPairedDone on this object's thread.
    Q_INVOKABLE void requestCheckPaired(const QString& deviceId);
    Q_INVOKABLE void requestCheckMaxPaired();

Q_SIGNALS:
    void readyChanged(bool ready);
    void startedChanged();
    void clientTypeChanged();
    void clientNameChanged();

    // Completions, with the arguments of VelCallBackApp's callbacks.
    void connectServiceDone(const QString& deviceId, uint technology, int result);
    void disconnectServiceDone(const QString& deviceId, uint technology, int result);
    void removeDeviceDone(const QString& deviceId, int result);
    void rejectTechnologySelectionDone(const QString& deviceId, int result);
    void setPrioritizedDeviceDone(int result);
    void restoreFactorySettingsDone(int result);

    // Notices.
    void technologySelectionRequested(const QString& deviceId, int result);
    void incomingServiceRequestLimitExceeded(const QString& deviceId, uint technology, int result);
    void linkLost(const QString& deviceId, uint technology, int result);
    /// One map per technology: {"technology": uint, "active": bool}.
    void techActiveInfoChanged(const QVariantList& infos);
    /// After knownDevices / discoveredDevices took the new list.
    void knownDevicesUpdated(int result);
    void discoveredDevicesUpdated(int result);

    void checkPairedDone(const QString& deviceId, bool paired);
    void checkMaxPairedDone(bool reached);

private:
    class Private;
    Private* d;
    friend class VelQtCallbackRelay;
    friend class VelQtRelayInbox;
};
