// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "DeviceRecordBuffer.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <vector>

#include "LibraryLock.h"

namespace {

constexpr std::size_t kPageSize = 4096;

constexpr std::size_t roundedToPages(std::size_t bytes)
{
    return (bytes + kPageSize - 1) / kPageSize * kPageSize;
}

// Every buffer of up to one whole list gets room for a whole list, so that any
// of them can serve the next reading. A page-aligned block of this size is
// just above malloc's mmap threshold: freeing it would unmap it and the next
// reading would fault in 31 fresh pages (measured: about 80 us per buffer,
// twice per known-list delivery). A few freed blocks are therefore kept.
constexpr std::size_t kWholeListBytes = roundedToPages(VEL_DEVICE_LIST_BYTES);
// One reading holds two at once: the read buffer and the valid records.
constexpr std::size_t kKeptBlocks = 2;

struct BlockPool {
    std::mutex mutex;
    std::vector<void*> kept;
    std::vector<void*> handedOut;
};

BlockPool& pool()
{
    // Never destroyed: facades free their buffers from static destructors.
    static BlockPool* blocks = new BlockPool();
    return *blocks;
}

void* takeWholeListBlock()
{
    BlockPool& blocks = pool();
    void* memory = nullptr;
    {
        vel_link::LibraryLock<std::mutex> lock(blocks.mutex);
        if (!blocks.kept.empty()) {
            memory = blocks.kept.back();
            blocks.kept.pop_back();
        }
    }
    if (memory == nullptr && posix_memalign(&memory, kPageSize, kWholeListBytes) != 0) {
        return nullptr;
    }
    vel_link::LibraryLock<std::mutex> lock(blocks.mutex);
    blocks.handedOut.push_back(memory);
    return memory;
}

// False when the block did not come from takeWholeListBlock().
bool returnWholeListBlock(void* memory)
{
    BlockPool& blocks = pool();
    vel_link::LibraryLock<std::mutex> lock(blocks.mutex);
    const auto found = std::find(blocks.handedOut.begin(), blocks.handedOut.end(), memory);
    if (found == blocks.handedOut.end()) {
        return false;
    }
    blocks.handedOut.erase(found);
    if (blocks.kept.size() < kKeptBlocks) {
        blocks.kept.push_back(memory);
    } else {
        std::free(memory);
    }
    return true;
}

} // namespace

DEVICE* allocateUninitialisedDeviceRecords(std::size_t bytes)
{
    if (bytes == 0) {
        return nullptr;
    }
    const std::size_t rounded = roundedToPages(bytes);
    void* memory = nullptr;
    if (rounded <= kWholeListBytes) {
        memory = takeWholeListBlock();
    } else if (posix_memalign(&memory, kPageSize, rounded) != 0) {
        memory = nullptr;
    }
    return static_cast<DEVICE*>(memory);
}

DEVICE* allocateDeviceRecords(std::size_t bytes)
{
    DEVICE* records = allocateUninitialisedDeviceRecords(bytes);
    if (records != nullptr) {
        // Only what was asked for: the rest of the block is never read.
        std::memset(static_cast<void*>(records), 0, bytes);
    }
    return records;
}

void freeDeviceRecords(DEVICE*& records)
{
    if (records != nullptr && !returnWholeListBlock(records)) {
        std::free(records);
    }
    records = nullptr;
}

std::size_t deviceIdLength(const DEVICE& record)
{
    return strnlen(record.deviceId, sizeof(record.deviceId));
}
