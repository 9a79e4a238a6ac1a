// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// The store's answers to platform calls that fail: each failure is injected
// at the call itself (FaultInjection.h), the code under test is unchanged.
#include <gtest/gtest.h>

#include <cerrno>

#include "FaultInjection.h"
#include "StoreTestSupport.h"
#include "shm/VelLibShmRelease.h"
#include "vel/VelLibShm.h"
#include "vel/VelSharedMemory.h"

using namespace storetest;
using veltest::FaultyCall;
using veltest::LogCapture;
using veltest::ScopedFault;
using veltest::kSeverityDebug;
using veltest::kSeverityError;
using veltest::kSeverityInfo;

namespace {

class AStoreWhosePlatformFails : public ::testing::Test {
protected:
    void TearDown() override { veltest::clearFaults(); }

    // Opens the known-device list with its version file, as on boot, while
    // `call` fails once with `error`; the log then holds that boot only.
    bool composeKnownOnBootWhileFailing(FaultyCall call, int error, DevShmInfo& version)
    {
        DevShmInfo info = knownInfo();
        LogCapture::clear();
        ScopedFault fault(call, error);
        return mShm.shmComposeDeviceInfoOnBoot(info, version, SHM_OPEN_CREATE);
    }

    StoreCleanup mCleanup;
    VelSharedMemory mShm;
};

// A discovered list of one record, composed by its writer.
class AWrittenStoreWhosePlatformFails : public AStoreWhosePlatformFails {
protected:
    void SetUp() override
    {
        mInfo = discoveredInfo();
        ASSERT_TRUE(mShm.shmComposeDeviceInfoOnBoot(mInfo, SHM_OPEN_CREATE));
        LogCapture::clear();
    }

    DevShmInfo mInfo;
};

} // namespace

TEST_F(AStoreWhosePlatformFails, MapsTheObjectAnywayWhenItsSizeCannotBeSetAtCreation)
{
    DevShmInfo info = discoveredInfo();
    ScopedFault fault(FaultyCall::Ftruncate, EIO);

    // Nothing is rolled back: the writer's next write sizes the object.
    EXPECT_TRUE(mShm.shmComposeDeviceInfoOnBoot(info, SHM_OPEN_CREATE));

    EXPECT_EQ(veltest::injectedFailures(FaultyCall::Ftruncate), 1u);
    EXPECT_TRUE(logged(vshmError("shmComposeDeviceInfoOnBoot", "ftruncate() failed! errno:" + std::to_string(EIO)),
                       kSeverityError));
    EXPECT_EQ(LogCapture::count("ftruncate() successed"), 0u);
    EXPECT_EQ(objectSize(kDiscoveredName), 0);
    EXPECT_NE(info.address, nullptr);
    EXPECT_EQ(info.resized_size, kRecord);
}

TEST_F(AWrittenStoreWhosePlatformFails, RefusesAWriteWhenTheStoreCannotGrow)
{
    const std::vector<unsigned char> bytes = records(3, 0x31);
    void* const before = mInfo.address;
    ScopedFault fault(FaultyCall::Ftruncate, ENOSPC);

    EXPECT_FALSE(mShm.shmWrite(mInfo, bytes.data(), bytes.size()));

    EXPECT_TRUE(logged(vshmError("resize_l", "ftruncate() failed! errno:" + std::to_string(ENOSPC)), kSeverityError));
    EXPECT_TRUE(logged(vshmError("shmWrite", "resize_l() failed!"), kSeverityError));
    EXPECT_EQ(LogCapture::count("mremap()"), 0u);
    EXPECT_EQ(objectSize(kDiscoveredName), static_cast<long>(kRecord));
    EXPECT_EQ(mInfo.address, before);
    EXPECT_EQ(mInfo.resized_size, kRecord);
}

TEST_F(AWrittenStoreWhosePlatformFails, RefusesAWriteWhenTheGrownStoreCannotBeMappedAgain)
{
    const std::vector<unsigned char> bytes = records(3, 0x32);
    void* const before = mInfo.address;
    ScopedFault fault(FaultyCall::Mremap, ENOMEM);

    EXPECT_FALSE(mShm.shmWrite(mInfo, bytes.data(), bytes.size()));

    EXPECT_TRUE(logged(vshm("resize_l", "ftruncate() successed ~ Do mremap.."), kSeverityInfo));
    EXPECT_TRUE(logged(vshmError("resize_l", "mremap() failed! errno:" + std::to_string(ENOMEM)), kSeverityError));
    EXPECT_TRUE(logged(vshmError("shmWrite", "resize_l() failed!"), kSeverityError));
    // The store grew; the mapping and its recorded length stay as they were.
    EXPECT_EQ(objectSize(kDiscoveredName), static_cast<long>(3 * kRecord));
    EXPECT_EQ(mInfo.address, before);
    EXPECT_EQ(mInfo.resized_size, kRecord);
}

TEST_F(AWrittenStoreWhosePlatformFails, KeepsTheMappingWhenARemapIsRefused)
{
    void* const before = mInfo.address;
    ScopedFault fault(FaultyCall::Mremap, EAGAIN);

    EXPECT_FALSE(mShm.shmRemap(mInfo, 2 * kRecord));

    EXPECT_TRUE(logged(vshmError("shmRemap", "mremap() failed! (errno:" + std::to_string(EAGAIN)), kSeverityError));
    EXPECT_EQ(LogCapture::count("mremap() successed"), 0u);
    EXPECT_EQ(mInfo.address, before);
    EXPECT_EQ(mInfo.resized_size, kRecord);
}

TEST_F(AWrittenStoreWhosePlatformFails, ClosesAndRemovesTheObjectEvenWhenItCannotBeUnmapped)
{
    mInfo.written_count = static_cast<int>(kRecord);
    ScopedFault fault(FaultyCall::Munmap, EINVAL);

    EXPECT_TRUE(mShm.shmClose(mInfo));

    EXPECT_EQ(veltest::injectedFailures(FaultyCall::Munmap), 1u);
    EXPECT_TRUE(logged(vshmError("shmClose", "munmap() failed! errno:" + std::to_string(EINVAL)), kSeverityError));
    EXPECT_EQ(mInfo.address, nullptr);
    EXPECT_EQ(mInfo.fd, -1);
    EXPECT_EQ(objectSize(kDiscoveredName), -1);
}

TEST_F(AStoreWhosePlatformFails, ReportsAVersionFileItCannotWriteAndStillDropsTheOldList)
{
    // A list of the wrong length from an earlier layout; no version file yet.
    ASSERT_TRUE(writeFile(kKnownPath, std::string(100, 'x')));
    DevShmInfo version = versionInfo();
    EXPECT_TRUE(composeKnownOnBootWhileFailing(FaultyCall::Pwrite, EIO, version));

    EXPECT_TRUE(logged(vshmError("writeDeviceStructureVersion_l", "pwrite() failed! errno:" + std::to_string(EIO)),
                       kSeverityError));
    EXPECT_TRUE(logged(vshmError("checkAvailabilityOnStoredFile_l", "writeDeviceStructureVersion_l() failed!"),
                       kSeverityError));
    EXPECT_EQ(LogCapture::count("New version file was created"), 0u);
    EXPECT_EQ(version.fd, -1);
    EXPECT_EQ(readWholeFile(kVersionPath), "");
    // The old list went all the same; the file made afresh stays empty until
    // the service writes a list.
    EXPECT_TRUE(logged(vshm("checkAvailabilityOnStoredFile_l", "Try to check and delete old file"), kSeverityInfo));
    EXPECT_EQ(fileSize(kKnownPath), 0);
}

TEST_F(AStoreWhosePlatformFails, ReportsEachListAReaderCannotUnmapAndStillClosesIt)
{
    const std::vector<unsigned char> known = records(10, 0x4B);
    ASSERT_TRUE(writeFile(kKnownPath, known.data(), known.size()));
    ASSERT_TRUE(writeObject(kDiscoveredName, records(1, 0x44)));
    sem_t* semaphore = createServiceSemaphore(1);
    ASSERT_NE(semaphore, SEM_FAILED);
    auto* reader = new VelLibShm();
    ASSERT_TRUE(reader->initialize("client"));
    LogCapture::clear();

    {
        ScopedFault fault(FaultyCall::Munmap, EINVAL, 2);
        VelLibShmRelease::releaseKeepingNames(reader);
        EXPECT_EQ(veltest::injectedFailures(FaultyCall::Munmap), 2u);
    }

    EXPECT_TRUE(logged(libshm(" @@@ ERR. munmap() of " + std::string(kKnownPath) + " failed! (errno:" +
                              std::to_string(EINVAL) + ")"),
                       kSeverityError));
    EXPECT_TRUE(logged(libshm(" @@@ ERR. munmap() of " + std::string(kDiscoveredName) + " failed! (errno:" +
                              std::to_string(EINVAL) + ")"),
                       kSeverityError));
    EXPECT_EQ(LogCapture::count("close() of"), 0u);
    // The service's names stay.
    EXPECT_EQ(objectSize(kDiscoveredName), static_cast<long>(kRecord));
    sem_close(semaphore);
}

TEST_F(AStoreWhosePlatformFails, ReportsAnOldListItCannotRemove)
{
    ASSERT_TRUE(writeFile(kKnownPath, std::string(100, 'x')));
    DevShmInfo version = versionInfo();
    EXPECT_TRUE(composeKnownOnBootWhileFailing(FaultyCall::Unlink, EACCES, version));

    EXPECT_TRUE(logged(vshm("removeKnownDeviceListFile_l", "Found it! Remove!"), kSeverityInfo));
    EXPECT_TRUE(logged(vshmError("removeKnownDeviceListFile_l", "unlink() failed! errno:" + std::to_string(EACCES)),
                       kSeverityError));
    EXPECT_TRUE(logged(vshmError("checkAvailabilityOnStoredFile_l", "removeKnownDeviceListFile_l() failed!"),
                       kSeverityError));
    // The old list stays and is opened as it is.
    EXPECT_EQ(fileSize(kKnownPath), 100);
    EXPECT_EQ(readWholeFile(kVersionPath), "0018");
}

TEST_F(AStoreWhosePlatformFails, ReportsTheVersionFileAndTheNewListThatItCannotClose)
{
    DevShmInfo info = knownInfo();
    DevShmInfo version = versionInfo();
    LogCapture::clear();

    {
        ScopedFault fault(FaultyCall::Close, EIO, 2);
        EXPECT_TRUE(mShm.shmComposeDeviceInfoOnBoot(info, version, SHM_OPEN_CREATE));
        EXPECT_EQ(veltest::injectedFailures(FaultyCall::Close), 2u);
    }

    EXPECT_TRUE(logged(vshmError("writeDeviceStructureVersion_l", "close() failed! errno:" + std::to_string(EIO)),
                       kSeverityError));
    EXPECT_TRUE(logged(vshmError("checkAvailabilityOnStoredFile_l", "writeDeviceStructureVersion_l() failed!"),
                       kSeverityError));
    EXPECT_TRUE(logged(vshmError("removeKnownDeviceListFile_l",
                                 "close(knownDevListFd) failed! errno:" + std::to_string(EIO)),
                       kSeverityError));
    // The version was written before the close failed.
    EXPECT_EQ(readWholeFile(kVersionPath), "0018");
    EXPECT_EQ(version.fd, -1);
}

TEST_F(AStoreWhosePlatformFails, TrustsAStoredListWhoseSizeCannotBeAsked)
{
    ASSERT_TRUE(writeFile(kVersionPath, "0018"));
    ASSERT_TRUE(writeFile(kKnownPath, std::string(100, 'x')));
    DevShmInfo version = versionInfo();
    EXPECT_TRUE(composeKnownOnBootWhileFailing(FaultyCall::Fstat, EIO, version));

    EXPECT_TRUE(logged(vshmError("isInvalidDeviceInfo_l", "fstat() failed!. errno:" + std::to_string(EIO)),
                       kSeverityError));
    EXPECT_EQ(LogCapture::count("Try to write version file"), 0u);
    EXPECT_EQ(fileSize(kKnownPath), 100);
}

TEST_F(AStoreWhosePlatformFails, DropsTheStoredListWhenTheVersionFileCannotBeRead)
{
    ASSERT_TRUE(writeFile(kVersionPath, "0018"));
    const std::vector<unsigned char> known = records(10, 0x4B);
    ASSERT_TRUE(writeFile(kKnownPath, known.data(), known.size()));
    DevShmInfo version = versionInfo();
    EXPECT_TRUE(composeKnownOnBootWhileFailing(FaultyCall::Read, EIO, version));

    EXPECT_TRUE(logged(vshmError("isInvalidVersionInfo_l", "read(version_file) failed! errno:" + std::to_string(EIO)),
                       kSeverityError));
    EXPECT_TRUE(logged(vshm("isInvalidVersionInfo_l", "DEVICE version NOT Same! old:, new:0018"), kSeverityInfo));
    EXPECT_EQ(fileSize(kKnownPath), 0);
}

TEST_F(AStoreWhosePlatformFails, ReleasesTheSemaphoreOnlyOnceWhenItsPostFailsAndReportsIt)
{
    const std::vector<unsigned char> known = records(10, 0x4B);
    ASSERT_TRUE(writeFile(kKnownPath, known.data(), known.size()));
    ASSERT_TRUE(writeObject(kDiscoveredName, records(1, 0x44)));
    sem_t* semaphore = createServiceSemaphore(1);
    ASSERT_NE(semaphore, SEM_FAILED);
    {
        VelLibShm reader;
        ASSERT_TRUE(reader.initialize("client"));
        std::vector<DEVICE> buffer(1);
        LogCapture::clear();

        {
            ScopedFault fault(FaultyCall::SemPost, EOVERFLOW);
            // The copy itself succeeded; the failed post is reported.
            EXPECT_TRUE(reader.readData(buffer.data(), DISCOVERED_DEVICE_LIST, static_cast<int>(kRecord)));
        }

        EXPECT_TRUE(logged(libshm(" @@@ ERR. sem_post() failed! errno:" + std::to_string(EOVERFLOW)), kSeverityError));
        EXPECT_EQ(LogCapture::count("Released semaphore"), 0u);
        EXPECT_EQ(std::string(buffer[0].deviceId), "dev-0-68");
        int value = -1;
        ASSERT_EQ(sem_getvalue(semaphore, &value), 0);
        EXPECT_EQ(value, 0);
        LogCapture::clear();

        veltest::failNextCalls(FaultyCall::SemClose, EINVAL);
        veltest::failNextCalls(FaultyCall::Close, EBADF);
    }
    veltest::clearFaults();

    EXPECT_TRUE(logged(libshm(" @@@ ERR. sem_close() failed! (errno:" + std::to_string(EINVAL) + ")"), kSeverityError));
    EXPECT_TRUE(logged(vshmError("shmClose", "close() failed! errno:" + std::to_string(EBADF)), kSeverityError));
    sem_close(semaphore);
}

TEST_F(AStoreWhosePlatformFails, ReportsWhatAReleasedReaderCannotCloseAndStillLetsGo)
{
    const std::vector<unsigned char> known = records(10, 0x4B);
    ASSERT_TRUE(writeFile(kKnownPath, known.data(), known.size()));
    ASSERT_TRUE(writeObject(kDiscoveredName, records(1, 0x44)));
    sem_t* semaphore = createServiceSemaphore(1);
    ASSERT_NE(semaphore, SEM_FAILED);
    auto* reader = new VelLibShm();
    ASSERT_TRUE(reader->initialize("client"));
    LogCapture::clear();

    veltest::failNextCalls(FaultyCall::SemClose, EINVAL);
    veltest::failNextCalls(FaultyCall::Close, EBADF, 2);
    VelLibShmRelease::releaseKeepingNames(reader);
    veltest::clearFaults();

    EXPECT_TRUE(logged(libshm(" @@@ ERR. sem_close() failed! (errno:" + std::to_string(EINVAL) + ")"), kSeverityError));
    EXPECT_TRUE(logged(libshm(" @@@ ERR. close() of " + std::string(kKnownPath) + " failed! (errno:" +
                              std::to_string(EBADF) + ")"),
                       kSeverityError));
    EXPECT_TRUE(logged(libshm(" @@@ ERR. close() of " + std::string(kDiscoveredName) + " failed! (errno:" +
                              std::to_string(EBADF) + ")"),
                       kSeverityError));
    sem_close(semaphore);
}
