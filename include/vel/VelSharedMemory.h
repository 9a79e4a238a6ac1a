#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>

// How a device store is opened, and with that how it is mapped.
enum SHM_OPEN_MODE_TYPE : int32_t {
    // Create exclusively; an existing store is opened again without O_EXCL.
    SHM_OPEN_CREATE = 0,
    SHM_OPEN_RDWR = 1,
    SHM_OPEN_RD = 2,
};

// What a DevShmInfo names: decides between open() and shm_open().
enum DEV_SHM_KIND : int32_t {
    DEV_SHM_KIND_KNOWN_DEVICE_FILE = 0,
    DEV_SHM_KIND_SHARED_MEMORY = 1,
    DEV_SHM_KIND_REGULAR_FILE = 3,
};

// One device store, owned by the caller and handed by reference to every
// operation of VelSharedMemory. All state of a store lives here.
struct DevShmInfo {
    int32_t fd = -1;
    // Nominal size: what is truncated to and mapped when the store is composed.
    uint64_t size = 0;
    // Length that shmClose unmaps; negative means nothing to unmap. Set by the
    // writing side once it knows how much it mapped.
    int32_t written_count = -1;
    // Length of the current mapping.
    uint32_t resized_size = 0;
    void* address = nullptr;
    // An exclusive create found the store already there.
    bool existed = false;
    std::string name;
    int32_t kind = DEV_SHM_KIND_KNOWN_DEVICE_FILE;
};

// Thin layer over the platform calls that open, map, resize, read, write and
// close the device stores, plus the boot check of the stored known-device list
// against the version file. Takes no lock: processes sharing a store keep apart
// through the named semaphore held around remap, read and write.
// Nothing is rolled back on failure; every failure is one error line.
class VelSharedMemory {
public:
    VelSharedMemory();
    virtual ~VelSharedMemory();

    bool shmComposeDeviceInfoOnBoot(DevShmInfo& _info, SHM_OPEN_MODE_TYPE _mode);
    // Removes a stored list written under another record layout first.
    bool shmComposeDeviceInfoOnBoot(DevShmInfo& _info, DevShmInfo& _versionInfo, SHM_OPEN_MODE_TYPE _mode);
    bool shmRemap(DevShmInfo& _info, size_t _newLen);
    bool shmRead(void* _dest, void* _src, size_t _count);
    bool shmWrite(DevShmInfo& _info, const void* _src, size_t _count);
    bool shmSync(void* _addr, size_t _len);
    bool shmGetSize(DevShmInfo& _info, size_t& _size);
    bool shmEraseData(DevShmInfo& _info);
    bool shmClose(DevShmInfo& _info);

    VelSharedMemory(const VelSharedMemory&) = delete;
    VelSharedMemory& operator=(const VelSharedMemory&) = delete;

private:
    int sys_open_l(DevShmInfo& _info, int _oflag, unsigned _mode, int& _errnum);
    int open_l(DevShmInfo& _info, SHM_OPEN_MODE_TYPE _mode);
    void* getMappedAddress_l(int _fd, size_t _size, SHM_OPEN_MODE_TYPE _mode);
    bool resize_l(DevShmInfo& _info, size_t _newSize, SHM_OPEN_MODE_TYPE _mode);
    bool isInvalidVersionInfo_l(DevShmInfo& _versionInfo);
    bool isInvalidDeviceInfo_l(DevShmInfo& _info);
    bool writeDeviceStructureVersion_l(const DevShmInfo& _versionInfo);
    bool removeKnownDeviceListFile_l(DevShmInfo& _info);
    void checkAvailabilityOnStoredFile_l(DevShmInfo& _info, DevShmInfo& _versionInfo);
};
