// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <semaphore.h>

#include <cstddef>
#include <vector>

#include "vel/VelSharedMemory.h"

namespace sim {

// The writing side of the device store, as the service keeps it: the
// known-device file with its version file, the discovered-device object and
// the semaphore that readers take around every read.
//
// Readers remove names they did not create (the semaphore's and the discovered
// object's) when they go. The writer then creates them again, and because
// readers still alive keep what they opened, it keeps every semaphore and
// every discovered object it ever created: a write holds all semaphores and
// goes to all objects.
class StoreWriter {
public:
    explicit StoreWriter(int _lockTimeoutMs);
    ~StoreWriter();

    // Creates the store directory, the semaphore and both lists; the known list
    // on file survives when the boot check keeps it.
    bool open();
    // Releases everything and removes the names this writer created.
    void close();
    bool isOpen() const { return mOpen; }

    bool writeKnown(const void* _bytes, std::size_t _length);
    bool writeDiscovered(const void* _bytes, std::size_t _length);
    // Creates again any name a reader removed, with the current contents.
    void restoreNames();

    StoreWriter(const StoreWriter&) = delete;
    StoreWriter& operator=(const StoreWriter&) = delete;

private:
    struct Fresh {
        bool known = false;
        bool discovered = false;
    };

    Fresh ensureNames();
    bool ensureSemaphore();
    bool ensureKnownFile(Fresh& _fresh);
    bool ensureDiscoveredObject(Fresh& _fresh);
    bool composeKnown();
    bool composeDiscovered();
    void holdSemaphores();
    void releaseSemaphores();
    bool writeStore(DevShmInfo& _info, const std::vector<unsigned char>& _bytes);
    void writeFresh_l(const Fresh& _fresh, bool _skipKnown, bool _skipDiscovered);

    int mLockTimeoutMs;
    bool mOpen;
    VelSharedMemory mShm;
    DevShmInfo mKnown;
    DevShmInfo mVersion;
    // Oldest first; only the last one still has the name.
    std::vector<DevShmInfo> mDiscovered;
    std::vector<sem_t*> mSemaphores;
    std::vector<unsigned char> mKnownBytes;
    std::vector<unsigned char> mDiscoveredBytes;
};

} // namespace sim
