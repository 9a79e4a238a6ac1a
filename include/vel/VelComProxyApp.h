// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <string>

#include "vel/GlibTypes.h"
#include "vel/VelComProxy.h"
#include "vel/VelTypes.h"

/// @file
/// The application facade.

class VelCallBackApp;

/// The application's link to the device-connection service: one facade per
/// application client kind (100 to 105) per process. Requests go out through
/// it; completions, notices and device lists come back on the registered
/// VelCallBackApp objects, in registration order.
///
/// Lifecycle:
/// - getInstance(kind, name, &callback) once per callback object, then
///   doInitialize() once. The facade is a process-wide object destroyed at
///   exit; there is nothing to delete.
/// - The facade keeps a plain pointer to each callback object and never lets
///   go of it: a callback object must live until the process ends (a static
///   or a never-deleted object).
/// - doRelease() is not needed at exit. Call it only to stop hearing the
///   service's signals; the link itself stays up, and the next connection of
///   the service subscribes again.
/// - After doInitialize(), onRcvMVELReady(true) tells that the facade has
///   subscribed and registered; requests sent before it fail. The service
///   usually announces both device lists right after a registration: they
///   arrive after onRcvMVELReady(true), except when the facade was
///   initialised while another facade of the process was already connected,
///   in which case the ready report runs on the thread that called
///   doInitialize() and a list may be delivered on the main-loop thread at
///   the same time.
/// - Completions and notices are the service's broadcasts: every application
///   connected to the service hears every one of them, not only the one that
///   sent the request. Match a completion to your request by its device and
///   technology.
/// - Callbacks run on the library's main-loop thread, one at a time. Return
///   quickly: while a callback runs, nothing else is delivered. A synchronous
///   request (checkPaired(), checkMaxPaired()) from inside a callback holds
///   up every other delivery until its answer comes, up to D-Bus's timeout of
///   25 s.
/// - Technology and result values belong to the service and pass through
///   unchanged in both directions; docs/simulator.md lists the values the
///   simulator uses.
class VelComProxyApp : public VelComProxy {
public:
    /// Returns the facade of this client kind and adds cbApp to its callback
    /// list (once; the same object is never added twice). Any kind outside 100
    /// to 105 gets one shared dummy facade.
    ///
    /// The first call for a kind creates its facade with that name; later calls
    /// return it unchanged and only add their callback object. Callback objects
    /// are never removed, so each must live as long as the process uses the
    /// facade. Register every callback object before doInitialize().
    /// @param clientType application client kind, 100 to 105
    /// @param clientName the client's name, the tag of the facade's log lines
    /// @param cbApp      the callback object to add; null adds nothing
    /// @return the facade; never null (a facade that cannot be created ends
    ///         the process with exit status 0)
    static VelComProxyApp* getInstance(const CLIENT_TYPE_e& clientType, const std::string& clientName,
                                       VelCallBackApp* cbApp);
    /// The facade of this client kind, created on first use, without touching
    /// its callback list. Internal step of getInstance().
    /// @param clientType application client kind; any other gets the dummy facade
    /// @param clientName the name used when the facade is created
    /// @param cbApp      the callback used when the facade is created
    /// @return the facade
    static VelComProxyApp* getInstance_l(const CLIENT_TYPE_e& clientType, const std::string& clientName,
                                         VelCallBackApp* cbApp);

    /// Runs at process exit; does not unsubscribe the signals.
    ~VelComProxyApp() override;

    /// Starts watching the service (once; a second call does nothing). The link
    /// is ready when VelCallBackApp::onRcvMVELReady(true) arrives.
    /// @return true when the watch was started or already running
    bool doInitialize() override;
    /// Releases what doInitialize() and subscribe() set up; safe to call when
    /// nothing was.
    /// @return true
    bool doRelease() override;
    /// Subscribes the four application signals ("appRequestDone",
    /// "checkFuncOpModeDone", "noticeToApp", "noticeTechActiveInfo"); called by
    /// the library when the service appears. Subscribes only what is missing.
    /// @return false when there is no bus connection
    bool subscribe() override;
    /// Opens the device store that device lists are read from; called by the
    /// library once, before the first connection.
    /// @return false when the store cannot be opened; the connection attempt
    ///         then stops
    bool lazyInitialize() override;

    /// Asks the service to connect a service of the device. Asynchronous: the
    /// outcome arrives in VelCallBackApp::onRcvResponseConnectService().
    /// @param deviceId          the device
    /// @param serviceType       the technology of the service to connect
    /// @param deviceIdToReplace a device whose connection this one replaces, or ""
    /// @return true when the request was sent; false when the service is not
    ///         connected
    bool doServiceConnect(std::string deviceId, TECHNOLOGY_e serviceType, std::string deviceIdToReplace);
    /// Asks the service to disconnect a service of the device. Asynchronous:
    /// the outcome arrives in VelCallBackApp::onRcvResponseDisconnectService().
    /// @param deviceId    the device
    /// @param serviceType the technology of the service to disconnect
    /// @return true when the request was sent
    bool doServiceDisconnect(std::string deviceId, TECHNOLOGY_e serviceType);
    /// Asks the service to forget the device. Asynchronous: the outcome arrives
    /// in VelCallBackApp::onRcvResponseRemoveDevice().
    /// @param deviceId the device
    /// @return true when the request was sent
    bool doRemoveDevice(std::string deviceId);
    /// Rejects the technology selection the service asked for (see
    /// VelCallBackApp::onRcvUpdateGetTechnologySelection()). Asynchronous: the
    /// outcome arrives in VelCallBackApp::onRcvResponseRejectTechnologySelection().
    /// @param deviceId the device
    /// @return true when the request was sent
    bool doRejectTechnologySelection(std::string deviceId);
    /// Asks the service to prefer the device. Asynchronous: the outcome arrives
    /// in VelCallBackApp::onRcvResponseSetPrioritizedDevice().
    /// @param deviceId the device
    /// @return true when the request was sent
    bool doSetPrioritizedDevice(std::string deviceId);
    /// Suspends (true) or resumes (false) the service's automatic reconnection.
    /// No completion is ever delivered for this request.
    /// @param suspend whether to suspend
    /// @return true when the request was sent
    bool doReconnectSuspend(bool suspend);
    /// Whether the maximum number of paired devices is reached. Synchronous:
    /// blocks the calling thread until the service answers (the bus's default
    /// timeout); do not call it from a callback if the service may be busy.
    /// @return the service's answer; false when it cannot be asked
    bool checkMaxPaired();
    /// Whether the device is paired. Synchronous, like checkMaxPaired().
    /// @param deviceId the device
    /// @return the service's answer; false when it cannot be asked
    bool checkPaired(std::string deviceId);
    /// Accepted and reported as done; nothing is sent to the service yet.
    /// @param active whether an emergency call is active
    /// @return true
    bool doSetEmergencyCallIndicator(bool active);

    /// The bus hands every subscribed signal of the application side here;
    /// userData is the facade. Called by GDBus on the main-loop thread; it
    /// calls the registered VelCallBackApp objects in registration order.
    static void onVelLibraryAppCallBack(GDBusConnection* connection, const gchar* senderName,
                                        const gchar* objectPath, const gchar* interfaceName,
                                        const gchar* signalName, GVariant* parameters, gpointer userData);

    class ImplVelComProxyApp;

private:
    VelComProxyApp(const CLIENT_TYPE_e& clientType, const std::string& clientName, VelCallBackApp* cbApp);

    ImplVelComProxyApp* mImpl;
};
