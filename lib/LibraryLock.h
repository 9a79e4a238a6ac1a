// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <mutex>

// Client callbacks must be entered with none of the library's own locks held:
// a callback may block for seconds or call back into the library from another
// thread. Every lock the library takes goes through LibraryLock, which keeps a
// per-thread count, so that tests can check from inside any callback that the
// thread running it holds none.
namespace vel_link {

// How many of the library's locks the calling thread holds right now.
int libraryLocksHeldByThisThread();

namespace detail {
void noteLocked();
void noteUnlocked();
} // namespace detail

template <class Mutex>
class LibraryLock {
public:
    explicit LibraryLock(Mutex& mutex) : mMutex(mutex)
    {
        mMutex.lock();
        detail::noteLocked();
    }
    ~LibraryLock()
    {
        detail::noteUnlocked();
        mMutex.unlock();
    }
    LibraryLock(const LibraryLock&) = delete;
    LibraryLock& operator=(const LibraryLock&) = delete;

private:
    Mutex& mMutex;
};

} // namespace vel_link
