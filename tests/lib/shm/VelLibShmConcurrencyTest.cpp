// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/wait.h>

#include <chrono>
#include <set>

#include "StoreTestSupport.h"
#include "vel/VelLibShm.h"

using namespace storetest;

namespace {

constexpr std::size_t kListRecords = 3;
constexpr std::size_t kListBytes = kListRecords * kRecord;

// The writer: rewrites the discovered list again and again, every byte of a
// version stamped with that version's number, holding the semaphore around
// each write as the service does. Runs in a child process until told to stop.
// The list is first brought to its size through the store layer, then each
// version is written in place.
[[noreturn]] void runWriter(int _stopFd)
{
    sem_t* semaphore = sem_open(kSemaphoreName, 0);
    VelSharedMemory shm;
    DevShmInfo info = discoveredInfo();
    info.size = kListBytes;
    if (semaphore == SEM_FAILED || !shm.shmComposeDeviceInfoOnBoot(info, SHM_OPEN_RDWR)) {
        _exit(2);
    }
    std::vector<unsigned char> list(kListBytes, 1);
    if (sem_wait(semaphore) != 0 || !shm.shmWrite(info, list.data(), list.size()) || sem_post(semaphore) != 0) {
        _exit(2);
    }
    list.resize(kRecord);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    char stop = 0;
    for (unsigned version = 1; read(_stopFd, &stop, 1) <= 0; ++version) {
        if (std::chrono::steady_clock::now() > deadline) {
            _exit(3);
        }
        const auto stamp = static_cast<unsigned char>(version % 251 + 1);
        if (sem_wait(semaphore) != 0) {
            _exit(4);
        }
        // Record by record, giving the reader every chance to run in between:
        // only the semaphore keeps it from seeing a mix of two versions.
        for (std::size_t record = 0; record < kListRecords; ++record) {
            std::fill(list.begin(), list.end(), stamp);
            std::memcpy(static_cast<unsigned char*>(info.address) + record * kRecord, list.data(), kRecord);
            sched_yield();
        }
        if (sem_post(semaphore) != 0) {
            _exit(5);
        }
        sched_yield();
    }
    _exit(0);
}

// Stops and reaps the writer by its PID, also when the test fails early.
class WriterProcess {
public:
    bool start()
    {
        int fds[2];
        if (pipe2(fds, O_CLOEXEC) != 0) {
            return false;
        }
        mPid = fork();
        if (mPid == 0) {
            close(fds[1]);
            fcntl(fds[0], F_SETFL, O_NONBLOCK);
            runWriter(fds[0]);
        }
        close(fds[0]);
        mStopFd = fds[1];
        return mPid > 0;
    }

    // Returns the writer's exit status, or -1.
    int stop()
    {
        if (mPid <= 0) {
            return -1;
        }
        const char stopByte = 's';
        (void)!write(mStopFd, &stopByte, 1);
        close(mStopFd);
        int status = 0;
        const pid_t reaped = waitpid(mPid, &status, 0);
        mPid = -1;
        return reaped > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    ~WriterProcess() { stop(); }

private:
    pid_t mPid = -1;
    int mStopFd = -1;
};

bool isUniform(const std::vector<DEVICE>& _list)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(_list.data());
    for (std::size_t i = 1; i < kListBytes; ++i) {
        if (bytes[i] != bytes[0]) {
            return false;
        }
    }
    return true;
}

} // namespace

TEST(AVelLibShmReadingWhileTheServiceWrites, NeverSeesAHalfWrittenList)
{
    StoreCleanup cleanup;
    const std::vector<unsigned char> known = records(10, 1);
    ASSERT_TRUE(writeFile(kKnownPath, known.data(), known.size()));
    ASSERT_TRUE(writeObject(kDiscoveredName, std::vector<unsigned char>(kListBytes, 1)));
    sem_t* semaphore = createServiceSemaphore(1);
    ASSERT_NE(semaphore, SEM_FAILED);
    VelLibShm reader;
    ASSERT_TRUE(reader.initialize("reader"));

    WriterProcess writer;
    ASSERT_TRUE(writer.start());

    // Read until enough reads have overlapped with several versions; the
    // deadline only bounds a broken run.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    std::vector<DEVICE> list(kListRecords);
    std::set<unsigned char> versions;
    std::size_t reads = 0;
    std::size_t torn = 0;
    std::size_t failed = 0;
    while ((reads < 300 || versions.size() < 5) && std::chrono::steady_clock::now() < deadline) {
        if (!reader.readData(list.data(), DISCOVERED_DEVICE_LIST, static_cast<int>(kListBytes))) {
            ++failed;
            continue;
        }
        ++reads;
        if (isUniform(list)) {
            versions.insert(reinterpret_cast<const unsigned char*>(list.data())[0]);
        } else {
            ++torn;
        }
    }
    const int writerStatus = writer.stop();
    sem_close(semaphore);

    EXPECT_EQ(writerStatus, 0);
    EXPECT_EQ(failed, 0u);
    EXPECT_EQ(torn, 0u);
    EXPECT_GE(reads, 300u);
    EXPECT_GE(versions.size(), 5u) << "the reads did not overlap the writes";
}
