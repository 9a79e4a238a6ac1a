// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>

namespace velfuzz {

// The device store the reader opens, made and rewritten by the fuzzer in the
// role of the service. Only ever inside the private mount namespace of
// tests/support/run-in-store-namespace; every name is removed at exit.
class StoreFixture {
public:
    // Ends the process when not inside the private namespace.
    static void requirePrivateNamespace();
    // Creates the directory, both lists at their nominal sizes and the
    // semaphore (value 1).
    static void create();
    static void removeAll();

    // Rewrites one list with a size and records chosen by the input: empty,
    // one byte, a record short, whole, longer than the reader asks for, and
    // device identifiers without their terminator.
    static void rewriteKnown(FuzzedDataProvider& input);
    static void rewriteDiscovered(FuzzedDataProvider& input);

    // The semaphore's value (-1 when it cannot be read).
    static int semaphoreValue();
    // Gives the semaphore back, as the service would, when a read left it taken.
    static void releaseSemaphoreIfTaken();
};

} // namespace velfuzz
