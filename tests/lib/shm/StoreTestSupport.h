// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <fcntl.h>
#include <semaphore.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "LogCapture.h"
#include "vel/VelSharedMemory.h"
#include "vel/VelTypes.h"

// Helpers for tests of the device store. They run in a private mount
// namespace (tmpfs at /data/qor/vel and /dev/shm), and still remove every name
// they create.
namespace storetest {

constexpr const char* kStoreDirectory = "/data/qor/vel";
constexpr const char* kKnownPath = "/data/qor/vel/vel.known_devices";
constexpr const char* kVersionPath = "/data/qor/vel/vel.version";
constexpr const char* kDiscoveredName = "/vel.discovered_devices";
constexpr const char* kSemaphoreName = "/vel.semaphore";
constexpr std::size_t kRecord = sizeof(DEVICE);
constexpr std::size_t kKnownListBytes = VEL_DEVICE_LIST_BYTES;

// Whether /dev/shm is the private tmpfs that the store test runner mounts.
inline bool inPrivateStoreNamespace()
{
    const std::string mounts = [] {
        std::string text;
        if (FILE* file = std::fopen("/proc/self/mounts", "r")) {
            char buffer[4096];
            for (std::size_t n = 0; (n = std::fread(buffer, 1, sizeof(buffer), file)) > 0;) {
                text.append(buffer, n);
            }
            std::fclose(file);
        }
        return text;
    }();
    return mounts.find("vel-test-shm /dev/shm ") != std::string::npos &&
           mounts.find("vel-test-data /data ") != std::string::npos;
}

// Removes the store's names and files at the end of a test, whatever happened.
// Refuses to run anywhere but in the private namespace: these tests remove and
// rewrite the store, which must never be the machine's own.
class StoreCleanup {
public:
    StoreCleanup()
    {
        if (!inPrivateStoreNamespace()) {
            std::fprintf(stderr, "store tests run only under tests/support/run-in-store-namespace\n");
            std::_Exit(1);
        }
        removeAll();
    }
    ~StoreCleanup() { removeAll(); }

    static void removeAll()
    {
        shm_unlink(kDiscoveredName);
        shm_unlink("/vel.test_object");
        sem_unlink(kSemaphoreName);
        unlink(kKnownPath);
        unlink(kVersionPath);
        unlink("/data/qor/vel/vel.test_file");
    }
};

inline std::string pointerText(const void* _address)
{
    std::ostringstream out;
    out << _address;
    return out.str();
}

inline std::string vshm(const std::string& _operation, const std::string& _text)
{
    return "[VSHM][" + _operation + "] " + _text;
}

inline std::string vshmError(const std::string& _operation, const std::string& _text)
{
    return "[VSHM][" + _operation + "] @@@ ERR. " + _text;
}

inline std::string libshm(const std::string& _text)
{
    return "[VELLIBSHM]" + _text;
}

// Fails with the whole captured log, so a missing line shows what came instead.
inline ::testing::AssertionResult logged(const std::string& _text, int _severity)
{
    if (veltest::LogCapture::hasExact(_text, _severity)) {
        return ::testing::AssertionSuccess();
    }
    std::ostringstream out;
    out << "no line \"" << _text << "\" at severity 0x" << std::hex << _severity << "; captured:\n";
    for (const auto& line : veltest::LogCapture::lines()) {
        out << "  [0x" << std::hex << line.severity << "] " << line.text << "\n";
    }
    return ::testing::AssertionFailure() << out.str();
}

// Compares two byte buffers; a failure names the sizes and the first
// difference instead of printing whole device lists.
template <typename Left, typename Right>
::testing::AssertionResult sameBytes(const Left& _left, const Right& _right)
{
    const std::vector<unsigned char> left(_left.begin(), _left.end());
    const std::vector<unsigned char> right(_right.begin(), _right.end());
    if (left.size() != right.size()) {
        return ::testing::AssertionFailure() << "sizes differ: " << left.size() << " and " << right.size();
    }
    for (std::size_t i = 0; i < left.size(); ++i) {
        if (left[i] != right[i]) {
            return ::testing::AssertionFailure() << "first difference at byte " << i << ": "
                                                 << static_cast<unsigned>(left[i]) << " and "
                                                 << static_cast<unsigned>(right[i]);
        }
    }
    return ::testing::AssertionSuccess();
}

inline DevShmInfo knownInfo()
{
    DevShmInfo info;
    info.size = kKnownListBytes;
    info.resized_size = kKnownListBytes;
    info.name = kKnownPath;
    info.kind = DEV_SHM_KIND_KNOWN_DEVICE_FILE;
    return info;
}

inline DevShmInfo discoveredInfo()
{
    DevShmInfo info;
    info.size = kRecord;
    info.name = kDiscoveredName;
    info.kind = DEV_SHM_KIND_SHARED_MEMORY;
    return info;
}

inline DevShmInfo versionInfo()
{
    DevShmInfo info;
    info.name = kVersionPath;
    info.kind = DEV_SHM_KIND_REGULAR_FILE;
    return info;
}

// Records whose every byte is _fill, with a readable deviceId.
inline std::vector<unsigned char> records(std::size_t _count, unsigned char _fill)
{
    std::vector<unsigned char> bytes(_count * kRecord, _fill);
    for (std::size_t i = 0; i < _count; ++i) {
        DEVICE* device = reinterpret_cast<DEVICE*>(bytes.data() + i * kRecord);
        std::snprintf(device->deviceId, sizeof(device->deviceId), "dev-%zu-%u", i, static_cast<unsigned>(_fill));
    }
    return bytes;
}

inline bool writeFile(const std::string& _path, const void* _bytes, std::size_t _length)
{
    const int fd = open(_path.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0666);
    if (fd < 0) {
        return false;
    }
    const bool written = write(fd, _bytes, _length) == static_cast<ssize_t>(_length);
    close(fd);
    return written;
}

inline bool writeFile(const std::string& _path, const std::string& _text)
{
    return writeFile(_path, _text.data(), _text.size());
}

inline std::string readWholeFile(const std::string& _path)
{
    std::string text;
    const int fd = open(_path.c_str(), O_RDONLY);
    if (fd < 0) {
        return text;
    }
    char buffer[4096];
    for (ssize_t n = 0; (n = read(fd, buffer, sizeof(buffer))) > 0;) {
        text.append(buffer, static_cast<std::size_t>(n));
    }
    close(fd);
    return text;
}

// Size of a file, or -1 when it does not exist.
inline long fileSize(const std::string& _path)
{
    struct stat st;
    return stat(_path.c_str(), &st) == 0 ? static_cast<long>(st.st_size) : -1;
}

inline long inodeOf(const std::string& _path)
{
    struct stat st;
    return stat(_path.c_str(), &st) == 0 ? static_cast<long>(st.st_ino) : -1;
}

// Creates (or replaces) a shared-memory object holding exactly these bytes.
inline bool writeObject(const std::string& _name, const void* _bytes, std::size_t _length)
{
    const int fd = shm_open(_name.c_str(), O_CREAT | O_RDWR, 0666);
    if (fd < 0) {
        return false;
    }
    bool written = ftruncate(fd, 0) == 0 && ftruncate(fd, static_cast<off_t>(_length)) == 0;
    if (written && _length > 0) {
        written = pwrite(fd, _bytes, _length, 0) == static_cast<ssize_t>(_length);
    }
    close(fd);
    return written;
}

inline bool writeObject(const std::string& _name, const std::vector<unsigned char>& _bytes)
{
    return writeObject(_name, _bytes.data(), _bytes.size());
}

// Size of a shared-memory object, or -1 when the name does not exist.
inline long objectSize(const std::string& _name)
{
    const int fd = shm_open(_name.c_str(), O_RDONLY, 0);
    if (fd < 0) {
        return -1;
    }
    struct stat st;
    const long size = fstat(fd, &st) == 0 ? static_cast<long>(st.st_size) : -1;
    close(fd);
    return size;
}

inline std::vector<unsigned char> readObject(const std::string& _name, std::size_t _length)
{
    std::vector<unsigned char> bytes(_length, 0);
    const int fd = shm_open(_name.c_str(), O_RDONLY, 0);
    if (fd >= 0) {
        const ssize_t n = pread(fd, bytes.data(), _length, 0);
        bytes.resize(n > 0 ? static_cast<std::size_t>(n) : 0);
        close(fd);
    } else {
        bytes.clear();
    }
    return bytes;
}

inline bool descriptorIsOpen(int _fd)
{
    return fcntl(_fd, F_GETFD) != -1;
}

// Whether [address, address + length) is mapped in this process, read from
// /proc/self/maps. (msync cannot tell: qemu-user keeps a 32-bit guest's whole
// address space reserved on the host, so msync succeeds on unmapped ranges.)
inline bool isMapped(void* _address, std::size_t _length)
{
    std::uintptr_t next = reinterpret_cast<std::uintptr_t>(_address);
    const std::uintptr_t end = next + _length;
    std::ifstream maps("/proc/self/maps");
    std::string line;
    // The lines are sorted by address; contiguous ranges cover the request.
    while (next < end && std::getline(maps, line)) {
        unsigned long long from = 0;
        unsigned long long to = 0;
        if (std::sscanf(line.c_str(), "%llx-%llx", &from, &to) != 2) {
            continue;
        }
        if (from <= next && next < to) {
            next = static_cast<std::uintptr_t>(to);
        }
    }
    return next >= end;
}

// The service's semaphore, as the service creates it.
inline sem_t* createServiceSemaphore(unsigned _value = 1)
{
    return sem_open(kSemaphoreName, O_CREAT | O_EXCL, 0666, _value);
}

inline int semaphoreValue(sem_t* _semaphore)
{
    int value = -1;
    sem_getvalue(_semaphore, &value);
    return value;
}

inline bool semaphoreNameExists()
{
    sem_t* semaphore = sem_open(kSemaphoreName, 0);
    if (semaphore == SEM_FAILED) {
        return false;
    }
    sem_close(semaphore);
    return true;
}

} // namespace storetest
