// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "LibraryLock.h"

namespace vel_link {

namespace {
thread_local int tHeld = 0;
} // namespace

int libraryLocksHeldByThisThread()
{
    return tHeld;
}

namespace detail {

void noteLocked()
{
    ++tHeld;
}

void noteUnlocked()
{
    --tHeld;
}

} // namespace detail

} // namespace vel_link
