// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "PlatformRemap.h"
#include "StoreTestSupport.h"
#include "WaitUntil.h"
#include "vel/VelLibShm.h"

using namespace storetest;
using veltest::LogCapture;
using veltest::kSeverityDebug;
using veltest::kSeverityError;
using veltest::kSeverityInfo;

namespace {

// The store as the service leaves it: a whole known list, a discovered list of
// two records and the semaphore, free.
class AVelLibShm : public ::testing::Test {
protected:
    void SetUp() override
    {
        mKnownList = records(10, 0x4B);
        mDiscoveredList = records(2, 0x44);
        ASSERT_TRUE(writeFile(kKnownPath, mKnownList.data(), mKnownList.size()));
        ASSERT_TRUE(writeObject(kDiscoveredName, mDiscoveredList));
        mSemaphore = createServiceSemaphore(1);
        ASSERT_NE(mSemaphore, SEM_FAILED);
        LogCapture::clear();
    }

    void TearDown() override
    {
        if (mSemaphore != SEM_FAILED) {
            sem_close(mSemaphore);
        }
    }

    bool read(VelLibShm& _reader, unsigned _listType, std::size_t _records)
    {
        mBuffer.assign(VEL_MAX_DEVICE_COUNT, DEVICE());
        return _reader.readData(mBuffer.data(), static_cast<DEVICE_LIST_TYPE>(_listType),
                                static_cast<int>(_records * kRecord));
    }

    std::vector<unsigned char> buffered(std::size_t _length) const
    {
        const auto* bytes = reinterpret_cast<const unsigned char*>(mBuffer.data());
        return std::vector<unsigned char>(bytes, bytes + _length);
    }

    StoreCleanup mCleanup;
    std::vector<unsigned char> mKnownList;
    std::vector<unsigned char> mDiscoveredList;
    sem_t* mSemaphore = SEM_FAILED;
    std::vector<DEVICE> mBuffer;
};

void ignoreSignal(int) {}

} // namespace

TEST_F(AVelLibShm, OpensTheServiceSemaphoreOnConstruction)
{
    VelLibShm reader;

    EXPECT_TRUE(logged(libshm(" VelLibShm() constructor"), kSeverityInfo));
    EXPECT_TRUE(logged(libshm(" sem_open() successed ~"), kSeverityDebug));
}

TEST(AVelLibShmWithoutTheService, LogsTheFailedSemaphoreOpenAndRefusesEveryRead)
{
    StoreCleanup cleanup;
    const std::vector<unsigned char> list = records(10, 1);
    ASSERT_TRUE(writeFile(kKnownPath, list.data(), list.size()));
    ASSERT_TRUE(writeObject(kDiscoveredName, records(1, 2)));
    LogCapture::clear();

    VelLibShm reader;
    ASSERT_TRUE(reader.initialize("client"));
    std::vector<DEVICE> buffer(VEL_MAX_DEVICE_COUNT);

    EXPECT_FALSE(reader.readData(buffer.data(), KNOWN_DEVICE_LIST, static_cast<int>(kKnownListBytes)));
    EXPECT_FALSE(reader.readData(buffer.data(), DISCOVERED_DEVICE_LIST, static_cast<int>(kRecord)));

    EXPECT_TRUE(logged(libshm(" @@@ ERR. sem_open() failed! (errno:2)"), kSeverityError));
    EXPECT_TRUE(logged(libshm(" readData() (_listType:0, _size:124920)"), kSeverityInfo));
    EXPECT_TRUE(logged(libshm(" readData() (_listType:1, _size:12492)"), kSeverityInfo));
    EXPECT_EQ(LogCapture::count(libshm(" mpVellSema is null! Return!"), kSeverityDebug), 2u);
    EXPECT_EQ(LogCapture::count("Acquied"), 0u);
    // A reader only opens the semaphore; it never creates one.
    EXPECT_FALSE(semaphoreNameExists());
}

TEST_F(AVelLibShm, InitializesByMappingBothListsReadOnly)
{
    VelLibShm reader;

    ASSERT_TRUE(reader.initialize("proc.client"));

    EXPECT_TRUE(logged(libshm("[proc.client] initialize()"), kSeverityInfo));
    EXPECT_TRUE(logged(libshm(" prepareForShm_l()"), kSeverityInfo));
    EXPECT_TRUE(logged(libshm(" mVellShmKnownDevInfo is successfully composed ~ "), kSeverityInfo));
    EXPECT_TRUE(logged(libshm(" mVellShmDiscoveredDevInfo is successfully composed ~ "), kSeverityInfo));
    // Read-only: neither list is resized or truncated.
    EXPECT_EQ(fileSize(kKnownPath), static_cast<long>(kKnownListBytes));
    EXPECT_EQ(objectSize(kDiscoveredName), static_cast<long>(2 * kRecord));
    EXPECT_EQ(LogCapture::count("ftruncate"), 0u);
}

TEST_F(AVelLibShm, FailsToInitializeWithoutTheKnownListAndLeavesTheDiscoveredListAlone)
{
    ASSERT_EQ(unlink(kKnownPath), 0);
    VelLibShm reader;

    EXPECT_FALSE(reader.initialize("client"));

    EXPECT_TRUE(logged(libshm(" @@@ ERR. (!composShmDeviceInfo_l(mVellShmKnownDevInfo)) is true! "), kSeverityError));
    EXPECT_TRUE(logged(libshm(" @@@ ERR. prepareForShm_l() failed"), kSeverityError));
    EXPECT_EQ(LogCapture::count("mVellShmDiscoveredDevInfo"), 0u);
    EXPECT_EQ(LogCapture::count("/vel.discovered_devices"), 0u);
}

TEST_F(AVelLibShm, FailsToInitializeWithoutTheDiscoveredList)
{
    ASSERT_EQ(shm_unlink(kDiscoveredName), 0);
    VelLibShm reader;

    EXPECT_FALSE(reader.initialize("client"));

    EXPECT_TRUE(logged(libshm(" mVellShmKnownDevInfo is successfully composed ~ "), kSeverityInfo));
    EXPECT_TRUE(logged(libshm(" @@@ ERR. (!composShmDeviceInfo_l(mVellShmDiscoveredDevInfo)) is true! "),
                       kSeverityError));
    EXPECT_TRUE(logged(libshm(" @@@ ERR. prepareForShm_l() failed"), kSeverityError));
    // A reader never creates a list.
    EXPECT_EQ(objectSize(kDiscoveredName), -1);
}

TEST_F(AVelLibShm, ReadsTheKnownListByteExactUnderTheSemaphore)
{
    VelLibShm reader;
    ASSERT_TRUE(reader.initialize("client"));
    LogCapture::clear();

    ASSERT_TRUE(read(reader, KNOWN_DEVICE_LIST, 10));

    EXPECT_TRUE(sameBytes(buffered(kKnownListBytes), mKnownList));
    EXPECT_EQ(semaphoreValue(mSemaphore), 1);
    const std::vector<std::string> expected{libshm(" readData() (_listType:0, _size:124920)"),
                                            libshm(" Acquied semaphore. Start to read ~ "),
                                            libshm(" Released semaphore")};
    std::vector<std::string> seen;
    for (const auto& text : LogCapture::texts()) {
        if (text.rfind("[VELLIBSHM]", 0) == 0) {
            seen.push_back(text);
        }
    }
    EXPECT_EQ(seen, expected);
    EXPECT_TRUE(logged(libshm(" Acquied semaphore. Start to read ~ "), kSeverityDebug));
    EXPECT_TRUE(logged(libshm(" Released semaphore"), kSeverityDebug));
}

TEST_F(AVelLibShm, ReadsTheFirstRecordsOfTheKnownList)
{
    VelLibShm reader;
    ASSERT_TRUE(reader.initialize("client"));

    ASSERT_TRUE(read(reader, KNOWN_DEVICE_LIST, 3));

    EXPECT_TRUE(sameBytes(buffered(3 * kRecord), std::vector<unsigned char>(mKnownList.begin(), mKnownList.begin() + 3 * kRecord)));
    EXPECT_EQ(buffered(4 * kRecord).back(), 0);
}

TEST_F(AVelLibShm, ReadsTheDiscoveredListByteExact)
{
    VelLibShm reader;
    ASSERT_TRUE(reader.initialize("client"));

    ASSERT_TRUE(read(reader, DISCOVERED_DEVICE_LIST, 2));

    EXPECT_TRUE(sameBytes(buffered(2 * kRecord), mDiscoveredList));
    EXPECT_STREQ(mBuffer[1].deviceId, "dev-1-68");
    EXPECT_EQ(semaphoreValue(mSemaphore), 1);
}

TEST_F(AVelLibShm, FollowsADiscoveredListThatTheServiceRepublishedLonger)
{
    VelLibShm reader;
    ASSERT_TRUE(reader.initialize("client"));
    ASSERT_TRUE(read(reader, DISCOVERED_DEVICE_LIST, 1));
    const std::vector<unsigned char> longer = records(5, 0x55);
    ASSERT_TRUE(writeObject(kDiscoveredName, longer));

    ASSERT_TRUE(read(reader, DISCOVERED_DEVICE_LIST, 5));

    EXPECT_TRUE(sameBytes(buffered(5 * kRecord), longer));
}

TEST_F(AVelLibShm, RefusesAReadBeforeInitializeAndKeepsTheSemaphoreTaken)
{
    VelLibShm reader;

    EXPECT_FALSE(read(reader, KNOWN_DEVICE_LIST, 1));

    EXPECT_TRUE(logged(libshm(" mpSHM is null! Return!"), kSeverityDebug));
    EXPECT_EQ(semaphoreValue(mSemaphore), 0);
    EXPECT_EQ(LogCapture::count("Released semaphore"), 0u);
}

TEST_F(AVelLibShm, RefusesListTypeTwoAndLeavesTheSemaphoreTaken)
{
    VelLibShm reader;
    ASSERT_TRUE(reader.initialize("client"));

    EXPECT_FALSE(read(reader, 2, 1));

    EXPECT_TRUE(logged(libshm(" @@@ ERR. Unknown device list type. Return !"), kSeverityError));
    EXPECT_TRUE(logged(libshm(" pInfo is null! Return!"), kSeverityDebug));
    EXPECT_NE(sem_trywait(mSemaphore), 0);
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_EQ(semaphoreValue(mSemaphore), 0);
}

TEST_F(AVelLibShm, MakesTheNextReadWaitAfterListTypeTwoUntilTheServicePosts)
{
    VelLibShm reader;
    ASSERT_TRUE(reader.initialize("client"));
    ASSERT_FALSE(read(reader, 2, 1));
    LogCapture::clear();

    std::vector<DEVICE> buffer(VEL_MAX_DEVICE_COUNT);
    std::atomic<bool> done{false};
    bool result = false;
    std::thread next([&] {
        result = reader.readData(buffer.data(), DISCOVERED_DEVICE_LIST, static_cast<int>(kRecord));
        done = true;
    });
    ASSERT_TRUE(LogCapture::waitFor(" readData() (_listType:1", std::chrono::seconds(5)));
    // Give the blocked read a fair chance to get through if it could; it must not.
    EXPECT_FALSE(LogCapture::waitFor("Acquied semaphore", std::chrono::milliseconds(300)));
    EXPECT_FALSE(done.load());

    ASSERT_EQ(sem_post(mSemaphore), 0);
    next.join();

    EXPECT_TRUE(result);
    EXPECT_TRUE(logged(libshm(" Acquied semaphore. Start to read ~ "), kSeverityDebug));
    EXPECT_EQ(std::memcmp(buffer.data(), mDiscoveredList.data(), kRecord), 0);
}

TEST_F(AVelLibShm, FailsAReadOfZeroBytesAtTheRemapAndReleasesTheSemaphore)
{
    VelLibShm reader;
    ASSERT_TRUE(reader.initialize("client"));

    EXPECT_FALSE(read(reader, DISCOVERED_DEVICE_LIST, 0));

    const int refused = platformRemapToZeroErrno();
    ASSERT_GT(refused, 0);
    EXPECT_TRUE(logged(vshmError("shmRemap", "mremap() failed! (errno:" + std::to_string(refused)), kSeverityError));
    EXPECT_TRUE(logged(libshm(" @@@ ERR. (mpSHM->shmRemap((*pInfo), _size)) is false!"), kSeverityError));
    EXPECT_TRUE(logged(libshm(" Released semaphore"), kSeverityDebug));
    EXPECT_EQ(semaphoreValue(mSemaphore), 1);
}

TEST_F(AVelLibShm, FailsAReadOfANegativeSizeAndReleasesTheSemaphore)
{
    VelLibShm reader;
    ASSERT_TRUE(reader.initialize("client"));
    std::vector<DEVICE> buffer(1);

    EXPECT_FALSE(reader.readData(buffer.data(), KNOWN_DEVICE_LIST, -1));

    EXPECT_TRUE(logged(libshm(" readData() (_listType:0, _size:-1)"), kSeverityInfo));
    EXPECT_TRUE(logged(libshm(" @@@ ERR. (mpSHM->shmRemap((*pInfo), _size)) is false!"), kSeverityError));
    EXPECT_EQ(semaphoreValue(mSemaphore), 1);
}

TEST_F(AVelLibShm, ReadsPastTheEndOfTheObjectWithinItsLastPage)
{
    VelLibShm reader;
    ASSERT_TRUE(reader.initialize("client"));
    ASSERT_TRUE(writeObject(kDiscoveredName, records(1, 0x31)));
    // One record is 12492 bytes; its last page ends at 16384.
    const std::size_t beyond = kRecord + 100;
    std::vector<unsigned char> dest(beyond, 0xEE);

    ASSERT_TRUE(reader.readData(reinterpret_cast<DEVICE*>(dest.data()), DISCOVERED_DEVICE_LIST,
                                static_cast<int>(beyond)));

    EXPECT_TRUE(sameBytes(std::vector<unsigned char>(dest.begin(), dest.begin() + kRecord), records(1, 0x31)));
    // What the object does not hold reads as the page's zeros.
    EXPECT_TRUE(sameBytes(std::vector<unsigned char>(dest.begin() + kRecord, dest.end()), std::vector<unsigned char>(100, 0)));
    EXPECT_EQ(LogCapture::count("@@@ ERR."), 0u);
}

TEST_F(AVelLibShm, ReadsAnywayWhenTheWaitForTheSemaphoreIsInterrupted)
{
    VelLibShm reader;
    ASSERT_TRUE(reader.initialize("client"));
    ASSERT_EQ(sem_trywait(mSemaphore), 0);
    // No SA_RESTART: a signal makes sem_wait return with EINTR.
    struct sigaction action;
    std::memset(&action, 0, sizeof(action));
    action.sa_handler = ignoreSignal;
    sigemptyset(&action.sa_mask);
    struct sigaction previous;
    ASSERT_EQ(sigaction(SIGUSR1, &action, &previous), 0);

    std::vector<DEVICE> buffer(VEL_MAX_DEVICE_COUNT);
    bool result = false;
    std::thread interrupted([&] {
        result = reader.readData(buffer.data(), DISCOVERED_DEVICE_LIST, static_cast<int>(2 * kRecord));
    });
    const pthread_t thread = interrupted.native_handle();
    // Signals sent before the thread blocks are ignored; keep sending until one
    // lands inside sem_wait.
    const bool failedWait = veltest::waitUntil(
        [&] {
            pthread_kill(thread, SIGUSR1);
            return LogCapture::count("sem_wait() failed!") > 0;
        },
        std::chrono::seconds(10), std::chrono::milliseconds(10));
    interrupted.join();
    sigaction(SIGUSR1, &previous, nullptr);

    ASSERT_TRUE(failedWait);
    EXPECT_TRUE(logged(libshm(" @@@ ERR. sem_wait() failed! errno:4"), kSeverityError));
    EXPECT_TRUE(result);
    EXPECT_EQ(std::memcmp(buffer.data(), mDiscoveredList.data(), 2 * kRecord), 0);
    // Posted although never taken by this read.
    EXPECT_EQ(semaphoreValue(mSemaphore), 1);
}

TEST_F(AVelLibShm, RemovesTheSemaphoreAndDiscoveredNamesButKeepsTheKnownFileWhenDestroyed)
{
    {
        VelLibShm reader;
        ASSERT_TRUE(reader.initialize("client"));
        LogCapture::clear();
    }

    EXPECT_TRUE(logged(libshm(" ~VelLibShm() destructor"), kSeverityInfo));
    EXPECT_FALSE(semaphoreNameExists());
    EXPECT_EQ(objectSize(kDiscoveredName), -1);
    EXPECT_EQ(fileSize(kKnownPath), static_cast<long>(kKnownListBytes));
    EXPECT_EQ(LogCapture::count("@@@ ERR."), 0u);
    // Nothing was unmapped: the reader never learns a written length.
    EXPECT_EQ(LogCapture::count(vshm("shmClose", "Invalid written_count value"), kSeverityDebug), 2u);
}

TEST_F(AVelLibShm, KeepsTheServiceSemaphoreUsableForThoseWhoHoldItAfterRemovingItsName)
{
    {
        VelLibShm reader;
    }

    ASSERT_FALSE(semaphoreNameExists());
    EXPECT_EQ(sem_trywait(mSemaphore), 0);
    EXPECT_EQ(sem_post(mSemaphore), 0);
}

TEST(AVelLibShmWithoutTheService, ReportsTheFailedUnlinkWhenDestroyed)
{
    StoreCleanup cleanup;
    {
        VelLibShm reader;
        LogCapture::clear();
    }

    EXPECT_TRUE(logged(libshm(" @@@ ERR. sem_unlink() failed! (errno:2)"), kSeverityError));
    EXPECT_EQ(LogCapture::count("sem_close() failed"), 0u);
    // Never initialized: no store to close.
    EXPECT_EQ(LogCapture::count("shmClose"), 0u);
}

TEST_F(AVelLibShm, ReportsTheDiscoveredListThatNeverOpenedWhenDestroyed)
{
    ASSERT_EQ(shm_unlink(kDiscoveredName), 0);
    {
        VelLibShm reader;
        ASSERT_FALSE(reader.initialize("client"));
        LogCapture::clear();
    }

    EXPECT_TRUE(logged(vshmError("shmClose", "close() failed! errno:9"), kSeverityError));
    EXPECT_TRUE(logged(libshm(" @@@ ERR. (!mShm->shmClose(mVellShmDiscoveredDevInfo)) is true!"), kSeverityError));
    EXPECT_EQ(LogCapture::count("(!mShm->shmClose(mVellShmKnownDevInfo)) is true!"), 0u);
}
