// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <string>

#include "VelLibShmSemaphore.h"
#include "vel/VelSharedMemory.h"

// State of one device list reader.
class ImplVelLibShm {
public:
    ImplVelLibShm();

    void fillDescriptors();
    bool prepareForShm_l();
    DevShmInfo* selectDescriptor(unsigned _listType);
    // Closes the semaphore handle, the mappings and the descriptors this
    // reader holds, and removes no name.
    void releaseKeepingNames();

    const std::string mStoreDirectory;
    const std::string mKnownDevicesName;
    const std::string mDiscoveredDevicesName;
    VelSharedMemory* mpSHM;
    DevShmInfo mVellShmKnownDevInfo;
    DevShmInfo mVellShmDiscoveredDevInfo;
    VelLibShmSemaphore* mpSemaphore;
    // Set when the reader is let go while the service may own the names.
    bool mKeepsNames;
};
