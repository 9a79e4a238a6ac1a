// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include <memory>

#include "StoreTestSupport.h"
#include "vel/VelLibShm.h"

using namespace storetest;
using veltest::LogCapture;
using veltest::kSeverityError;

namespace {

// A reader whose lists are shorter than what it will be asked for: copying
// from pages the store does not have would end the process with SIGBUS.
class AVelLibShmWithShortLists : public ::testing::Test {
protected:
    void SetUp() override
    {
        const std::vector<unsigned char> known = records(10, 0x4B);
        ASSERT_TRUE(writeFile(kKnownPath, known.data(), known.size()));
        ASSERT_TRUE(writeObject(kDiscoveredName, records(1, 0x44)));
        mSemaphore = createServiceSemaphore(1);
        ASSERT_NE(mSemaphore, SEM_FAILED);
        // Opened once the service's semaphore exists.
        mReaderOwner.reset(new VelLibShm());
        ASSERT_TRUE(mReaderOwner->initialize("client"));
        LogCapture::clear();
    }

    void TearDown() override
    {
        mReaderOwner.reset();
        if (mSemaphore != SEM_FAILED) {
            sem_close(mSemaphore);
        }
    }

    StoreCleanup mCleanup;
    sem_t* mSemaphore = SEM_FAILED;
    std::unique_ptr<VelLibShm> mReaderOwner;
    VelLibShm& reader() { return *mReaderOwner; }
};

} // namespace

TEST_F(AVelLibShmWithShortLists, RefusesToReadThreeDiscoveredRecordsFromAnObjectHoldingOne)
{
    std::vector<DEVICE> dest(3);
    std::memset(dest.data(), 0xEE, 3 * kRecord);

    EXPECT_FALSE(reader().readData(dest.data(), DISCOVERED_DEVICE_LIST, static_cast<int>(3 * kRecord)));

    EXPECT_TRUE(logged(libshm(" @@@ ERR. Read of 37476 bytes reaches past the end of /vel.discovered_devices "
                              "(12492 bytes). Nothing copied. Return!"),
                       kSeverityError));
    EXPECT_EQ(LogCapture::count("@@@ ERR.", kSeverityError), 1u);
    // Nothing copied, semaphore released as on every other failed read.
    EXPECT_EQ(reinterpret_cast<unsigned char*>(dest.data())[0], 0xEE);
    EXPECT_TRUE(logged(libshm(" Released semaphore"), veltest::kSeverityDebug));
    EXPECT_EQ(semaphoreValue(mSemaphore), 1);
}

TEST_F(AVelLibShmWithShortLists, StaysUsableAfterARefusedRead)
{
    std::vector<DEVICE> dest(3);
    ASSERT_FALSE(reader().readData(dest.data(), DISCOVERED_DEVICE_LIST, static_cast<int>(3 * kRecord)));

    ASSERT_TRUE(reader().readData(dest.data(), DISCOVERED_DEVICE_LIST, static_cast<int>(kRecord)));

    EXPECT_EQ(std::memcmp(dest.data(), records(1, 0x44).data(), kRecord), 0);
}

TEST_F(AVelLibShmWithShortLists, RefusesAWholeKnownListFromAFileHoldingOneRecord)
{
    ASSERT_EQ(truncate(kKnownPath, static_cast<off_t>(kRecord)), 0);
    std::vector<DEVICE> dest(VEL_MAX_DEVICE_COUNT);

    EXPECT_FALSE(reader().readData(dest.data(), KNOWN_DEVICE_LIST, static_cast<int>(kKnownListBytes)));

    EXPECT_TRUE(logged(libshm(" @@@ ERR. Read of 124920 bytes reaches past the end of "
                              "/data/qor/vel/vel.known_devices (12492 bytes). Nothing copied. Return!"),
                       kSeverityError));
    EXPECT_EQ(semaphoreValue(mSemaphore), 1);
}

TEST_F(AVelLibShmWithShortLists, RefusesAReadOfAnEmptiedObject)
{
    ASSERT_TRUE(writeObject(kDiscoveredName, nullptr, 0));
    std::vector<DEVICE> dest(1);

    EXPECT_FALSE(reader().readData(dest.data(), DISCOVERED_DEVICE_LIST, 1));

    EXPECT_TRUE(logged(libshm(" @@@ ERR. Read of 1 bytes reaches past the end of /vel.discovered_devices "
                              "(0 bytes). Nothing copied. Return!"),
                       kSeverityError));
}

TEST_F(AVelLibShmWithShortLists, ReadsUpToTheEndOfTheObjectsLastPage)
{
    // 12492 bytes occupy four pages of 4096; the fourth ends at 16384.
    const long page = sysconf(_SC_PAGESIZE);
    const std::size_t lastPageEnd = (kRecord + static_cast<std::size_t>(page) - 1) / page * page;
    std::vector<unsigned char> dest(lastPageEnd + 1, 0xEE);

    EXPECT_TRUE(reader().readData(reinterpret_cast<DEVICE*>(dest.data()), DISCOVERED_DEVICE_LIST,
                                 static_cast<int>(lastPageEnd)));
    EXPECT_FALSE(reader().readData(reinterpret_cast<DEVICE*>(dest.data()), DISCOVERED_DEVICE_LIST,
                                  static_cast<int>(lastPageEnd + 1)));

    EXPECT_EQ(LogCapture::count("reaches past the end", kSeverityError), 1u);
}
