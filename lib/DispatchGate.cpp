// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "DispatchGate.h"

#include <map>
#include <vector>

#include "LibraryLock.h"

namespace {

struct GateRegistry {
    std::mutex mutex;
    std::map<const void*, DispatchGate*> gates;
    // Gates of objects gone from an address that a new object took over.
    std::vector<DispatchGate*> retired;
};

// Never destroyed: callbacks may look gates up while the process exits.
GateRegistry& registry()
{
    static auto* gates = new GateRegistry();
    return *gates;
}

} // namespace

DispatchGate* DispatchGate::openFor(const void* owner)
{
    auto* gate = new DispatchGate();
    GateRegistry& gates = registry();
    vel_link::LibraryLock<std::mutex> lock(gates.mutex);
    // The previous gate at this address may still be looked at by a late
    // callback of the previous object, so it is kept.
    auto found = gates.gates.find(owner);
    if (found != gates.gates.end()) {
        gates.retired.push_back(found->second);
    }
    gates.gates[owner] = gate;
    return gate;
}

DispatchGate* DispatchGate::forOwner(const void* owner)
{
    GateRegistry& gates = registry();
    vel_link::LibraryLock<std::mutex> lock(gates.mutex);
    auto found = gates.gates.find(owner);
    return found != gates.gates.end() ? found->second : nullptr;
}

bool DispatchGate::enter()
{
    vel_link::LibraryLock<std::mutex> lock(mMutex);
    if (mClosed) {
        return false;
    }
    // Bus callbacks run one at a time on the main-loop thread, but recovery
    // and doInitialize may come in from other threads as well.
    if (mInside == 0 || mThread != std::this_thread::get_id()) {
        mThread = std::this_thread::get_id();
    }
    ++mInside;
    return true;
}

void DispatchGate::leave()
{
    {
        vel_link::LibraryLock<std::mutex> lock(mMutex);
        --mInside;
    }
    mIdle.notify_all();
}

bool DispatchGate::closeAndDrain(std::chrono::milliseconds timeout)
{
    std::unique_lock<std::mutex> lock(mMutex);
    mClosed = true;
    if (mInside > 0 && mThread == std::this_thread::get_id()) {
        // Destroyed from inside its own callback (exit() called there): waiting would never end.
        return false;
    }
    return mIdle.wait_for(lock, timeout, [this] { return mInside == 0; });
}
