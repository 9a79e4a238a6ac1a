// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>

/// @file
/// The device stores: files and shared-memory objects that hold device lists.

/// How a device store is opened, and with that how it is mapped.
enum SHM_OPEN_MODE_TYPE : int32_t {
    /// Create exclusively; an existing store is opened again without O_EXCL.
    /// Mapped for reading and writing.
    SHM_OPEN_CREATE = 0,
    /// Open an existing store for reading and writing.
    SHM_OPEN_RDWR = 1,
    /// Open an existing store read-only; mapped read-only.
    SHM_OPEN_RD = 2,
};

/// What a DevShmInfo names: decides between open() and shm_open().
enum DEV_SHM_KIND : int32_t {
    DEV_SHM_KIND_KNOWN_DEVICE_FILE = 0, ///< the known-device list file, opened with open()
    DEV_SHM_KIND_SHARED_MEMORY = 1,     ///< a POSIX shared-memory object, opened with shm_open()
    DEV_SHM_KIND_REGULAR_FILE = 3,      ///< another regular file (the version file), opened with open()
};

/// One device store, owned by the caller and handed by reference to every
/// operation of VelSharedMemory. All state of a store lives here.
struct DevShmInfo {
    /// Open descriptor; -1 while closed.
    int32_t fd = -1;
    /// Nominal size: what is truncated to and mapped when the store is composed.
    uint64_t size = 0;
    /// Length that shmClose unmaps; negative means nothing to unmap. Set by the
    /// writing side once it knows how much it mapped.
    int32_t written_count = -1;
    /// Length of the current mapping.
    uint32_t resized_size = 0;
    /// Start of the current mapping; null while unmapped.
    void* address = nullptr;
    /// An exclusive create found the store already there.
    bool existed = false;
    /// File path, or the shared-memory object's name ("/..." ).
    std::string name;
    /// What the name names: a DEV_SHM_KIND value.
    int32_t kind = DEV_SHM_KIND_KNOWN_DEVICE_FILE;
};

/// Thin layer over the platform calls that open, map, resize, read, write and
/// close the device stores, plus the boot check of the stored known-device list
/// against the version file. Takes no lock: processes sharing a store keep apart
/// through the named semaphore held around remap, read and write.
/// Nothing is rolled back on failure; every failure is one error line.
class VelSharedMemory {
public:
    /// Registers the class's log context.
    VelSharedMemory();
    /// Unregisters the log context; releases no store.
    virtual ~VelSharedMemory();

    /// Opens and maps one store: _info.size bytes, with the protection of _mode.
    /// A shared-memory object opened for writing is first truncated to that
    /// size; a regular file never is.
    /// @param _info the store; fd, address and resized_size are filled in
    /// @param _mode how to open it
    /// @return false when it cannot be opened or mapped
    bool shmComposeDeviceInfoOnBoot(DevShmInfo& _info, SHM_OPEN_MODE_TYPE _mode);
    /// The same, after removing a stored list written under another record
    /// layout: the version file holds "0018", the layout of DEVICE.
    /// @param _info        the store
    /// @param _versionInfo the version file ("/data/qor/vel/vel.version")
    /// @param _mode        how to open the store
    /// @return false when the store cannot be opened or mapped
    bool shmComposeDeviceInfoOnBoot(DevShmInfo& _info, DevShmInfo& _versionInfo, SHM_OPEN_MODE_TYPE _mode);
    /// Moves the mapping to _newLen bytes (the store itself is not resized).
    /// Hold the service's semaphore around it.
    /// @param _info   the store
    /// @param _newLen the new mapping length
    /// @return false when the system refuses (e.g. nothing mapped)
    bool shmRemap(DevShmInfo& _info, size_t _newLen);
    /// Copies _count bytes from _src to _dest.
    /// @return false when a pointer is null or _count is 0
    bool shmRead(void* _dest, void* _src, size_t _count);
    /// Writes _count bytes at the start of the store, resizing the store to
    /// exactly _count bytes first when needed.
    /// @param _info  the store, opened for writing and mapped
    /// @param _src   the bytes
    /// @param _count how many
    /// @return false when the store cannot be resized
    bool shmWrite(DevShmInfo& _info, const void* _src, size_t _count);
    /// Flushes a mapped range to the store (msync with MS_SYNC).
    /// @return false when the system refuses
    bool shmSync(void* _addr, size_t _len);
    /// The store's current size.
    /// @param _info the open store
    /// @param[out] _size its size in bytes
    /// @return false when it cannot be asked (fstat fails)
    bool shmGetSize(DevShmInfo& _info, size_t& _size);
    /// Shrinks the store to one byte.
    /// @return false when the store cannot be resized
    bool shmEraseData(DevShmInfo& _info);
    /// Unmaps written_count bytes (when not negative), closes the descriptor
    /// and, for a shared-memory object, removes its name, whoever closes it.
    /// @return false when the descriptor cannot be closed
    bool shmClose(DevShmInfo& _info);

    /// Not copyable.
    VelSharedMemory(const VelSharedMemory&) = delete;
    /// Not copyable.
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
