// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include "PlatformRemap.h"
#include "StoreTestSupport.h"
#include "vel/VelSharedMemory.h"

using namespace storetest;
using veltest::LogCapture;
using veltest::kSeverityDebug;
using veltest::kSeverityError;
using veltest::kSeverityInfo;

namespace {

class AVelSharedMemoryStore : public ::testing::Test {
protected:
    void SetUp() override
    {
        mInfo = discoveredInfo();
        ASSERT_TRUE(mShm.shmComposeDeviceInfoOnBoot(mInfo, SHM_OPEN_CREATE));
        LogCapture::clear();
    }

    StoreCleanup mCleanup;
    VelSharedMemory mShm;
    DevShmInfo mInfo;
};

std::vector<unsigned char> bytesAt(const void* _address, std::size_t _length)
{
    const auto* bytes = static_cast<const unsigned char*>(_address);
    return std::vector<unsigned char>(bytes, bytes + _length);
}

} // namespace

TEST_F(AVelSharedMemoryStore, RemapsToANewLengthWithoutResizingTheStore)
{
    ASSERT_TRUE(mShm.shmRemap(mInfo, 3 * kRecord));

    EXPECT_EQ(mInfo.resized_size, 3 * kRecord);
    EXPECT_TRUE(isMapped(mInfo.address, 3 * kRecord));
    EXPECT_EQ(objectSize(kDiscoveredName), static_cast<long>(kRecord));
    EXPECT_TRUE(logged(vshm("shmRemap", "mremap() successed. new address:" + pointerText(mInfo.address)),
                       kSeverityDebug));
}

TEST_F(AVelSharedMemoryStore, FailsToRemapToZeroBytes)
{
    void* before = mInfo.address;

    EXPECT_FALSE(mShm.shmRemap(mInfo, 0));

    const int refused = platformRemapToZeroErrno();
    ASSERT_GT(refused, 0);
    EXPECT_TRUE(logged(vshmError("shmRemap", "mremap() failed! (errno:" + std::to_string(refused)), kSeverityError));
    EXPECT_EQ(mInfo.address, before);
    EXPECT_EQ(mInfo.resized_size, kRecord);
}

TEST_F(AVelSharedMemoryStore, FailsToRemapAStoreThatWasNeverMapped)
{
    DevShmInfo unmapped = discoveredInfo();

    EXPECT_FALSE(mShm.shmRemap(unmapped, kRecord));

    EXPECT_EQ(LogCapture::count("[VSHM][shmRemap] @@@ ERR. mremap() failed! (errno:", kSeverityError), 1u);
    EXPECT_EQ(unmapped.address, nullptr);
}

TEST_F(AVelSharedMemoryStore, CopiesExactlyTheRequestedBytes)
{
    std::vector<unsigned char> source = records(1, 0x21);
    std::vector<unsigned char> dest(kRecord + 1, 0xEE);

    ASSERT_TRUE(mShm.shmRead(dest.data(), source.data(), kRecord));

    EXPECT_TRUE(sameBytes(bytesAt(dest.data(), kRecord), source));
    EXPECT_EQ(dest[kRecord], 0xEE);
}

TEST_F(AVelSharedMemoryStore, RefusesACopyWithoutDestinationSourceOrLength)
{
    std::vector<unsigned char> buffer(16, 0);
    const std::string refusal =
        vshmError("shmRead", "(_dest != nullptr && _src != nullptr && _count > 0 ) is false! ");

    EXPECT_FALSE(mShm.shmRead(nullptr, buffer.data(), 16));
    EXPECT_FALSE(mShm.shmRead(buffer.data(), nullptr, 16));
    EXPECT_FALSE(mShm.shmRead(buffer.data(), buffer.data() + 8, 0));

    EXPECT_EQ(LogCapture::count(refusal, kSeverityError), 3u);
}

TEST_F(AVelSharedMemoryStore, WritesInPlaceWhenTheStoreAlreadyHasTheWrittenLength)
{
    const std::vector<unsigned char> bytes = records(1, 0x42);
    void* before = mInfo.address;

    ASSERT_TRUE(mShm.shmWrite(mInfo, bytes.data(), bytes.size()));

    EXPECT_EQ(mInfo.address, before);
    EXPECT_TRUE(sameBytes(readObject(kDiscoveredName, kRecord), bytes));
    EXPECT_TRUE(logged(vshm("shmWrite", "(currSize == _write_count) is true. Do memcpy()"), kSeverityInfo));
    EXPECT_TRUE(logged(vshm("shmWrite", " _info.name:/vel.discovered_devices, _write_count:12492, _srcBuf:" +
                                            pointerText(bytes.data())),
                       kSeverityInfo));
}

TEST_F(AVelSharedMemoryStore, TruncatesTheStoreToTheWrittenLengthBeforeCopying)
{
    const std::vector<unsigned char> three = records(3, 0x33);
    ASSERT_TRUE(mShm.shmWrite(mInfo, three.data(), three.size()));

    EXPECT_EQ(objectSize(kDiscoveredName), static_cast<long>(3 * kRecord));
    EXPECT_EQ(mInfo.resized_size, 3 * kRecord);
    EXPECT_TRUE(sameBytes(readObject(kDiscoveredName, 3 * kRecord), three));
    EXPECT_TRUE(logged(vshm("shmWrite", "(currSize == _write_count) is false. Do resize before memcpy(). current "
                                        "size:12492, write_count:37476"),
                       kSeverityInfo));
    EXPECT_TRUE(logged(vshm("resize_l", "(_mode != SHM_OPEN_RD) is true. Do resizing before mremap."),
                       kSeverityInfo));
    EXPECT_TRUE(logged(vshm("resize_l", "mremap() successed. new address:" + pointerText(mInfo.address)),
                       kSeverityInfo));

    const std::vector<unsigned char> one = records(1, 0x11);
    ASSERT_TRUE(mShm.shmWrite(mInfo, one.data(), one.size()));

    EXPECT_EQ(objectSize(kDiscoveredName), static_cast<long>(kRecord));
    EXPECT_TRUE(sameBytes(readObject(kDiscoveredName, 3 * kRecord), one));
}

TEST_F(AVelSharedMemoryStore, WritesAWholeKnownDeviceListIntoAFreshFile)
{
    DevShmInfo known = knownInfo();
    ASSERT_TRUE(mShm.shmComposeDeviceInfoOnBoot(known, SHM_OPEN_CREATE));
    ASSERT_EQ(fileSize(kKnownPath), 0);
    const std::vector<unsigned char> list = records(10, 0x6B);
    if (const int refused = platformRemapFromZeroErrno(); refused != 0) {
        // Under qemu-user the fresh file's zero length cannot be remapped:
        // the write reports the platform's refusal.
        EXPECT_FALSE(mShm.shmWrite(known, list.data(), list.size()));
        EXPECT_TRUE(logged(vshmError("resize_l", "mremap() failed! errno:" + std::to_string(refused)), kSeverityError));
        return;
    }

    ASSERT_TRUE(mShm.shmWrite(known, list.data(), list.size()));
    ASSERT_TRUE(mShm.shmSync(known.address, known.resized_size));

    const std::string stored = readWholeFile(kKnownPath);
    EXPECT_TRUE(sameBytes(std::vector<unsigned char>(stored.begin(), stored.end()), list));
}

TEST_F(AVelSharedMemoryStore, FailsAWriteWhenTheStoreCannotBeResized)
{
    DevShmInfo unmapped = discoveredInfo();
    unmapped.fd = mInfo.fd;
    const std::vector<unsigned char> bytes = records(2, 1);

    EXPECT_FALSE(mShm.shmWrite(unmapped, bytes.data(), bytes.size()));

    EXPECT_TRUE(logged(vshmError("resize_l", "((_info.address == nullptr) || (_new_size <= 0)) is true! Return false!"),
                       kSeverityError));
    EXPECT_TRUE(logged(vshmError("shmWrite", "resize_l() failed!"), kSeverityError));
    EXPECT_EQ(objectSize(kDiscoveredName), static_cast<long>(kRecord));
}

TEST_F(AVelSharedMemoryStore, SyncsAMappedRange)
{
    EXPECT_TRUE(mShm.shmSync(mInfo.address, kRecord));
    EXPECT_EQ(LogCapture::count("@@@ ERR."), 0u);
}

TEST_F(AVelSharedMemoryStore, ReportsASyncOfAnAddressThatIsNotPageAligned)
{
    EXPECT_FALSE(mShm.shmSync(static_cast<char*>(mInfo.address) + 1, 16));

    EXPECT_TRUE(logged(vshmError("shmSync", "(ret == -1) is true! errno:22"), kSeverityError));
}

TEST_F(AVelSharedMemoryStore, YieldsTheStoreSize)
{
    size_t size = 0;

    ASSERT_TRUE(mShm.shmGetSize(mInfo, size));

    EXPECT_EQ(size, kRecord);
}

TEST_F(AVelSharedMemoryStore, ReportsASizeQueryOnAClosedDescriptor)
{
    DevShmInfo closed = discoveredInfo();
    size_t size = 77;

    EXPECT_FALSE(mShm.shmGetSize(closed, size));

    EXPECT_EQ(size, 77u);
    EXPECT_TRUE(logged(vshmError("shmGetSize", "fstat() failed! errno:9"), kSeverityError));
}

TEST_F(AVelSharedMemoryStore, EraseLeavesAStoreOfExactlyOneByte)
{
    const std::vector<unsigned char> three = records(3, 0x33);
    ASSERT_TRUE(mShm.shmWrite(mInfo, three.data(), three.size()));
    void* before = mInfo.address;

    ASSERT_TRUE(mShm.shmEraseData(mInfo));

    EXPECT_EQ(objectSize(kDiscoveredName), 1);
    EXPECT_EQ(mInfo.resized_size, 1u);
    EXPECT_TRUE(logged(vshm("resize_l", " _info.name:/vel.discovered_devices, _info.address:" +
                                            pointerText(before) + ", _new_size:1"),
                       kSeverityInfo));
}

TEST_F(AVelSharedMemoryStore, EraseOfAFileLeavesOneByteToo)
{
    DevShmInfo known = knownInfo();
    ASSERT_TRUE(mShm.shmComposeDeviceInfoOnBoot(known, SHM_OPEN_CREATE));
    const std::vector<unsigned char> list = records(10, 2);
    if (const int refused = platformRemapFromZeroErrno(); refused != 0) {
        // Under qemu-user the fresh file cannot be grown by a write (see
        // WritesAWholeKnownDeviceListIntoAFreshFile); the erase still leaves one byte.
        EXPECT_FALSE(mShm.shmWrite(known, list.data(), list.size()));
    } else {
        ASSERT_TRUE(mShm.shmWrite(known, list.data(), list.size()));
    }

    ASSERT_TRUE(mShm.shmEraseData(known));

    EXPECT_EQ(fileSize(kKnownPath), 1);
}

TEST_F(AVelSharedMemoryStore, EraseOfAOneByteStoreChangesNothing)
{
    ASSERT_TRUE(mShm.shmEraseData(mInfo));
    void* address = mInfo.address;
    LogCapture::clear();

    ASSERT_TRUE(mShm.shmEraseData(mInfo));

    EXPECT_EQ(mInfo.address, address);
    EXPECT_TRUE(logged(vshm("resize_l", "(currSize == _new_size) is true. Return!"), kSeverityInfo));
    EXPECT_EQ(LogCapture::count("mremap"), 0u);
}

TEST_F(AVelSharedMemoryStore, CloseWithoutAWrittenCountKeepsTheMappingButUnlinksTheObject)
{
    mInfo.written_count = -1;
    void* address = mInfo.address;
    const int fd = mInfo.fd;

    ASSERT_TRUE(mShm.shmClose(mInfo));

    EXPECT_TRUE(logged(vshm("shmClose", "Invalid written_count value"), kSeverityDebug));
    EXPECT_TRUE(logged(vshm("shmClose", " name:/vel.discovered_devices, address:" + pointerText(address) +
                                            ", written_count:-1"),
                       kSeverityInfo));
    EXPECT_TRUE(isMapped(address, kRecord));
    EXPECT_FALSE(descriptorIsOpen(fd));
    EXPECT_EQ(objectSize(kDiscoveredName), -1);
    EXPECT_EQ(mInfo.fd, -1);
    EXPECT_EQ(mInfo.address, nullptr);
    munmap(address, kRecord);
}

TEST_F(AVelSharedMemoryStore, CloseWithAWrittenCountUnmapsThatLength)
{
    mInfo.written_count = static_cast<int32_t>(kRecord);
    void* address = mInfo.address;

    ASSERT_TRUE(mShm.shmClose(mInfo));

    EXPECT_FALSE(isMapped(address, kRecord));
    EXPECT_EQ(objectSize(kDiscoveredName), -1);
    EXPECT_EQ(LogCapture::count("Invalid written_count value"), 0u);
}

TEST_F(AVelSharedMemoryStore, CloseOfAFileKeepsTheFile)
{
    DevShmInfo known = knownInfo();
    ASSERT_TRUE(mShm.shmComposeDeviceInfoOnBoot(known, SHM_OPEN_CREATE));

    ASSERT_TRUE(mShm.shmClose(known));

    EXPECT_EQ(fileSize(kKnownPath), 0);
}

TEST_F(AVelSharedMemoryStore, CloseOfAClosedDescriptorFailsAndLeavesTheName)
{
    DevShmInfo closed = discoveredInfo();

    EXPECT_FALSE(mShm.shmClose(closed));

    EXPECT_TRUE(logged(vshmError("shmClose", "close() failed! errno:9"), kSeverityError));
    EXPECT_EQ(objectSize(kDiscoveredName), static_cast<long>(kRecord));
}

TEST_F(AVelSharedMemoryStore, CloseReportsAnObjectWhoseNameIsAlreadyGone)
{
    ASSERT_EQ(shm_unlink(kDiscoveredName), 0);

    EXPECT_TRUE(mShm.shmClose(mInfo));

    EXPECT_TRUE(logged(vshmError("shmClose", "shm_unlink() failed!"), kSeverityError));
}
