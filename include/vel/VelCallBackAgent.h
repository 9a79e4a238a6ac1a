// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

/// @file
/// The readiness callback that every client callback interface inherits.

/// Readiness of the link to the MVEL service, told to a client's callback
/// object: false when the service went away, true when the facade has
/// subscribed and registered again. Base of the application and core-engine
/// callback interfaces; a client derives from those, not from this.
///
/// onRcvMVELReady() runs on the library's main-loop thread, or on the thread
/// that called doInitialize() when the service was already known to the
/// process. The facade never deletes the object, which must live until the
/// process ends.
class VelCallBackAgent {
public:
    /// Registers the class's log context.
    VelCallBackAgent();
    /// Nothing to release; the facade never deletes a callback object.
    virtual ~VelCallBackAgent();

    /// The link to the service is up (true: the service's name appeared and the
    /// facade subscribed and registered) or down (false: the name vanished).
    /// Called on the library's main-loop thread. true is also told when the
    /// service could not be reached or did not accept the registration within
    /// about 6 s each, so a request sent afterwards may still fail.
    /// The default body only logs a warning.
    virtual void onRcvMVELReady(bool ready);
};
