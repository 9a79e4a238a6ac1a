// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include "vel/VelComProxy.h"
#include "vel/VelTypes.h"

/// @file
/// The controller facade.

/// The controller process's link to the MVEL service; its one request is a
/// control-mode change. It subscribes to no signal and has no callback object.
///
/// Lifecycle: getInstance(), then doInitialize(). Nothing tells when the link
/// is up: a sendControlMode() before the service has been reached fails, so a
/// controller retries or waits for the service by other means. doRelease()
/// does nothing and is never needed; the facade is a process-wide object
/// destroyed at exit.
class VelComProxyController : public VelComProxy {
public:
    /// The process's controller facade (client kind 400), created on the first
    /// call with the name "libvel.controller." followed by the process name.
    /// @return the facade
    static VelComProxyController* getInstance();

    /// Runs at process exit.
    ~VelComProxyController() override;
    /// Starts watching the service; the controller has no callback object, so
    /// nothing tells when the link is ready: a request sent too early fails.
    /// @return true when the watch was started
    bool doInitialize() override;
    /// Releases nothing.
    /// @return true
    bool doRelease() override;
    /// Subscribes nothing: the controller listens to no signal.
    /// @return true
    bool subscribe() override;

    /// Sends a control-mode change to the service. Asynchronous; no answer
    /// comes back to the controller.
    /// False, with nothing queued, while the service is not connected.
    /// @param mode       the mode, as the service numbers it
    /// @param technology the technology, as the service numbers it
    /// @param item       the function item, e.g. FUNC_ITEM_RESTORE_FACTORY_SETTINGS
    /// @return true when the request was sent
    bool sendControlMode(unsigned int mode, unsigned int technology, ORNA_FUNC_ITEM_e item);

private:
    explicit VelComProxyController(const std::string& clientName);

    class ImplVelComProxyController;
    ImplVelComProxyController* mImpl;
};
