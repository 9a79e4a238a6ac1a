// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <semaphore.h>

#include <string>

class ImplVelLibShm;

// The reader's hold on the service's named semaphore. It is only ever opened
// here: the service creates it, so a reader started without the service stays
// without one.
class VelLibShmSemaphore {
public:
    explicit VelLibShmSemaphore(ImplVelLibShm* _owner);

    // Opens the semaphore; logs and keeps a null handle when it is absent.
    void open();

    std::string mName;
    sem_t* mpVellSema;
    int mOpenFlags;
    unsigned mPermission;
    unsigned mInitialValue;
    ImplVelLibShm* mpOwner;
};
