// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include "StoreTestSupport.h"
#include "vel/VelSharedMemory.h"

using namespace storetest;
using veltest::LogCapture;
using veltest::kSeverityDebug;
using veltest::kSeverityError;
using veltest::kSeverityInfo;

namespace {

class AVelSharedMemoryCompose : public ::testing::Test {
protected:
    void SetUp() override { LogCapture::clear(); }

    StoreCleanup mCleanup;
    VelSharedMemory mShm;
};

} // namespace

TEST_F(AVelSharedMemoryCompose, CreatesASharedMemoryObjectOfItsNominalSizeAndMapsIt)
{
    DevShmInfo info = discoveredInfo();

    ASSERT_TRUE(mShm.shmComposeDeviceInfoOnBoot(info, SHM_OPEN_CREATE));

    EXPECT_GT(info.fd, 0);
    EXPECT_NE(info.address, nullptr);
    EXPECT_EQ(info.resized_size, kRecord);
    EXPECT_FALSE(info.existed);
    EXPECT_EQ(objectSize(kDiscoveredName), static_cast<long>(kRecord));
    EXPECT_TRUE(logged(vshm("shmComposeDeviceInfoOnBoot", "ftruncate() successed ~ Do mremap.."), kSeverityDebug));
    EXPECT_TRUE(logged(vshm("shmComposeDeviceInfoOnBoot", "mapped address : " + pointerText(info.address)),
                       kSeverityInfo));
}

TEST_F(AVelSharedMemoryCompose, MapsAStoreCreatedWritableSoThatWritesReachTheObject)
{
    DevShmInfo info = discoveredInfo();
    ASSERT_TRUE(mShm.shmComposeDeviceInfoOnBoot(info, SHM_OPEN_CREATE));

    std::memset(info.address, 0x5A, kRecord);

    EXPECT_TRUE(sameBytes(readObject(kDiscoveredName, kRecord), std::vector<unsigned char>(kRecord, 0x5A)));
}

TEST_F(AVelSharedMemoryCompose, TreatsDescriptorZeroFromTheOpenAsAFailedOpen)
{
    ASSERT_TRUE(writeObject(kDiscoveredName, records(1, 7)));
    // The lowest free descriptor is what the open gets.
    close(STDIN_FILENO);
    DevShmInfo info = discoveredInfo();

    const bool composed = mShm.shmComposeDeviceInfoOnBoot(info, SHM_OPEN_RD);

    EXPECT_FALSE(composed);
    EXPECT_EQ(info.fd, 0);
    EXPECT_EQ(info.address, nullptr);
    EXPECT_TRUE(logged(vshmError("shmComposeDeviceInfoOnBoot", "open_l() failed! _info.fd:0"), kSeverityError));
    close(STDIN_FILENO);
}

TEST_F(AVelSharedMemoryCompose, NeverTruncatesASharedMemoryObjectOpenedReadOnly)
{
    ASSERT_TRUE(writeObject(kDiscoveredName, records(1, 3).data(), 100));
    DevShmInfo info = discoveredInfo();

    ASSERT_TRUE(mShm.shmComposeDeviceInfoOnBoot(info, SHM_OPEN_RD));

    EXPECT_EQ(objectSize(kDiscoveredName), 100);
    EXPECT_EQ(LogCapture::count("ftruncate()"), 0u);
    EXPECT_EQ(info.resized_size, kRecord);
}

TEST_F(AVelSharedMemoryCompose, NeverTruncatesAFileOpenedReadOnly)
{
    const std::vector<unsigned char> bytes = records(1, 4);
    ASSERT_TRUE(writeFile(kKnownPath, bytes.data(), 500));
    DevShmInfo info = knownInfo();

    ASSERT_TRUE(mShm.shmComposeDeviceInfoOnBoot(info, SHM_OPEN_RD));

    EXPECT_EQ(fileSize(kKnownPath), 500);
    EXPECT_EQ(LogCapture::count("ftruncate()"), 0u);
}

TEST_F(AVelSharedMemoryCompose, TruncatesASharedMemoryObjectOpenedReadWriteToItsNominalSize)
{
    ASSERT_TRUE(writeObject(kDiscoveredName, records(2, 3)));
    DevShmInfo info = discoveredInfo();

    ASSERT_TRUE(mShm.shmComposeDeviceInfoOnBoot(info, SHM_OPEN_RDWR));

    EXPECT_EQ(objectSize(kDiscoveredName), static_cast<long>(kRecord));
}

TEST_F(AVelSharedMemoryCompose, TruncatesAnExistingSharedMemoryObjectCreatedAgainToItsNominalSize)
{
    ASSERT_TRUE(writeObject(kDiscoveredName, records(2, 3)));
    DevShmInfo info = discoveredInfo();

    ASSERT_TRUE(mShm.shmComposeDeviceInfoOnBoot(info, SHM_OPEN_CREATE));

    EXPECT_TRUE(info.existed);
    EXPECT_EQ(objectSize(kDiscoveredName), static_cast<long>(kRecord));
}

TEST_F(AVelSharedMemoryCompose, NeverTruncatesTheKnownDeviceFileWhateverTheMode)
{
    const std::vector<unsigned char> bytes = records(1, 4);
    ASSERT_TRUE(writeFile(kKnownPath, bytes.data(), 500));
    DevShmInfo readWrite = knownInfo();
    DevShmInfo create = knownInfo();

    ASSERT_TRUE(mShm.shmComposeDeviceInfoOnBoot(readWrite, SHM_OPEN_RDWR));
    ASSERT_TRUE(mShm.shmComposeDeviceInfoOnBoot(create, SHM_OPEN_CREATE));

    EXPECT_EQ(fileSize(kKnownPath), 500);
    EXPECT_EQ(LogCapture::count("ftruncate()"), 0u);
}

TEST_F(AVelSharedMemoryCompose, NeverTruncatesAnotherRegularFile)
{
    ASSERT_TRUE(writeFile("/data/qor/vel/vel.test_file", std::string(10, 'x')));
    DevShmInfo info = knownInfo();
    info.name = "/data/qor/vel/vel.test_file";
    info.kind = DEV_SHM_KIND_REGULAR_FILE;

    ASSERT_TRUE(mShm.shmComposeDeviceInfoOnBoot(info, SHM_OPEN_CREATE));

    EXPECT_EQ(fileSize("/data/qor/vel/vel.test_file"), 10);
}

TEST_F(AVelSharedMemoryCompose, OpensAnExistingStoreAgainWithoutExclusiveCreate)
{
    ASSERT_TRUE(writeObject(kDiscoveredName, records(1, 9)));
    DevShmInfo info = discoveredInfo();

    ASSERT_TRUE(mShm.shmComposeDeviceInfoOnBoot(info, SHM_OPEN_CREATE));

    EXPECT_TRUE(info.existed);
    EXPECT_TRUE(logged(vshmError("sys_open_l", "open() or shm_open() failed! errno:17"), kSeverityError));
    EXPECT_TRUE(logged(vshm("open_l", "(errnum == EEXIST) is true. Open again.. without O_EXCL"), kSeverityInfo));
    // Same object, so its contents are still there.
    EXPECT_EQ(static_cast<unsigned char*>(info.address)[0], 9);
}

TEST_F(AVelSharedMemoryCompose, FailsWithTheOpenErrorWhenAStoreIsMissing)
{
    DevShmInfo info = discoveredInfo();

    EXPECT_FALSE(mShm.shmComposeDeviceInfoOnBoot(info, SHM_OPEN_RD));

    EXPECT_EQ(info.fd, -1);
    EXPECT_TRUE(logged(vshmError("sys_open_l", "open() or shm_open() failed! errno:2"), kSeverityError));
    EXPECT_TRUE(logged(vshmError("shmComposeDeviceInfoOnBoot", "open_l() failed! _info.fd:-1"), kSeverityError));
}

TEST_F(AVelSharedMemoryCompose, ReportsAnExclusiveCreateFailureOtherThanAnExistingStore)
{
    DevShmInfo info = knownInfo();
    info.name = "/data/qor/vel/no-such-directory/vel.known_devices";

    EXPECT_FALSE(mShm.shmComposeDeviceInfoOnBoot(info, SHM_OPEN_CREATE));

    EXPECT_TRUE(logged(vshmError("open_l", "(errnum == EEXIST) is false. Error happened during open()! errno:2"),
                       kSeverityError));
    EXPECT_FALSE(info.existed);
}

TEST_F(AVelSharedMemoryCompose, RejectsADescriptorKindOutsideTheKnownOnes)
{
    DevShmInfo info = discoveredInfo();
    info.kind = 2;

    EXPECT_FALSE(mShm.shmComposeDeviceInfoOnBoot(info, SHM_OPEN_CREATE));

    EXPECT_TRUE(logged(vshmError("sys_open_l", "Undefined mode. _mode:2"), kSeverityError));
    EXPECT_TRUE(logged(vshmError("sys_open_l", "open() or shm_open() failed! errno:22"), kSeverityError));
    EXPECT_EQ(objectSize(kDiscoveredName), -1);
}

TEST_F(AVelSharedMemoryCompose, RejectsAnOpenModeOutsideTheTable)
{
    DevShmInfo info = discoveredInfo();

    EXPECT_FALSE(mShm.shmComposeDeviceInfoOnBoot(info, static_cast<SHM_OPEN_MODE_TYPE>(3)));

    EXPECT_TRUE(logged(vshmError("open_l", "Undefined mode. _mode:3"), kSeverityError));
    EXPECT_EQ(objectSize(kDiscoveredName), -1);
}

TEST_F(AVelSharedMemoryCompose, LeavesTheStoreOpenWhenTheMappingFails)
{
    DevShmInfo info = discoveredInfo();
    // Nothing can be mapped with a length of zero.
    info.size = 0;

    EXPECT_FALSE(mShm.shmComposeDeviceInfoOnBoot(info, SHM_OPEN_CREATE));

    EXPECT_TRUE(logged(vshmError("getMappedAddress_l", "mmap() failed! errno:22"), kSeverityError));
    EXPECT_TRUE(logged(vshmError("shmComposeDeviceInfoOnBoot", "getMappedAddress_l() failed!"), kSeverityError));
    EXPECT_GT(info.fd, 0);
    EXPECT_TRUE(descriptorIsOpen(info.fd));
    EXPECT_EQ(info.address, nullptr);
}

TEST_F(AVelSharedMemoryCompose, MapsAReadOnlyStoreWithoutWriteAccess)
{
    ASSERT_TRUE(writeObject(kDiscoveredName, records(1, 1)));
    DevShmInfo info = discoveredInfo();
    ASSERT_TRUE(mShm.shmComposeDeviceInfoOnBoot(info, SHM_OPEN_RD));

    // A read-only mapping cannot be made writable through the read-only descriptor.
    EXPECT_NE(mprotect(info.address, kRecord, PROT_READ | PROT_WRITE), 0);
    EXPECT_EQ(errno, EACCES);
}
