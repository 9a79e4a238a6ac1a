// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "StoreFixture.h"

#include <fcntl.h>
#include <semaphore.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "vel/VelTypes.h"

namespace velfuzz {

namespace {

constexpr const char* kKnownPath = "/data/qor/vel/vel.known_devices";
constexpr const char* kVersionPath = "/data/qor/vel/vel.version";
constexpr const char* kDiscoveredName = "/vel.discovered_devices";
constexpr const char* kSemaphoreName = "/vel.semaphore";

sem_t* gSemaphore = SEM_FAILED;

std::string readMounts()
{
    std::string text;
    if (FILE* file = std::fopen("/proc/self/mounts", "r")) {
        char buffer[4096];
        for (size_t n = 0; (n = std::fread(buffer, 1, sizeof(buffer), file)) > 0;) {
            text.append(buffer, n);
        }
        std::fclose(file);
    }
    return text;
}

size_t chooseSize(FuzzedDataProvider& input, size_t nominal)
{
    const size_t record = sizeof(DEVICE);
    const size_t sizes[] = {0, 1, record - 1, record, record + 1, 2 * record, nominal - 1, nominal, nominal + 1,
                            VEL_DEVICE_LIST_BYTES + record};
    if (input.ConsumeBool()) {
        return sizes[input.ConsumeIntegralInRange<size_t>(0, sizeof(sizes) / sizeof(sizes[0]) - 1)];
    }
    return input.ConsumeIntegralInRange<size_t>(0, VEL_DEVICE_LIST_BYTES + 2 * record);
}

// Truncating to zero first drops the previous content, so each run starts
// from zeros; then the input writes identifiers (with or without their
// terminator, possibly running into the next field) and a few raw bytes.
void rewrite(int fd, FuzzedDataProvider& input, size_t nominal)
{
    const size_t size = chooseSize(input, nominal);
    if (ftruncate(fd, 0) != 0 || ftruncate(fd, static_cast<off_t>(size)) != 0) {
        std::perror("store fixture: ftruncate");
        std::abort();
    }
    const size_t records = input.ConsumeIntegralInRange<size_t>(0, VEL_MAX_DEVICE_COUNT + 1);
    for (size_t index = 0; index < records; ++index) {
        const size_t offset = index * sizeof(DEVICE) + offsetof(DEVICE, deviceId);
        std::string id = input.ConsumeRandomLengthString(300);
        if (input.ConsumeBool()) {
            // No terminator: the identifier fills its field to the last byte.
            id.resize(sizeof(DEVICE::deviceId), 'x');
        }
        if (offset < size) {
            const size_t length = std::min(id.size(), size - offset);
            if (pwrite(fd, id.data(), length, static_cast<off_t>(offset)) < 0) {
                std::perror("store fixture: pwrite");
                std::abort();
            }
        }
    }
    const std::string raw = input.ConsumeRandomLengthString(64);
    if (!raw.empty() && size > 0) {
        const size_t offset = input.ConsumeIntegralInRange<size_t>(0, size - 1);
        const size_t length = std::min(raw.size(), size - offset);
        if (pwrite(fd, raw.data(), length, static_cast<off_t>(offset)) < 0) {
            std::perror("store fixture: pwrite");
            std::abort();
        }
    }
}

int openKnown()
{
    return open(kKnownPath, O_RDWR | O_CREAT, 0666);
}

int openDiscovered()
{
    return shm_open(kDiscoveredName, O_RDWR | O_CREAT, 0666);
}

} // namespace

void StoreFixture::requirePrivateNamespace()
{
    const std::string mounts = readMounts();
    if (mounts.find("vel-test-shm /dev/shm ") == std::string::npos ||
        mounts.find("vel-test-data /data ") == std::string::npos) {
        std::fprintf(stderr, "store fuzzers run only under tests/support/run-in-store-namespace\n");
        std::_Exit(1);
    }
}

void StoreFixture::create()
{
    requirePrivateNamespace();
    removeAll();
    std::atexit(removeAll);
    mkdir("/data/qor", 0755);
    mkdir("/data/qor/vel", 0755);
    const int known = openKnown();
    const int discovered = openDiscovered();
    if (known < 0 || discovered < 0 || ftruncate(known, VEL_DEVICE_LIST_BYTES) != 0 ||
        ftruncate(discovered, sizeof(DEVICE)) != 0) {
        std::perror("store fixture: create");
        std::abort();
    }
    close(known);
    close(discovered);
    gSemaphore = sem_open(kSemaphoreName, O_CREAT | O_RDWR, 0666, 1);
    if (gSemaphore == SEM_FAILED) {
        std::perror("store fixture: sem_open");
        std::abort();
    }
}

void StoreFixture::removeAll()
{
    shm_unlink(kDiscoveredName);
    sem_unlink(kSemaphoreName);
    unlink(kKnownPath);
    unlink(kVersionPath);
}

void StoreFixture::rewriteKnown(FuzzedDataProvider& input)
{
    const int fd = openKnown();
    if (fd < 0) {
        std::perror("store fixture: open known list");
        std::abort();
    }
    rewrite(fd, input, VEL_DEVICE_LIST_BYTES);
    close(fd);
}

void StoreFixture::rewriteDiscovered(FuzzedDataProvider& input)
{
    const int fd = openDiscovered();
    if (fd < 0) {
        std::perror("store fixture: open discovered list");
        std::abort();
    }
    rewrite(fd, input, sizeof(DEVICE));
    close(fd);
}

int StoreFixture::semaphoreValue()
{
    int value = -1;
    if (gSemaphore == SEM_FAILED || sem_getvalue(gSemaphore, &value) != 0) {
        return -1;
    }
    return value;
}

void StoreFixture::releaseSemaphoreIfTaken()
{
    if (semaphoreValue() == 0) {
        sem_post(gSemaphore);
    }
}

} // namespace velfuzz
