// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <functional>

/// @file
/// The watch of the service's bus name that drives the link's recovery.

class ImplVelAgent;

/// Watches the service's bus name for one proxy and tells it, through its
/// callback, when the name appears (true) or vanishes (false). All agents of a
/// process share one bus-name watch and one recovery timer.
///
/// Every facade makes its own agent in VelComProxy::prepareToCommunicateWithStub();
/// client processes do not construct one themselves.
class VelAgent {
public:
    /// Adds callback to the process's list and starts the bus-name watch if no
    /// agent has started it yet.
    /// @param callback called on the main-loop thread with true when
    ///        "com.qor.vel_communicator" appears and false when it vanishes;
    ///        also called with true when the recovery timer expires
    explicit VelAgent(std::function<void(bool)> callback);
    /// Drops this agent's interest in the watch; the last agent ends it.
    virtual ~VelAgent();

    /// Handler of the recovery timer's signal. Runs in signal context, so it only
    /// hands the expiry over to the main-loop thread.
    /// @param signum the signal the timer raised (VelComProxy::mSignalNoForAgent)
    static void timeOutCallback(int signum);

    /// Not copyable: an agent stands for one registration in the shared watch.
    VelAgent(const VelAgent&) = delete;
    /// Not copyable: an agent stands for one registration in the shared watch.
    VelAgent& operator=(const VelAgent&) = delete;

private:
    friend class VelComProxy;
    // True when the name had already been reported as present, to the agents
    // made before this one, at the moment this agent joined: its proxy then
    // connects by itself, since no event for that appearance will reach it.
    bool joinedAfterAppearance() const;

    ImplVelAgent* mImpl;
};
