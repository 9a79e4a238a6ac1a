// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <future>
#include <string>
#include <thread>

#include "vel/GlibTypes.h"
#include "vel/VelTypes.h"

/// @file
/// The base of every client facade.

class VelCallBackAgent;
class ImplVelComProxy;

/// Base of every client facade: client naming, the main-loop thread, the bus
/// connection and proxy, registration with the service and recovery when the
/// service comes back. Facades supply the kind-specific steps.
///
/// Applications use it through VelComProxyApp, VelComProxyCoreEngine or
/// VelComProxyController; of its own members they call only
/// setSignalNoForRecovery().
class VelComProxy {
public:
    /// Names the client, registers the library's log context and starts the
    /// main-loop thread, which runs GLib's default main context for the rest of
    /// the process. Nothing is sent on the bus yet.
    /// @param clientType    the client kind registered with the service
    /// @param clientName    the client's name; the process name is put in front
    ///                      unless the name already contains it
    /// @param callBackAgent told about the link's readiness; may be null; not owned
    VelComProxy(const CLIENT_TYPE_e& clientType, const std::string& clientName, VelCallBackAgent* callBackAgent);
    /// Drops the proxy and the connection. The main-loop thread is not stopped:
    /// it is abandoned, so the process is expected to exit soon after.
    virtual ~VelComProxy();

    /// Starts watching the service's bus name; the link is set up when the name
    /// appears and VelCallBackAgent::onRcvMVELReady() tells when it is.
    /// @return true when the watch was started
    virtual bool doInitialize() = 0;
    /// Releases what the facade set up; safe to call when nothing was.
    /// @return true
    virtual bool doRelease() = 0;
    /// Subscribes the facade's signals on the bus connection; called by the
    /// library each time the service appears.
    /// @return false when there is no connection
    virtual bool subscribe() = 0;
    /// The facade's one-time preparation before the first connection (the
    /// application facade opens the device store here). The base version does
    /// nothing.
    /// @return true when done; false stops this connection attempt
    virtual bool lazyInitialize();

    /// Forms the client's log name: "[" process "." clientName "]", or
    /// "[" clientName "]" when clientName already contains the process name.
    /// Internal step of the constructor.
    /// @param clientName the name given to the facade
    /// @return the adjusted name
    std::string getAdjustedName_l(const std::string& clientName);
    /// Creates the agent that watches the service's bus name; the facades'
    /// doInitialize() calls it. If the name is already known to have an owner,
    /// connects at once on the calling thread (on the main-loop thread, while
    /// the caller waits, when the caller pushed a main context of its own).
    /// @return false when the watch could not be set up
    bool prepareToCommunicateWithStub();
    /// Whether a proxy to the service exists and the last bus operation left no
    /// error (which it then clears). Every request checks it first.
    /// @return true when a request can be sent
    bool checkProxyAvailable();
    /// Enables the recovery timer: after the service's name vanished, a
    /// one-shot timer raises signalNo after 10 s and, if the name has not
    /// reappeared by then, the library tries to connect again. Call it before
    /// doInitialize(). Without it (or with -1) no recovery timer is used.
    /// @param signalNo the signal the timer raises, e.g. SIGRTMIN + n; the
    ///                 library installs its own handler for it
    /// @return true
    bool setSignalNoForRecovery(int signalNo);
    /// The agent's report: the service's name appeared (true: connect, subscribe,
    /// register, then tell onRcvMVELReady(true)) or vanished (false: drop the
    /// proxy and tell onRcvMVELReady(false)). Called by the library on the
    /// main-loop thread. The steps run one event at a time per proxy; the
    /// callback agent is told afterwards, with no lock of the library held.
    /// @param appeared whether the name has an owner now
    void agentCallback(bool appeared);

    /// Signal number of the recovery timer; -1 means no recovery timer.
    static int mSignalNoForAgent;
    /// True while the service's bus name is known to have an owner.
    static bool mIsAppearedMVELService;

    /// Not copyable: a facade is a process-wide singleton.
    VelComProxy(const VelComProxy&) = delete;
    /// Not copyable: a facade is a process-wide singleton.
    VelComProxy& operator=(const VelComProxy&) = delete;

protected:
    /// "com.qor.vel_communicator": the service's bus name and interface.
    const char* mBusName;
    /// "/com/qor/vel_communicator": the service's object path.
    const char* mObjectPath;
    /// The bus name whose owner is checked before connecting.
    std::string mServiceName;
    /// The adjusted client name, the tag of every log line of this object.
    std::string mName;
    /// The generated proxy; null while the service is not connected.
    ComQorVel_communicator* mProxy;
    /// The system-bus connection the facade's signals are subscribed on; null
    /// while the service is not connected.
    GDBusConnection* mConnection;
    /// Error of the last proxy or connection set-up; cleared by checkProxyAvailable().
    GError* mError;
    /// The main-loop thread.
    std::thread* mThread;
    /// The main context the main-loop thread runs (GLib's default context).
    GMainContext* mMainContext;

private:
    friend class ImplVelComProxy;
    void runMainLoop(std::promise<void>* started);

    ImplVelComProxy* mImpl;
};
