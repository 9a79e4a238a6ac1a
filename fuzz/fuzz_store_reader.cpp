// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// The device-list reader against any store contents and any request: lists
// shorter or longer than asked for, sizes of zero, negative or huge, list
// types that do not exist. A read either copies bytes the store holds or
// fails; it never touches memory past the store or the destination, and it
// gives the semaphore back on every path that took it for a known list type.

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "FuzzSupport.h"
#include "StoreFixture.h"
#include "vel/VelLibShm.h"
#include "vel/VelTypes.h"

namespace {

VelLibShm* gReader = nullptr;

int chooseReadSize(FuzzedDataProvider& input)
{
    const int record = static_cast<int>(sizeof(DEVICE));
    const int sizes[] = {0, 1, -1, record - 1, record, record + 1, 3 * record, static_cast<int>(VEL_DEVICE_LIST_BYTES),
                         static_cast<int>(VEL_DEVICE_LIST_BYTES) + 1, 0x7fffffff, -0x7fffffff - 1};
    if (input.ConsumeBool()) {
        return sizes[input.ConsumeIntegralInRange<size_t>(0, sizeof(sizes) / sizeof(sizes[0]) - 1)];
    }
    return input.ConsumeIntegral<int>();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    velfuzz::abortOnGLibWarnings();
    velfuzz::StoreFixture::create();
    // Never destroyed: its destructor would remove the names mid-run.
    gReader = new VelLibShm();
    if (!gReader->initialize("velfuzz")) {
        std::fprintf(stderr, "the reader could not open the store\n");
        std::abort();
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    velfuzz::StoreFixture::rewriteKnown(input);
    velfuzz::StoreFixture::rewriteDiscovered(input);

    const int reads = input.ConsumeIntegralInRange<int>(1, 3);
    for (int i = 0; i < reads; ++i) {
        const unsigned listType = input.ConsumeBool() ? input.ConsumeIntegralInRange<unsigned>(0, 1)
                                                      : input.ConsumeIntegral<unsigned>();
        const int readSize = chooseReadSize(input);
        // A destination exactly as long as the request where that is sane;
        // otherwise one byte, which only a read past the store could overrun.
        const bool sane = readSize > 0 && readSize <= static_cast<int>(2 * VEL_DEVICE_LIST_BYTES);
        std::vector<unsigned char> destination(sane ? static_cast<size_t>(readSize) : 1);
        gReader->readData(reinterpret_cast<DEVICE*>(destination.data()), static_cast<DEVICE_LIST_TYPE>(listType),
                          readSize);
        if (listType <= 1 && velfuzz::StoreFixture::semaphoreValue() != 1) {
            std::fprintf(stderr, "a read of list %u left the semaphore at %d\n", listType,
                         velfuzz::StoreFixture::semaphoreValue());
            std::abort();
        }
        // An unknown list type keeps the semaphore by contract; the service
        // gives it back.
        velfuzz::StoreFixture::releaseSemaphoreIfTaken();
    }
    return 0;
}
