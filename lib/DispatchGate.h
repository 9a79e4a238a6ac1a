// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

// Facades are process-wide statics, destroyed at exit while the main-loop
// thread, which is never stopped, may still be inside one of their bus
// callbacks, and while their signal subscriptions still point at them. A gate
// lets the destructor wait for the callback in progress and turns away every
// later one. Gates are never freed, so a callback can still find its gate
// closed after the facade is gone; they are found by the owner's address,
// without touching the owner.
class DispatchGate {
public:
    // A fresh, open gate for the object being constructed at `owner`; a gate
    // left closed by an earlier object at the same address is dropped.
    static DispatchGate* openFor(const void* owner);
    // The gate of the object at `owner`, or nullptr when none was opened.
    static DispatchGate* forOwner(const void* owner);

    // False once the gate is closed: the caller must not touch its facade.
    bool enter();
    void leave();

    // Closes the gate and waits up to `timeout` for the callbacks inside to
    // leave. False when one is still running (or runs on the calling thread):
    // the caller must then keep the state that callback uses.
    bool closeAndDrain(std::chrono::milliseconds timeout);

    // How long a destructor waits for a callback of its object: callbacks are
    // expected to return quickly, and this runs while the process exits.
    static constexpr std::chrono::milliseconds kDestructionWait{2000};

    class Pass {
    public:
        explicit Pass(DispatchGate* gate) : mGate(gate), mEntered(gate != nullptr && gate->enter()) {}
        ~Pass()
        {
            if (mEntered) {
                mGate->leave();
            }
        }
        Pass(const Pass&) = delete;
        Pass& operator=(const Pass&) = delete;
        explicit operator bool() const { return mEntered; }

    private:
        DispatchGate* mGate;
        bool mEntered;
    };

private:
    DispatchGate() = default;

    std::mutex mMutex;
    std::condition_variable mIdle;
    bool mClosed = false;
    int mInside = 0;
    std::thread::id mThread;
};
