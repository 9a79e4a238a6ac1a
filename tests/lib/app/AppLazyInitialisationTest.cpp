// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <dirent.h>
#include <fcntl.h>
#include <semaphore.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <cstring>
#include <fstream>
#include <new>

#include "AppTestSupport.h"
#include "vel/VelLibShm.h"
#include "vel/VelTypes.h"

namespace {
// While set, the library's non-throwing allocation of a device-list reader fails.
std::atomic<bool> gRefuseReaderAllocation{false};
} // namespace

// The library makes its reader with new (std::nothrow); this stands in for a
// process out of memory at that moment. Everything else goes to the ordinary
// allocator, so that sanitizers see matching allocations and releases.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    if (gRefuseReaderAllocation && size == sizeof(VelLibShm)) {
        return nullptr;
    }
    try {
        return ::operator new(size);
    } catch (...) {
        return nullptr;
    }
}

using apptest::appLine;
using apptest::idsOf;
using apptest::recorder;
using veltest::LogCapture;

namespace {

constexpr std::chrono::seconds kWait(20);
constexpr const char* kKnownPath = "/data/qor/vel/vel.known_devices";
constexpr const char* kSemaphoreName = "/vel.semaphore";

std::string proxyLine(const std::string& function, const std::string& text)
{
    return "[VELLIB]" + apptest::adjustedName(apptest::kClientName) + "[" + function + "] " + text;
}

// Open descriptors of this process whose target names the fragment.
std::size_t openDescriptorsOf(const std::string& fragment)
{
    std::size_t count = 0;
    DIR* directory = opendir("/proc/self/fd");
    if (directory == nullptr) {
        return 0;
    }
    while (const dirent* entry = readdir(directory)) {
        const std::string link = std::string("/proc/self/fd/") + entry->d_name;
        char target[PATH_MAX];
        const ssize_t length = readlink(link.c_str(), target, sizeof(target) - 1);
        if (length > 0 && std::string(target, static_cast<std::size_t>(length)).find(fragment) != std::string::npos) {
            ++count;
        }
    }
    closedir(directory);
    return count;
}

// Mappings of this process whose file names the fragment.
std::size_t mappingsOf(const std::string& fragment)
{
    std::ifstream maps("/proc/self/maps");
    std::size_t count = 0;
    for (std::string line; std::getline(maps, line);) {
        count += line.find(fragment) != std::string::npos ? 1 : 0;
    }
    return count;
}

bool semaphoreNameExists()
{
    struct stat st;
    return stat("/dev/shm/sem.vel.semaphore", &st) == 0;
}

// The application facade meets a service that has no device store yet; the
// service then restarts with its store.
class AnAppClientThatMetTheServiceBeforeItsStore : public apptest::AppClientTest {
protected:
    void TearDown() override
    {
        apptest::AppClientTest::TearDown();
        // Names this test made itself; the simulator removes its own.
        sem_unlink(kSemaphoreName);
        unlink(kKnownPath);
    }

    // Initialises against a service without a store and waits for the failure.
    void failFirstInitialisation()
    {
        ASSERT_TRUE(mBus.start());
        ASSERT_TRUE(mSim.start({"--store=off"}));
        mApp = VelComProxyApp::getInstance(static_cast<CLIENT_TYPE_e>(100), apptest::kClientName, &recorder(0));
        ASSERT_NE(mApp, nullptr);
        apptest::waitForMainLoopThread();
        ASSERT_TRUE(mApp->doInitialize());
        ASSERT_TRUE(LogCapture::waitFor("Lazy initialize is in fail", kWait));
    }

    // Restarts the simulator with its store and waits until the facade has
    // registered and reported ready.
    void restartServiceWithStore()
    {
        mSim.stop();
        ASSERT_TRUE(LogCapture::waitFor("D-Bus service name is vanished.", kWait));
        ASSERT_TRUE(mSim.start());
        ASSERT_TRUE(simLogged("call registerMe (uint32 100,")) << "the facade never registered";
        ASSERT_TRUE(recorder(0).waitFor("onRcvMVELReady(true)", 1, kWait));
    }

    void expectKnownListDelivered()
    {
        const std::vector<DEVICE> written = publishDevices(KNOWN_DEVICE_LIST, {"dev-A", "dev-B"}, true);
        ASSERT_TRUE(recorder(0).waitFor("onRcvUpdateKnownDevices", 1, kWait));
        const std::vector<DEVICE> delivered = recorder(0).calls("onRcvUpdateKnownDevices").at(0).devices;
        ASSERT_EQ(idsOf(delivered), (std::vector<std::string>{"dev-A", "dev-B"}));
        ASSERT_GE(written.size(), 2u);
        for (std::size_t i = 0; i < 2; ++i) {
            EXPECT_EQ(std::memcmp(&delivered[i], &written[i], sizeof(DEVICE)), 0) << "record " << i;
        }
        EXPECT_EQ(LogCapture::count("mpVellSema is null! Return!"), 0u);
    }

    // One reader's worth of handles: one descriptor and one mapping per list,
    // one mapping of the semaphore, and the service's semaphore still named.
    static void expectExactlyOneReader()
    {
        EXPECT_EQ(openDescriptorsOf("vel.known_devices"), 1u);
        EXPECT_EQ(openDescriptorsOf("vel.discovered_devices"), 1u);
        EXPECT_EQ(mappingsOf("vel.known_devices"), 1u);
        EXPECT_EQ(mappingsOf("vel.discovered_devices"), 1u);
        EXPECT_EQ(mappingsOf("sem.vel.semaphore"), 1u);
        EXPECT_TRUE(semaphoreNameExists());
    }
};

using AnAppClientOutOfMemoryForItsReader = apptest::AppClientTest;

} // namespace

TEST_F(AnAppClientThatMetTheServiceBeforeItsStore, ReadsTheKnownListOnceTheServiceReturnsWithItsStore)
{
    failFirstInitialisation();
    ASSERT_FALSE(HasFatalFailure());
    EXPECT_TRUE(LogCapture::hasExact("[VELLIBSHM] @@@ ERR. sem_open() failed! (errno:2)", veltest::kSeverityError));
    EXPECT_TRUE(LogCapture::hasExact(appLine("lazyInitialize", "@@@ ERR. mpVellShm->initialize() failed! Return!"),
                                     veltest::kSeverityError));
    EXPECT_TRUE(LogCapture::hasExact(proxyLine("agentCallback", "@@@ ERR. Lazy initialize is in fail. Return !!!"),
                                     veltest::kSeverityError));
    EXPECT_EQ(mSim.countLog("call registerMe"), 0u);
    EXPECT_EQ(recorder(0).count("onRcvMVELReady(true)"), 0u);

    restartServiceWithStore();
    ASSERT_FALSE(HasFatalFailure());
    expectKnownListDelivered();
    expectExactlyOneReader();
}

TEST_F(AnAppClientThatMetTheServiceBeforeItsStore, LeavesNothingOfAHalfOpenedStoreBehindWhenItRetries)
{
    // Half a store: the semaphore and the known list, no discovered list. The
    // first reader opens and maps what there is, then fails.
    sem_t* semaphore = sem_open(kSemaphoreName, O_CREAT, 0666, 1);
    ASSERT_NE(semaphore, SEM_FAILED);
    sem_close(semaphore);
    const int known = open(kKnownPath, O_CREAT | O_RDWR, 0666);
    ASSERT_GT(known, 0);
    ASSERT_EQ(ftruncate(known, VEL_DEVICE_LIST_BYTES), 0);
    close(known);

    failFirstInitialisation();
    ASSERT_FALSE(HasFatalFailure());
    EXPECT_TRUE(LogCapture::hasExact("[VELLIBSHM] mVellShmKnownDevInfo is successfully composed ~ ",
                                     veltest::kSeverityInfo));
    EXPECT_TRUE(LogCapture::hasExact(
        "[VELLIBSHM] @@@ ERR. (!composShmDeviceInfo_l(mVellShmDiscoveredDevInfo)) is true! ", veltest::kSeverityError));
    EXPECT_EQ(openDescriptorsOf("vel.known_devices"), 1u);

    restartServiceWithStore();
    ASSERT_FALSE(HasFatalFailure());
    EXPECT_TRUE(LogCapture::hasExact("[VELLIBSHM] Reader released; the service's semaphore and lists are kept",
                                     veltest::kSeverityInfo));
    expectKnownListDelivered();
    expectExactlyOneReader();
}

TEST_F(AnAppClientOutOfMemoryForItsReader, ReportsTheMissingReaderAndDoesNotRegister)
{
    ASSERT_TRUE(mBus.start());
    ASSERT_TRUE(mSim.start());
    gRefuseReaderAllocation = true;
    mApp = VelComProxyApp::getInstance(static_cast<CLIENT_TYPE_e>(100), apptest::kClientName, &recorder(0));
    ASSERT_NE(mApp, nullptr);
    ASSERT_TRUE(mApp->doInitialize());
    const bool failed = LogCapture::waitFor("Lazy initialize is in fail", kWait);
    gRefuseReaderAllocation = false;
    ASSERT_TRUE(failed);

    EXPECT_TRUE(LogCapture::hasExact(appLine("lazyInitialize", "@@@ ERR. mpVellShm is NULL! Return!"),
                                     veltest::kSeverityError));
    EXPECT_EQ(LogCapture::count("VelLibShm() constructor"), 0u);
    EXPECT_EQ(mSim.countLog("call registerMe"), 0u);
    EXPECT_EQ(recorder(0).count("onRcvMVELReady(true)"), 0u);
}
