// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "SimStoreWriter.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>

#include "SimModule.h"
#include "vel/VelTypes.h"

namespace sim {

namespace {

constexpr const char* kStoreDirectory = "/data/qor/vel";
constexpr const char* kKnownDevicesPath = "/data/qor/vel/vel.known_devices";
constexpr const char* kVersionPath = "/data/qor/vel/vel.version";
constexpr const char* kDiscoveredDevicesName = "/vel.discovered_devices";
constexpr const char* kSemaphoreName = "/vel.semaphore";

bool sameObject(int _fd, const struct stat& _other)
{
    struct stat own;
    return _fd >= 0 && fstat(_fd, &own) == 0 && own.st_ino == _other.st_ino && own.st_dev == _other.st_dev;
}

// Whether the name still leads to the object behind _fd.
bool discoveredNameIsOurs(int _fd)
{
    const int fd = shm_open(kDiscoveredDevicesName, O_RDONLY, 0);
    if (fd < 0) {
        return false;
    }
    struct stat byName;
    const bool ours = fstat(fd, &byName) == 0 && sameObject(_fd, byName);
    ::close(fd);
    return ours;
}

// Readers on other accounts must be able to open what the store creates.
class OpenPermissions {
public:
    OpenPermissions() : mPrevious(umask(0)) {}
    ~OpenPermissions() { umask(mPrevious); }

private:
    mode_t mPrevious;
};

} // namespace

StoreWriter::StoreWriter(int _lockTimeoutMs) : mLockTimeoutMs(_lockTimeoutMs), mOpen(false) {}

StoreWriter::~StoreWriter()
{
    close();
}

bool StoreWriter::open()
{
    if (mOpen) {
        return true;
    }
    if (g_mkdir_with_parents(kStoreDirectory, 0755) != 0) {
        logLine("store: cannot create %s: %s", kStoreDirectory, std::strerror(errno));
        return false;
    }
    {
        OpenPermissions permissions;
        if (!ensureSemaphore() || !composeKnown() || !composeDiscovered()) {
            logLine("store: not opened");
            close();
            return false;
        }
    }
    mOpen = true;

    // A list that passed the boot check is kept as it is; anything else starts
    // as an empty list of the nominal size.
    mKnownBytes.assign(VEL_DEVICE_LIST_BYTES, 0);
    std::size_t storedSize = 0;
    if (mShm.shmGetSize(mKnown, storedSize) && storedSize == VEL_DEVICE_LIST_BYTES && mKnown.address != nullptr) {
        std::memcpy(mKnownBytes.data(), mKnown.address, VEL_DEVICE_LIST_BYTES);
        logLine("store: kept the stored known-device list");
    }
    mDiscoveredBytes.assign(sizeof(DEVICE), 0);

    holdSemaphores();
    const bool written = writeStore(mKnown, mKnownBytes) && writeStore(mDiscovered.back(), mDiscoveredBytes);
    releaseSemaphores();
    logLine("store: open at %s and %s, semaphore %s", kKnownDevicesPath, kDiscoveredDevicesName, kSemaphoreName);
    return written;
}

void StoreWriter::close()
{
    for (std::size_t i = 0; i < mDiscovered.size(); ++i) {
        DevShmInfo& info = mDiscovered[i];
        const bool newest = i + 1 == mDiscovered.size();
        if (newest && discoveredNameIsOurs(info.fd)) {
            info.written_count = static_cast<int32_t>(info.resized_size);
            mShm.shmClose(info);
            continue;
        }
        // Its name is gone or taken by another object: release without unlinking.
        if (info.address != nullptr) {
            munmap(info.address, info.resized_size);
        }
        ::close(info.fd);
    }
    mDiscovered.clear();

    if (mKnown.fd >= 0) {
        // The known list stays on file, as the service's does across restarts.
        mKnown.written_count = static_cast<int32_t>(mKnown.resized_size);
        mShm.shmClose(mKnown);
    }
    if (mVersion.fd >= 0) {
        ::close(mVersion.fd);
        mVersion.fd = -1;
    }

    if (!mSemaphores.empty()) {
        sem_t* byName = sem_open(kSemaphoreName, 0);
        if (byName != SEM_FAILED) {
            const bool ours = std::find(mSemaphores.begin(), mSemaphores.end(), byName) != mSemaphores.end();
            sem_close(byName);
            if (ours) {
                sem_unlink(kSemaphoreName);
            }
        }
        for (sem_t* semaphore : mSemaphores) {
            sem_close(semaphore);
        }
        mSemaphores.clear();
    }
    if (mOpen) {
        logLine("store: closed");
    }
    mOpen = false;
}

bool StoreWriter::ensureSemaphore()
{
    sem_t* byName = sem_open(kSemaphoreName, 0);
    if (byName != SEM_FAILED) {
        if (std::find(mSemaphores.begin(), mSemaphores.end(), byName) != mSemaphores.end()) {
            // Ours already; the open only counted one more reference.
            sem_close(byName);
        } else {
            mSemaphores.push_back(byName);
            logLine("store: using the existing semaphore %s", kSemaphoreName);
        }
        return true;
    }
    if (errno != ENOENT) {
        logLine("store: cannot open semaphore %s: %s", kSemaphoreName, std::strerror(errno));
        return false;
    }
    sem_t* created = sem_open(kSemaphoreName, O_CREAT, 0666, 1);
    if (created == SEM_FAILED) {
        logLine("store: cannot create semaphore %s: %s", kSemaphoreName, std::strerror(errno));
        return false;
    }
    mSemaphores.push_back(created);
    logLine("store: created semaphore %s (%zu so far)", kSemaphoreName, mSemaphores.size());
    return true;
}

bool StoreWriter::composeKnown()
{
    mKnown = DevShmInfo();
    mKnown.size = VEL_DEVICE_LIST_BYTES;
    mKnown.resized_size = VEL_DEVICE_LIST_BYTES;
    mKnown.name = kKnownDevicesPath;
    mKnown.kind = DEV_SHM_KIND_KNOWN_DEVICE_FILE;
    mVersion = DevShmInfo();
    mVersion.name = kVersionPath;
    mVersion.kind = DEV_SHM_KIND_REGULAR_FILE;

    const bool composed = mShm.shmComposeDeviceInfoOnBoot(mKnown, mVersion, SHM_OPEN_CREATE);
    // An unchanged version leaves the version file open; nothing more to do with it.
    if (mVersion.fd >= 0) {
        ::close(mVersion.fd);
        mVersion.fd = -1;
    }
    if (!composed) {
        logLine("store: cannot open %s", kKnownDevicesPath);
    }
    return composed;
}

bool StoreWriter::composeDiscovered()
{
    DevShmInfo info;
    info.size = sizeof(DEVICE);
    info.name = kDiscoveredDevicesName;
    info.kind = DEV_SHM_KIND_SHARED_MEMORY;
    if (!mShm.shmComposeDeviceInfoOnBoot(info, SHM_OPEN_CREATE)) {
        logLine("store: cannot open %s", kDiscoveredDevicesName);
        if (info.fd >= 0) {
            ::close(info.fd);
        }
        return false;
    }
    mDiscovered.push_back(info);
    return true;
}

StoreWriter::Fresh StoreWriter::ensureNames()
{
    Fresh fresh;
    OpenPermissions permissions;
    ensureSemaphore();
    ensureKnownFile(fresh);
    ensureDiscoveredObject(fresh);
    return fresh;
}

bool StoreWriter::ensureKnownFile(Fresh& _fresh)
{
    struct stat byPath;
    if (stat(kKnownDevicesPath, &byPath) == 0 && sameObject(mKnown.fd, byPath)) {
        return true;
    }
    logLine("store: %s was removed; creating it again", kKnownDevicesPath);
    if (mKnown.fd >= 0) {
        mKnown.written_count = static_cast<int32_t>(mKnown.resized_size);
        mShm.shmClose(mKnown);
    }
    g_mkdir_with_parents(kStoreDirectory, 0755);
    _fresh.known = composeKnown();
    return _fresh.known;
}

bool StoreWriter::ensureDiscoveredObject(Fresh& _fresh)
{
    if (!mDiscovered.empty() && discoveredNameIsOurs(mDiscovered.back().fd)) {
        return true;
    }
    logLine("store: %s was removed; creating it again", kDiscoveredDevicesName);
    _fresh.discovered = composeDiscovered();
    return _fresh.discovered;
}

void StoreWriter::holdSemaphores()
{
    for (sem_t* semaphore : mSemaphores) {
        struct timespec deadline;
        clock_gettime(CLOCK_REALTIME, &deadline);
        deadline.tv_sec += mLockTimeoutMs / 1000;
        deadline.tv_nsec += static_cast<long>(mLockTimeoutMs % 1000) * 1000000L;
        if (deadline.tv_nsec >= 1000000000L) {
            deadline.tv_sec += 1;
            deadline.tv_nsec -= 1000000000L;
        }
        int ret = 0;
        while ((ret = sem_timedwait(semaphore, &deadline)) != 0 && errno == EINTR) {
        }
        // A reader that returned without posting leaves it taken for good; the
        // post after this write frees the readers waiting behind it.
        if (ret != 0) {
            logLine("store: %s stayed taken for %d ms; writing without it", kSemaphoreName, mLockTimeoutMs);
        }
    }
}

void StoreWriter::releaseSemaphores()
{
    for (auto it = mSemaphores.rbegin(); it != mSemaphores.rend(); ++it) {
        sem_post(*it);
    }
}

bool StoreWriter::writeStore(DevShmInfo& _info, const std::vector<unsigned char>& _bytes)
{
    // A fresh known-device file is empty. Writing into it would grow its
    // mapping from a zero old length, which only the Linux kernel's mremap
    // allows (qemu-user, which runs the simulator in cross-test, refuses it):
    // the file is sized first, and its mapping already covers a whole list.
    struct stat status {};
    if (!_bytes.empty() && _bytes.size() <= _info.size && fstat(_info.fd, &status) == 0 && status.st_size == 0) {
        if (ftruncate(_info.fd, static_cast<off_t>(_bytes.size())) != 0) {
            logLine("store: sizing %s to %zu bytes failed", _info.name.c_str(), _bytes.size());
        }
    }
    const bool written =
        _bytes.empty() ? mShm.shmEraseData(_info) : mShm.shmWrite(_info, _bytes.data(), _bytes.size());
    if (!written) {
        logLine("store: writing %zu bytes to %s failed", _bytes.size(), _info.name.c_str());
        return false;
    }
    // Close unmaps what is mapped now.
    _info.written_count = static_cast<int32_t>(_info.resized_size);
    if (_info.kind == DEV_SHM_KIND_KNOWN_DEVICE_FILE && _info.resized_size > 0) {
        mShm.shmSync(_info.address, _info.resized_size);
    }
    return true;
}

void StoreWriter::writeFresh_l(const Fresh& _fresh, bool _skipKnown, bool _skipDiscovered)
{
    if (_fresh.known && !_skipKnown) {
        writeStore(mKnown, mKnownBytes);
    }
    if (_fresh.discovered && !_skipDiscovered) {
        writeStore(mDiscovered.back(), mDiscoveredBytes);
    }
}

bool StoreWriter::writeKnown(const void* _bytes, std::size_t _length)
{
    if (!mOpen) {
        return false;
    }
    const Fresh fresh = ensureNames();
    holdSemaphores();
    const auto* bytes = static_cast<const unsigned char*>(_bytes);
    mKnownBytes.assign(bytes, bytes + _length);
    const bool written = mKnown.fd >= 0 && writeStore(mKnown, mKnownBytes);
    writeFresh_l(fresh, true, false);
    releaseSemaphores();
    logLine("store: known list %s (%zu bytes)", written ? "published" : "NOT published", _length);
    return written;
}

bool StoreWriter::writeDiscovered(const void* _bytes, std::size_t _length)
{
    if (!mOpen) {
        return false;
    }
    const Fresh fresh = ensureNames();
    holdSemaphores();
    const auto* bytes = static_cast<const unsigned char*>(_bytes);
    mDiscoveredBytes.assign(bytes, bytes + _length);
    bool written = false;
    for (std::size_t i = 0; i < mDiscovered.size(); ++i) {
        // Older objects serve readers that opened them before their name went.
        const bool ok = writeStore(mDiscovered[i], mDiscoveredBytes);
        if (i + 1 == mDiscovered.size()) {
            written = ok;
        }
    }
    writeFresh_l(fresh, false, true);
    releaseSemaphores();
    logLine("store: discovered list %s (%zu bytes)", written ? "published" : "NOT published", _length);
    return written;
}

void StoreWriter::restoreNames()
{
    if (!mOpen) {
        return;
    }
    const Fresh fresh = ensureNames();
    if (fresh.known || fresh.discovered) {
        holdSemaphores();
        writeFresh_l(fresh, false, false);
        releaseSemaphores();
    }
}

} // namespace sim
