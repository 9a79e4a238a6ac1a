// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "ImplVelLibShm.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

#include "LibShmLog.h"
#include "vel/VelTypes.h"

using libshm::logLine;

ImplVelLibShm::ImplVelLibShm()
    // The known list is a file path, the discovered list a shared-memory object
    // name; hence one starts with the store directory and the other with "/".
    : mStoreDirectory("/data/qor/vel/"), mKnownDevicesName(mStoreDirectory + "vel.known_devices"),
      mDiscoveredDevicesName("/vel.discovered_devices"), mpSHM(nullptr), mpSemaphore(new VelLibShmSemaphore(this)),
      mKeepsNames(false)
{
}

void ImplVelLibShm::fillDescriptors()
{
    mVellShmKnownDevInfo.fd = -1;
    mVellShmKnownDevInfo.size = VEL_DEVICE_LIST_BYTES;
    // Nothing to unmap at close: the reader never learns a written length.
    mVellShmKnownDevInfo.written_count = -1;
    mVellShmKnownDevInfo.resized_size = VEL_DEVICE_LIST_BYTES;
    mVellShmKnownDevInfo.address = nullptr;
    mVellShmKnownDevInfo.existed = false;
    mVellShmKnownDevInfo.name = mKnownDevicesName;
    mVellShmKnownDevInfo.kind = DEV_SHM_KIND_KNOWN_DEVICE_FILE;

    mVellShmDiscoveredDevInfo.fd = -1;
    mVellShmDiscoveredDevInfo.size = sizeof(DEVICE);
    mVellShmDiscoveredDevInfo.written_count = -1;
    mVellShmDiscoveredDevInfo.resized_size = 0;
    mVellShmDiscoveredDevInfo.address = nullptr;
    mVellShmDiscoveredDevInfo.existed = false;
    mVellShmDiscoveredDevInfo.name = mDiscoveredDevicesName;
    mVellShmDiscoveredDevInfo.kind = DEV_SHM_KIND_SHARED_MEMORY;
}

bool ImplVelLibShm::prepareForShm_l()
{
    logLine(DLT_LOG_INFO, " prepareForShm_l()");

    // Read-only: a reader never creates, resizes or truncates a list.
    if (!mpSHM->shmComposeDeviceInfoOnBoot(mVellShmKnownDevInfo, SHM_OPEN_RD)) {
        logLine(DLT_LOG_ERROR, " @@@ ERR. (!composShmDeviceInfo_l(mVellShmKnownDevInfo)) is true! ");
        return false;
    }
    logLine(DLT_LOG_INFO, " mVellShmKnownDevInfo is successfully composed ~ ");

    if (!mpSHM->shmComposeDeviceInfoOnBoot(mVellShmDiscoveredDevInfo, SHM_OPEN_RD)) {
        logLine(DLT_LOG_ERROR, " @@@ ERR. (!composShmDeviceInfo_l(mVellShmDiscoveredDevInfo)) is true! ");
        return false;
    }
    logLine(DLT_LOG_INFO, " mVellShmDiscoveredDevInfo is successfully composed ~ ");
    return true;
}

DevShmInfo* ImplVelLibShm::selectDescriptor(unsigned _listType)
{
    switch (_listType) {
    case KNOWN_DEVICE_LIST:
        return &mVellShmKnownDevInfo;
    case DISCOVERED_DEVICE_LIST:
        return &mVellShmDiscoveredDevInfo;
    default:
        return nullptr;
    }
}

namespace {

void releaseDescriptor(DevShmInfo& _info)
{
    if (_info.address != nullptr && _info.resized_size > 0 && munmap(_info.address, _info.resized_size) != 0) {
        const int err = errno;
        logLine(DLT_LOG_ERROR, " @@@ ERR. munmap() of ", _info.name, " failed! (errno:", err, ")");
    }
    _info.address = nullptr;
    // Descriptor 0 is never taken for a store (see shmComposeDeviceInfoOnBoot).
    if (_info.fd > 0 && close(_info.fd) != 0) {
        const int err = errno;
        logLine(DLT_LOG_ERROR, " @@@ ERR. close() of ", _info.name, " failed! (errno:", err, ")");
    }
    _info.fd = -1;
}

} // namespace

void ImplVelLibShm::releaseKeepingNames()
{
    logLine(DLT_LOG_INFO, " Reader released; the service's semaphore and lists are kept");
    if (mpSemaphore->mpVellSema != nullptr && sem_close(mpSemaphore->mpVellSema) < 0) {
        const int err = errno;
        logLine(DLT_LOG_ERROR, " @@@ ERR. sem_close() failed! (errno:", err, ")");
    }
    mpSemaphore->mpVellSema = nullptr;
    releaseDescriptor(mVellShmKnownDevInfo);
    releaseDescriptor(mVellShmDiscoveredDevInfo);
}
