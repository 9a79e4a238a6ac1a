// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <mutex>

#include "vel/mvel_interface.h"

// A proxy's mProxy, mConnection and mError are replaced on the main-loop
// thread when the service appears or vanishes, while requests read mProxy on
// the callers' threads. One small process-wide lock orders the two: the
// pointers are swapped under it, and a request takes a reference of its own
// to the proxy under it, so that a vanish in between cannot free the proxy
// the request is using. Nothing slow runs under the lock.
namespace vel_link {

std::mutex& linkMutex();

// A reference of the caller's own to the proxy in the slot, released when
// the holder goes; empty when the slot is.
class ProxyReference {
public:
    explicit ProxyReference(ComQorVel_communicator* const& slot);
    ~ProxyReference();
    ProxyReference(const ProxyReference&) = delete;
    ProxyReference& operator=(const ProxyReference&) = delete;

    ComQorVel_communicator* get() const { return mProxy; }
    explicit operator bool() const { return mProxy != nullptr; }

private:
    ComQorVel_communicator* mProxy;
};

} // namespace vel_link
