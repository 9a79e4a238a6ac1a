// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "ProxyReference.h"

#include "LibraryLock.h"

namespace vel_link {

std::mutex& linkMutex()
{
    // Never destroyed: the main-loop thread outlives static destruction.
    static std::mutex* mutex = new std::mutex();
    return *mutex;
}

ProxyReference::ProxyReference(ComQorVel_communicator* const& slot) : mProxy(nullptr)
{
    vel_link::LibraryLock<std::mutex> lock(linkMutex());
    if (slot != nullptr) {
        mProxy = static_cast<ComQorVel_communicator*>(g_object_ref(slot));
    }
}

ProxyReference::~ProxyReference()
{
    if (mProxy != nullptr) {
        g_object_unref(mProxy);
    }
}

} // namespace vel_link
