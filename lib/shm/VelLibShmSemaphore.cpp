// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "VelLibShmSemaphore.h"

#include <fcntl.h>

#include <cerrno>

#include "LibShmLog.h"

VelLibShmSemaphore::VelLibShmSemaphore(ImplVelLibShm* _owner)
    // O_CREAT is left out on purpose: only the service creates the semaphore,
    // so permission and initial value are carried without effect.
    : mName("/vel.semaphore"), mpVellSema(nullptr), mOpenFlags(O_RDWR), mPermission(0666), mInitialValue(0),
      mpOwner(_owner)
{
}

void VelLibShmSemaphore::open()
{
    sem_t* semaphore = sem_open(mName.c_str(), mOpenFlags, mPermission, mInitialValue);
    if (semaphore == SEM_FAILED) {
        const int err = errno;
        libshm::logLine(DLT_LOG_ERROR, " @@@ ERR. sem_open() failed! (errno:", err, ")");
        mpVellSema = nullptr;
        return;
    }
    mpVellSema = semaphore;
    libshm::logLine(DLT_LOG_DEBUG, " sem_open() successed ~");
}
