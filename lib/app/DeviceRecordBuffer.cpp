#include "DeviceRecordBuffer.h"

#include <cstdlib>
#include <cstring>

namespace {

constexpr std::size_t kPageSize = 4096;

} // namespace

DEVICE* allocateDeviceRecords(std::size_t bytes)
{
    if (bytes == 0) {
        return nullptr;
    }
    const std::size_t rounded = (bytes + kPageSize - 1) / kPageSize * kPageSize;
    void* memory = nullptr;
    if (posix_memalign(&memory, kPageSize, rounded) != 0) {
        return nullptr;
    }
    std::memset(memory, 0, rounded);
    return static_cast<DEVICE*>(memory);
}

void freeDeviceRecords(DEVICE*& records)
{
    std::free(records);
    records = nullptr;
}

std::size_t deviceIdLength(const DEVICE& record)
{
    return strnlen(record.deviceId, sizeof(record.deviceId));
}
