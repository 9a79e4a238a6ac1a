// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <gtest/gtest.h>

#include <string>

#include "LibraryLock.h"

namespace veltest {

// Client callbacks are entered with none of the library's own locks held by
// the thread that runs them; the recording callbacks check it on every call.
inline void expectNoLibraryLockHeld(const std::string& callback)
{
    EXPECT_EQ(vel_link::libraryLocksHeldByThisThread(), 0)
        << callback << " was called with a lock of the library held";
}

} // namespace veltest
