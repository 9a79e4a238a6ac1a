// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "vel/VelSharedMemory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "VshmLog.h"

using vshm::logError;
using vshm::logLine;

VelSharedMemory::VelSharedMemory()
{
    orna::OrnaLogWrapper::instance(true)->registerContext(ORNA_SHM, "VSHM", "orna_sharedmemory");
}

VelSharedMemory::~VelSharedMemory()
{
    // The stores belong to the descriptors' owners; only the log context is ours.
    orna::OrnaLogWrapper::instance(true)->unregisterContext(ORNA_SHM);
}

int VelSharedMemory::sys_open_l(DevShmInfo& _info, int _oflag, unsigned _mode, int& _errnum)
{
    int fd = -1;
    switch (_info.kind) {
    case DEV_SHM_KIND_SHARED_MEMORY:
        fd = shm_open(_info.name.c_str(), _oflag, static_cast<mode_t>(_mode));
        break;
    case DEV_SHM_KIND_KNOWN_DEVICE_FILE:
    case DEV_SHM_KIND_REGULAR_FILE:
        fd = open(_info.name.c_str(), _oflag, static_cast<mode_t>(_mode));
        break;
    default:
        logError(__func__, "Undefined mode. _mode:", static_cast<int>(_info.kind));
        // Give the caller an errno that says what went wrong, not a stale one.
        errno = EINVAL;
        break;
    }
    if (fd < 0) {
        _errnum = errno;
        logError(__func__, "open() or shm_open() failed! errno:", _errnum);
    }
    _info.fd = fd;
    return fd;
}

int VelSharedMemory::open_l(DevShmInfo& _info, SHM_OPEN_MODE_TYPE _mode)
{
    int errnum = 0;
    switch (_mode) {
    case SHM_OPEN_CREATE: {
        int fd = sys_open_l(_info, O_CREAT | O_EXCL | O_RDWR, 0666, errnum);
        if (fd < 0) {
            if (errnum == EEXIST) {
                logLine(DLT_LOG_INFO, __func__, "(errnum == EEXIST) is true. Open again.. without O_EXCL");
                _info.existed = true;
                fd = sys_open_l(_info, O_CREAT | O_RDWR, 0666, errnum);
            } else {
                logError(__func__, "(errnum == EEXIST) is false.", " Error happened during open()! errno:", errnum);
            }
        }
        return fd;
    }
    case SHM_OPEN_RDWR:
        return sys_open_l(_info, O_RDWR, 0666, errnum);
    case SHM_OPEN_RD:
        return sys_open_l(_info, O_RDONLY, 0444, errnum);
    default:
        logError(__func__, "Undefined mode. _mode:", static_cast<int>(_mode));
        return -1;
    }
}

void* VelSharedMemory::getMappedAddress_l(int _fd, size_t _size, SHM_OPEN_MODE_TYPE _mode)
{
    int prot = 0;
    switch (_mode) {
    case SHM_OPEN_CREATE:
    case SHM_OPEN_RDWR:
        prot = PROT_READ | PROT_WRITE;
        break;
    case SHM_OPEN_RD:
        prot = PROT_READ;
        break;
    default:
        logError(__func__, "Undefined mode!");
        return nullptr;
    }
    void* address = mmap(nullptr, _size, prot, MAP_SHARED, _fd, 0);
    if (address == MAP_FAILED) {
        const int err = errno;
        logError(__func__, "mmap() failed! errno:", err);
        return nullptr;
    }
    return address;
}

bool VelSharedMemory::shmComposeDeviceInfoOnBoot(DevShmInfo& _info, SHM_OPEN_MODE_TYPE _mode)
{
    const int fd = open_l(_info, _mode);
    _info.fd = fd;
    // Descriptor 0 is refused as well: a store must never take over stdin's slot.
    if (fd <= 0) {
        logError(__func__, "open_l() failed! _info.fd:", _info.fd);
        return false;
    }

    // A reader must never change the object's size; a regular file keeps
    // whatever length its last writer gave it.
    if (_info.kind == DEV_SHM_KIND_SHARED_MEMORY && _mode != SHM_OPEN_RD) {
        if (ftruncate(fd, static_cast<off_t>(_info.size)) == -1) {
            const int err = errno;
            logError(__func__, "ftruncate() failed! errno:", err);
        } else {
            logLine(DLT_LOG_DEBUG, __func__, "ftruncate() successed ~ Do mremap..");
        }
    }

    void* address = getMappedAddress_l(fd, static_cast<size_t>(_info.size), _mode);
    if (address == nullptr) {
        logError(__func__, "getMappedAddress_l() failed!");
        return false;
    }
    _info.address = address;
    logLine(DLT_LOG_INFO, __func__, "mapped address : ", static_cast<const void*>(address));
    _info.resized_size = static_cast<uint32_t>(_info.size);
    return true;
}

bool VelSharedMemory::shmComposeDeviceInfoOnBoot(DevShmInfo& _info, DevShmInfo& _versionInfo,
                                                 SHM_OPEN_MODE_TYPE _mode)
{
    logLine(DLT_LOG_INFO, __func__, "[With Check Availability]");
    checkAvailabilityOnStoredFile_l(_info, _versionInfo);
    return shmComposeDeviceInfoOnBoot(_info, _mode);
}

bool VelSharedMemory::shmRemap(DevShmInfo& _info, size_t _newLen)
{
    void* address = mremap(_info.address, _info.resized_size, _newLen, MREMAP_MAYMOVE);
    if (address == MAP_FAILED) {
        const int err = errno;
        logError(__func__, "mremap() failed! (errno:", err);
        return false;
    }
    logLine(DLT_LOG_DEBUG, __func__, "mremap() successed. new address:", static_cast<const void*>(address));
    _info.resized_size = static_cast<uint32_t>(_newLen);
    _info.address = address;
    return true;
}

bool VelSharedMemory::resize_l(DevShmInfo& _info, size_t _newSize, SHM_OPEN_MODE_TYPE _mode)
{
    logLine(DLT_LOG_INFO, __func__, " _info.name:", _info.name, ", _info.address:",
            static_cast<const void*>(_info.address), ", _new_size:", _newSize);
    if (_info.address == nullptr || _newSize == 0) {
        logError(__func__, "((_info.address == nullptr) || (_new_size <= 0)) is true! Return false!");
        return false;
    }

    size_t currSize = 0;
    if (!shmGetSize(_info, currSize)) {
        logError(__func__, "shmGetSize() failed! Return!");
        return false;
    }
    if (currSize == _newSize) {
        logLine(DLT_LOG_INFO, __func__, "(currSize == _new_size) is true. Return!");
        return true;
    }

    logLine(DLT_LOG_INFO, __func__,
            "(currSize == _new_size) is false! Check need to do ftruncate(optional) and mremap");
    if (_mode != SHM_OPEN_RD) {
        logLine(DLT_LOG_INFO, __func__, "(_mode != SHM_OPEN_RD) is true. Do resizing before mremap.");
        if (ftruncate(_info.fd, static_cast<off_t>(_newSize)) == -1) {
            const int err = errno;
            logError(__func__, "ftruncate() failed! errno:", err);
            return false;
        }
        logLine(DLT_LOG_INFO, __func__, "ftruncate() successed ~ Do mremap..");
    }

    // The old length is the store's size, not the mapping's: the mapping is
    // meant to follow the store.
    void* address = mremap(_info.address, currSize, _newSize, MREMAP_MAYMOVE);
    if (address == MAP_FAILED) {
        const int err = errno;
        logError(__func__, "mremap() failed! errno:", err);
        return false;
    }
    logLine(DLT_LOG_INFO, __func__, "mremap() successed. new address:", static_cast<const void*>(address));
    _info.resized_size = static_cast<uint32_t>(_newSize);
    _info.address = address;
    return true;
}

bool VelSharedMemory::shmRead(void* _dest, void* _src, size_t _count)
{
    if (_dest == nullptr || _src == nullptr || _count == 0) {
        logError(__func__, "(_dest != nullptr && _src != nullptr && _count > 0 ) is false! ");
        return false;
    }
    std::memcpy(_dest, _src, _count);
    return true;
}

bool VelSharedMemory::shmWrite(DevShmInfo& _info, const void* _src, size_t _count)
{
    logLine(DLT_LOG_INFO, __func__, " _info.name:", _info.name, ", _write_count:", _count, ", _srcBuf:", _src);

    size_t currSize = 0;
    // A failed fstat is already logged; the resize below then fails on it too.
    const bool sizeKnown = shmGetSize(_info, currSize);
    if (sizeKnown && currSize == _count) {
        logLine(DLT_LOG_INFO, __func__, "(currSize == _write_count) is true. Do memcpy()");
    } else {
        logLine(DLT_LOG_INFO, __func__, "(currSize == _write_count) is false.", " Do resize before memcpy().",
                " current size:", currSize, ", write_count:", _count);
        if (!resize_l(_info, _count, SHM_OPEN_RDWR)) {
            logError(__func__, "resize_l() failed!");
            return false;
        }
    }

    if (_count == 0) {
        return true;
    }
    if (_info.address == nullptr || _src == nullptr) {
        logError(__func__, "(_info.address != nullptr && _src != nullptr) is false! Return false!");
        return false;
    }
    std::memcpy(_info.address, _src, _count);
    return true;
}

bool VelSharedMemory::shmSync(void* _addr, size_t _len)
{
    const int ret = msync(_addr, _len, MS_SYNC);
    if (ret == -1) {
        const int err = errno;
        logError(__func__, "(ret == -1) is true! errno:", err);
        return false;
    }
    return true;
}

bool VelSharedMemory::shmGetSize(DevShmInfo& _info, size_t& _size)
{
    struct stat st;
    if (fstat(_info.fd, &st) != 0) {
        const int err = errno;
        logError(__func__, "fstat() failed! errno:", err);
        return false;
    }
    _size = static_cast<size_t>(st.st_size);
    return true;
}

bool VelSharedMemory::shmEraseData(DevShmInfo& _info)
{
    return resize_l(_info, 1, SHM_OPEN_RDWR);
}

bool VelSharedMemory::shmClose(DevShmInfo& _info)
{
    logLine(DLT_LOG_INFO, __func__, " name:", _info.name, ", address:", static_cast<const void*>(_info.address),
            ", written_count:", _info.written_count);

    if (_info.written_count < 0) {
        logLine(DLT_LOG_DEBUG, __func__, "Invalid written_count value");
    } else if (munmap(_info.address, static_cast<size_t>(_info.written_count)) != 0) {
        const int err = errno;
        logError(__func__, "munmap() failed! errno:", err);
    }
    _info.address = nullptr;

    if (close(_info.fd) != 0) {
        const int err = errno;
        logError(__func__, "close() failed! errno:", err);
        return false;
    }
    _info.fd = -1;

    // Whoever closes a shared-memory object removes its name, readers included;
    // the writer publishes under the name again.
    if (_info.kind == DEV_SHM_KIND_SHARED_MEMORY && shm_unlink(_info.name.c_str()) != 0) {
        logError(__func__, "shm_unlink() failed!");
    }
    return true;
}
