// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "vel/VelLibShm.h"

#include <cerrno>

#include "ImplVelLibShm.h"
#include "LibShmLog.h"
#include "StorePages.h"

using libshm::logLine;

namespace {

// The store's own size decides what may be copied: a list published shorter
// than the caller asks for must not bring the process down.
bool copyFitsStore(VelSharedMemory& _shm, DevShmInfo& _info, size_t _size)
{
    size_t storeSize = 0;
    if (!_shm.shmGetSize(_info, storeSize)) {
        logLine(DLT_LOG_ERROR, " @@@ ERR. Size of ", _info.name, " is unknown. Nothing copied. Return!");
        return false;
    }
    if (!libshm::staysWithinStorePages(_size, storeSize)) {
        logLine(DLT_LOG_ERROR, " @@@ ERR. Read of ", _size, " bytes reaches past the end of ", _info.name, " (",
                storeSize, " bytes). Nothing copied. Return!");
        return false;
    }
    return true;
}

// A reader's ordinary end: it removes the semaphore's and the discovered
// list's names even though the service created them.
void closeAndRemoveNames(ImplVelLibShm& impl)
{
    VelLibShmSemaphore* semaphore = impl.mpSemaphore;
    // Without a handle there is nothing to close.
    if (semaphore->mpVellSema != nullptr && sem_close(semaphore->mpVellSema) < 0) {
        const int err = errno;
        logLine(DLT_LOG_ERROR, " @@@ ERR. sem_close() failed! (errno:", err, ")");
    }
    semaphore->mpVellSema = nullptr;
    // The name goes even though the service created it; the service creates it
    // again before its next write.
    if (sem_unlink(semaphore->mName.c_str()) < 0) {
        const int err = errno;
        logLine(DLT_LOG_ERROR, " @@@ ERR. sem_unlink() failed! (errno:", err, ")");
    }

    if (impl.mpSHM != nullptr) {
        if (!impl.mpSHM->shmClose(impl.mVellShmKnownDevInfo)) {
            logLine(DLT_LOG_ERROR, " @@@ ERR. (!mShm->shmClose(mVellShmKnownDevInfo)) is true!");
        }
        if (!impl.mpSHM->shmClose(impl.mVellShmDiscoveredDevInfo)) {
            logLine(DLT_LOG_ERROR, " @@@ ERR. (!mShm->shmClose(mVellShmDiscoveredDevInfo)) is true!");
        }
    }
}

} // namespace

VelLibShm::VelLibShm() : mpImpl(new ImplVelLibShm())
{
    orna::OrnaLogWrapper::instance(true)->registerContext(VELLIBSHM, "LIBS", "vel_library_semaphore");
    logLine(DLT_LOG_INFO, " VelLibShm() constructor");
    mpImpl->mpSemaphore->open();
}

VelLibShm::~VelLibShm()
{
    logLine(DLT_LOG_INFO, " ~VelLibShm() destructor");

    if (mpImpl->mKeepsNames) {
        mpImpl->releaseKeepingNames();
    } else {
        closeAndRemoveNames(*mpImpl);
    }

    delete mpImpl->mpSHM;
    delete mpImpl->mpSemaphore;
    delete mpImpl;
}

bool VelLibShm::initialize(std::string _name)
{
    logLine(DLT_LOG_INFO, "[", _name, "] initialize()");
    mpImpl->fillDescriptors();
    if (mpImpl->mpSHM == nullptr) {
        mpImpl->mpSHM = new VelSharedMemory();
    }
    if (!mpImpl->prepareForShm_l()) {
        logLine(DLT_LOG_ERROR, " @@@ ERR. prepareForShm_l() failed");
        return false;
    }
    return true;
}

bool VelLibShm::readData(DEVICE* _dest, DEVICE_LIST_TYPE _listType, int _size)
{
    const unsigned listType = static_cast<unsigned>(_listType);
    logLine(DLT_LOG_INFO, " readData() (_listType:", listType, ", _size:", _size, ")");

    sem_t* semaphore = mpImpl->mpSemaphore->mpVellSema;
    if (semaphore == nullptr) {
        logLine(DLT_LOG_DEBUG, " mpVellSema is null! Return!");
        return false;
    }

    // A failed wait still reads: a stale list is better than none.
    if (sem_wait(semaphore) < 0) {
        const int err = errno;
        logLine(DLT_LOG_ERROR, " @@@ ERR. sem_wait() failed! errno:", err);
    } else {
        logLine(DLT_LOG_DEBUG, " Acquied semaphore. Start to read ~ ");
    }

    // The two early returns below keep the semaphore taken; the service posts it.
    VelSharedMemory* shm = mpImpl->mpSHM;
    if (shm == nullptr) {
        logLine(DLT_LOG_DEBUG, " mpSHM is null! Return!");
        return false;
    }
    DevShmInfo* pInfo = mpImpl->selectDescriptor(listType);
    if (pInfo == nullptr) {
        logLine(DLT_LOG_ERROR, " @@@ ERR. Unknown device list type. Return !");
        logLine(DLT_LOG_DEBUG, " pInfo is null! Return!");
        return false;
    }

    // A negative size becomes a huge length, which the remap refuses.
    const size_t size = static_cast<size_t>(static_cast<long>(_size));
    bool result = false;
    if (!shm->shmRemap(*pInfo, size)) {
        logLine(DLT_LOG_ERROR, " @@@ ERR. (mpSHM->shmRemap((*pInfo), _size)) is false!");
    } else if (copyFitsStore(*shm, *pInfo, size)) {
        result = shm->shmRead(_dest, pInfo->address, size);
    }

    if (sem_post(semaphore) < 0) {
        const int err = errno;
        logLine(DLT_LOG_ERROR, " @@@ ERR. sem_post() failed! errno:", err);
    } else {
        logLine(DLT_LOG_DEBUG, " Released semaphore");
    }
    return result;
}
