// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include "StoreTestSupport.h"
#include "vel/VelSharedMemory.h"

using namespace storetest;
using veltest::LogCapture;
using veltest::kSeverityError;
using veltest::kSeverityInfo;
using veltest::kSeverityWarn;

namespace {

class AStoredKnownDeviceList : public ::testing::Test {
protected:
    void SetUp() override { LogCapture::clear(); }

    bool storeList(std::size_t _length)
    {
        mStored = records(10, 0x4C);
        mStored.resize(_length, 0x4C);
        return writeFile(kKnownPath, mStored.data(), mStored.size());
    }

    bool composeWithCheck(SHM_OPEN_MODE_TYPE _mode = SHM_OPEN_CREATE)
    {
        mInode = inodeOf(kKnownPath);
        return mShm.shmComposeDeviceInfoOnBoot(mKnown, mVersion, _mode);
    }

    bool wasRemoved() const { return LogCapture::count("[VSHM][removeKnownDeviceListFile_l] Found it! Remove!") == 1; }

    StoreCleanup mCleanup;
    VelSharedMemory mShm;
    DevShmInfo mKnown = knownInfo();
    DevShmInfo mVersion = versionInfo();
    std::vector<unsigned char> mStored;
    long mInode = -1;
};

} // namespace

TEST_F(AStoredKnownDeviceList, StaysAsItIsUnderTheSameVersionAndItsNominalSize)
{
    ASSERT_TRUE(writeFile(kVersionPath, "0018"));
    ASSERT_TRUE(storeList(kKnownListBytes));

    ASSERT_TRUE(composeWithCheck());

    EXPECT_TRUE(logged(vshm("shmComposeDeviceInfoOnBoot", "[With Check Availability]"), kSeverityInfo));
    EXPECT_TRUE(logged(vshm("isInvalidVersionInfo_l", "(errnum == EEXIST) is true. Open again.. without O_EXCL"),
                       kSeverityInfo));
    EXPECT_TRUE(logged(vshm("isInvalidVersionInfo_l", "Same version. OK ~ (ver:0018)"), kSeverityInfo));
    EXPECT_FALSE(wasRemoved());
    EXPECT_EQ(LogCapture::count("Try to write version file"), 0u);
    EXPECT_EQ(inodeOf(kKnownPath), mInode);
    EXPECT_EQ(std::memcmp(mKnown.address, mStored.data(), kKnownListBytes), 0);
}

TEST_F(AStoredKnownDeviceList, IsRemovedWhenOneByteShortUnderTheSameVersion)
{
    ASSERT_TRUE(writeFile(kVersionPath, "0018"));
    ASSERT_TRUE(storeList(kKnownListBytes - 1));

    ASSERT_TRUE(composeWithCheck());

    EXPECT_TRUE(logged(vshm("isInvalidDeviceInfo_l",
                            "@@@ WARN. Device List's size is not valid! Corrupted file size : 124919"),
                       kSeverityWarn));
    EXPECT_TRUE(logged(vshm("checkAvailabilityOnStoredFile_l", "Try to write version file"), kSeverityInfo));
    EXPECT_TRUE(logged(vshm("writeDeviceStructureVersion_l", "New version file was created. version:0018"),
                       kSeverityInfo));
    EXPECT_TRUE(logged(vshm("checkAvailabilityOnStoredFile_l", "Try to check and delete old file"), kSeverityInfo));
    EXPECT_TRUE(logged(vshm("removeKnownDeviceListFile_l", "Found it! Remove!"), kSeverityInfo));
    EXPECT_TRUE(logged(vshm("removeKnownDeviceListFile_l", "unlink() succeeded."), kSeverityInfo));
    // The create of the compose made a new, empty list.
    EXPECT_NE(inodeOf(kKnownPath), mInode);
    EXPECT_EQ(fileSize(kKnownPath), 0);
}

TEST_F(AStoredKnownDeviceList, IsRemovedWhenOneByteLongUnderTheSameVersion)
{
    ASSERT_TRUE(writeFile(kVersionPath, "0018"));
    ASSERT_TRUE(storeList(kKnownListBytes + 1));

    ASSERT_TRUE(composeWithCheck());

    EXPECT_TRUE(logged(vshm("isInvalidDeviceInfo_l",
                            "@@@ WARN. Device List's size is not valid! Corrupted file size : 124921"),
                       kSeverityWarn));
    EXPECT_TRUE(wasRemoved());
    EXPECT_EQ(fileSize(kKnownPath), 0);
}

TEST_F(AStoredKnownDeviceList, OfAWholeNumberOfRecordsOtherThanTenIsRemovedToo)
{
    ASSERT_TRUE(writeFile(kVersionPath, "0018"));
    ASSERT_TRUE(storeList(3 * kRecord));

    ASSERT_TRUE(composeWithCheck());

    EXPECT_TRUE(wasRemoved());
}

TEST_F(AStoredKnownDeviceList, OfNominalSizeIsRemovedUnderAnotherVersion)
{
    ASSERT_TRUE(writeFile(kVersionPath, "0017"));
    ASSERT_TRUE(storeList(kKnownListBytes));

    ASSERT_TRUE(composeWithCheck());

    EXPECT_TRUE(logged(vshm("isInvalidVersionInfo_l", "DEVICE version NOT Same! old:0017, new:0018"), kSeverityInfo));
    EXPECT_TRUE(logged(vshm("isInvalidVersionInfo_l", "Remove old device list if it exist!"), kSeverityInfo));
    EXPECT_TRUE(wasRemoved());
    EXPECT_EQ(readWholeFile(kVersionPath), "0018");
    EXPECT_EQ(fileSize(kKnownPath), 0);
    // The size check is not needed once the version differs.
    EXPECT_EQ(LogCapture::count("isInvalidDeviceInfo_l"), 0u);
}

TEST_F(AStoredKnownDeviceList, IsRemovedWhenTheVersionFileIsMissing)
{
    ASSERT_TRUE(storeList(kKnownListBytes));

    ASSERT_TRUE(composeWithCheck());

    EXPECT_TRUE(logged(vshm("isInvalidVersionInfo_l", "Created a new version file. There was none before."),
                       kSeverityInfo));
    EXPECT_TRUE(wasRemoved());
    EXPECT_EQ(readWholeFile(kVersionPath), "0018");
    EXPECT_EQ(fileSize(kVersionPath), 4);
}

TEST_F(AStoredKnownDeviceList, ThatDoesNotExistIsCreatedEmptyOnAVersionChange)
{
    ASSERT_TRUE(composeWithCheck());

    EXPECT_TRUE(logged(vshm("removeKnownDeviceListFile_l",
                            "There was none before. New one was created now. Close this to use later."),
                       kSeverityInfo));
    EXPECT_FALSE(wasRemoved());
    EXPECT_EQ(readWholeFile(kVersionPath), "0018");
    EXPECT_EQ(fileSize(kKnownPath), 0);
    EXPECT_GT(mKnown.fd, 0);
}

TEST_F(AStoredKnownDeviceList, IsRemovedUnderAShortVersionText)
{
    ASSERT_TRUE(writeFile(kVersionPath, "00"));
    ASSERT_TRUE(storeList(kKnownListBytes));

    ASSERT_TRUE(composeWithCheck());

    EXPECT_TRUE(logged(vshm("isInvalidVersionInfo_l", "DEVICE version NOT Same! old:00, new:0018"), kSeverityInfo));
    EXPECT_TRUE(wasRemoved());
    EXPECT_EQ(readWholeFile(kVersionPath), "0018");
}

TEST_F(AStoredKnownDeviceList, IsKeptWhenTheVersionFileCannotBeOpened)
{
    // A directory in the version file's place: it exists, but cannot be opened read-write.
    ASSERT_EQ(mkdir(kVersionPath, 0755), 0);
    ASSERT_TRUE(storeList(kKnownListBytes - 1));

    ASSERT_TRUE(composeWithCheck());

    EXPECT_TRUE(logged(vshmError("sys_open_l", "open() or shm_open() failed! errno:21"), kSeverityError));
    EXPECT_TRUE(logged(vshmError("isInvalidVersionInfo_l", "(_versionInfo.fd < 0) is true! Return!"),
                       kSeverityError));
    EXPECT_EQ(LogCapture::count("Try to write version file"), 0u);
    EXPECT_FALSE(wasRemoved());
    EXPECT_EQ(inodeOf(kKnownPath), mInode);
    rmdir(kVersionPath);
}

TEST_F(AStoredKnownDeviceList, IsKeptWhenTheVersionFileCannotBeCreated)
{
    mVersion.name = "/data/qor/vel/missing-directory/vel.version";
    ASSERT_TRUE(storeList(kKnownListBytes - 1));

    ASSERT_TRUE(composeWithCheck());

    EXPECT_TRUE(logged(vshmError("isInvalidVersionInfo_l", " Error happened during open()! (errno:2"),
                       kSeverityError));
    EXPECT_FALSE(wasRemoved());
    EXPECT_EQ(inodeOf(kKnownPath), mInode);
}

TEST_F(AStoredKnownDeviceList, ThatIsMissingUnderTheSameVersionIsNotInvalid)
{
    ASSERT_TRUE(writeFile(kVersionPath, "0018"));

    ASSERT_TRUE(composeWithCheck());

    EXPECT_TRUE(logged(vshmError("isInvalidDeviceInfo_l", "File open failed! Return!"), kSeverityError));
    EXPECT_EQ(LogCapture::count("Try to write version file"), 0u);
    // The compose's create made it.
    EXPECT_EQ(fileSize(kKnownPath), 0);
}

TEST_F(AStoredKnownDeviceList, CheckSkipsTheSizeOfAnythingButTheKnownDeviceList)
{
    ASSERT_TRUE(writeFile(kVersionPath, "0018"));
    DevShmInfo discovered = discoveredInfo();

    ASSERT_TRUE(mShm.shmComposeDeviceInfoOnBoot(discovered, mVersion, SHM_OPEN_CREATE));

    EXPECT_TRUE(logged(vshm("isInvalidDeviceInfo_l", "Device info is not known device list"), kSeverityInfo));
    EXPECT_EQ(LogCapture::count("Try to write version file"), 0u);
}

TEST_F(AStoredKnownDeviceList, OpenedReadOnlyIsRemovedAndThenMissing)
{
    ASSERT_TRUE(writeFile(kVersionPath, "0017"));
    ASSERT_TRUE(storeList(kKnownListBytes));

    // A reader does not create: after the removal there is nothing to open.
    EXPECT_FALSE(composeWithCheck(SHM_OPEN_RD));

    EXPECT_TRUE(wasRemoved());
    EXPECT_EQ(fileSize(kKnownPath), -1);
    EXPECT_TRUE(logged(vshmError("shmComposeDeviceInfoOnBoot", "open_l() failed! _info.fd:-1"), kSeverityError));
}
