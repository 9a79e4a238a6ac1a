// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <chrono>

#include "PrivateBus.h"
#include "SimProcess.h"
#include "StoreTestSupport.h"
#include "WaitUntil.h"
#include "vel/VelLibShm.h"

using namespace storetest;
using namespace std::chrono_literals;

namespace {

constexpr const char* kStoreInterface = "com.qor.vel_sim.Store";

GVariant* bytesArgument(const std::vector<unsigned char>& _bytes)
{
    GVariant* array = g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, _bytes.data(), _bytes.size(), 1);
    return g_variant_new("(@ay)", array);
}

GVariant* idsArgument(const std::vector<std::string>& _ids)
{
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("as"));
    for (const auto& id : _ids) {
        g_variant_builder_add(&builder, "s", id.c_str());
    }
    return g_variant_new("(as)", &builder);
}

// The simulator's store on a private bus, inside the test's own namespace.
class TheSimulatorStore : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(mBus.start()); }

    void startSim(const std::vector<std::string>& _options = {})
    {
        ASSERT_TRUE(mSim.start(_options)) << mSim.log();
        ASSERT_TRUE(mSim.waitForLog("store: open at", 10s)) << mSim.log();
    }

    // Calls a publishing method; true when the simulator says it published.
    bool publish(const char* _method, GVariant* _arguments)
    {
        GVariant* reply = mSim.control(kStoreInterface, _method, _arguments);
        if (reply == nullptr || !g_variant_is_of_type(reply, G_VARIANT_TYPE("(b)"))) {
            if (reply != nullptr) {
                g_variant_unref(reply);
            }
            return false;
        }
        gboolean published = FALSE;
        g_variant_get(reply, "(b)", &published);
        g_variant_unref(reply);
        return published;
    }

    std::vector<unsigned char> readList(VelLibShm& _reader, DEVICE_LIST_TYPE _type, std::size_t _records)
    {
        std::vector<DEVICE> list(_records);
        if (!_reader.readData(list.data(), _type, static_cast<int>(_records * kRecord))) {
            return {};
        }
        const auto* bytes = reinterpret_cast<const unsigned char*>(list.data());
        return std::vector<unsigned char>(bytes, bytes + _records * kRecord);
    }

    StoreCleanup mCleanup;
    veltest::PrivateBus mBus;
    veltest::SimProcess mSim{mBus};
};

std::string idOf(const std::vector<unsigned char>& _list, std::size_t _index)
{
    return reinterpret_cast<const DEVICE*>(_list.data() + _index * kRecord)->deviceId;
}

std::string nameOf(const std::vector<unsigned char>& _list, std::size_t _index)
{
    return reinterpret_cast<const char*>(_list.data() + _index * kRecord);
}

} // namespace

TEST_F(TheSimulatorStore, CreatesTheStoreBeforeItTakesTheServiceName)
{
    startSim();

    EXPECT_EQ(readWholeFile(kVersionPath), "0018");
    EXPECT_TRUE(sameBytes(readWholeFile(kKnownPath), std::string(kKnownListBytes, '\0')));
    EXPECT_EQ(objectSize(kDiscoveredName), static_cast<long>(kRecord));
    sem_t* semaphore = sem_open(kSemaphoreName, 0);
    ASSERT_NE(semaphore, SEM_FAILED);
    EXPECT_EQ(semaphoreValue(semaphore), 1);
    sem_close(semaphore);
}

TEST_F(TheSimulatorStore, PublishesAKnownListThatAReaderReadsByteExact)
{
    startSim();
    std::vector<unsigned char> list = records(10, 0x4B);
    for (std::size_t i = 0; i < list.size(); ++i) {
        list[i] = static_cast<unsigned char>(list[i] ^ (i * 7));
    }
    VelLibShm reader;
    ASSERT_TRUE(reader.initialize("client"));

    ASSERT_TRUE(publish("PublishKnownRaw", bytesArgument(list)));

    EXPECT_TRUE(sameBytes(readList(reader, KNOWN_DEVICE_LIST, 10), list));
    EXPECT_EQ(fileSize(kKnownPath), static_cast<long>(kKnownListBytes));
}

TEST_F(TheSimulatorStore, PublishesDeviceIdsAsADiscoveredListOfExactlyThoseRecords)
{
    startSim();
    VelLibShm reader;
    ASSERT_TRUE(reader.initialize("client"));

    ASSERT_TRUE(publish("PublishDiscovered", idsArgument({"AA:01", "BB:02", "CC:03"})));

    EXPECT_EQ(objectSize(kDiscoveredName), static_cast<long>(3 * kRecord));
    const std::vector<unsigned char> list = readList(reader, DISCOVERED_DEVICE_LIST, 3);
    ASSERT_EQ(list.size(), 3 * kRecord);
    EXPECT_EQ(idOf(list, 0), "AA:01");
    EXPECT_EQ(idOf(list, 1), "BB:02");
    EXPECT_EQ(idOf(list, 2), "CC:03");
}

TEST_F(TheSimulatorStore, PadsAKnownListOfDeviceIdsToTenRecords)
{
    startSim();
    VelLibShm reader;
    ASSERT_TRUE(reader.initialize("client"));

    ASSERT_TRUE(publish("PublishKnown", idsArgument({"K1", "K2"})));

    EXPECT_EQ(fileSize(kKnownPath), static_cast<long>(kKnownListBytes));
    const std::vector<unsigned char> list = readList(reader, KNOWN_DEVICE_LIST, 10);
    ASSERT_EQ(list.size(), kKnownListBytes);
    EXPECT_EQ(idOf(list, 0), "K1");
    EXPECT_EQ(idOf(list, 1), "K2");
    EXPECT_EQ(idOf(list, 2), "");
}

TEST_F(TheSimulatorStore, RefusesAListOfMoreThanTenDevices)
{
    startSim();
    std::vector<std::string> ids;
    for (int i = 0; i < 11; ++i) {
        ids.push_back("D" + std::to_string(i));
    }

    EXPECT_FALSE(publish("PublishKnown", idsArgument(ids)));
    EXPECT_FALSE(publish("PublishDiscovered", idsArgument(ids)));

    EXPECT_TRUE(sameBytes(readWholeFile(kKnownPath), std::string(kKnownListBytes, '\0')));
}

TEST_F(TheSimulatorStore, LeavesOneByteForAnEmptyRawList)
{
    startSim();

    ASSERT_TRUE(publish("PublishDiscoveredRaw", bytesArgument({})));

    EXPECT_EQ(objectSize(kDiscoveredName), 1);
}

TEST_F(TheSimulatorStore, PublishesTheSampleDevicesGivenAtStart)
{
    startSim({std::string("--known-devices=") + VEL_SAMPLE_DEVICES,
              std::string("--discovered-devices=") + VEL_SAMPLE_DEVICES});
    VelLibShm reader;
    ASSERT_TRUE(reader.initialize("client"));

    const std::vector<unsigned char> known = readList(reader, KNOWN_DEVICE_LIST, 10);
    const std::vector<unsigned char> discovered = readList(reader, DISCOVERED_DEVICE_LIST, 3);

    ASSERT_EQ(known.size(), kKnownListBytes);
    EXPECT_EQ(idOf(known, 0), "AC:37:43:9A:1F:02");
    EXPECT_EQ(nameOf(known, 0), "Pixel 7");
    EXPECT_EQ(idOf(known, 1), "F0:99:B6:11:7C:5D");
    EXPECT_EQ(nameOf(known, 1), "iPhone of Dana");
    EXPECT_EQ(idOf(known, 2), "00:1A:7D:DA:71:13");
    EXPECT_EQ(idOf(known, 3), "");
    ASSERT_EQ(discovered.size(), 3 * kRecord);
    EXPECT_TRUE(sameBytes(std::vector<unsigned char>(known.begin(), known.begin() + 3 * kRecord), discovered));
    EXPECT_EQ(objectSize(kDiscoveredName), static_cast<long>(3 * kRecord));
}

TEST_F(TheSimulatorStore, RemovesAStoredKnownListOfTheWrongSizeAtStart)
{
    ASSERT_TRUE(writeFile(kVersionPath, "0018"));
    ASSERT_TRUE(writeFile(kKnownPath, std::string(100, 'x')));

    startSim();

    EXPECT_TRUE(sameBytes(readWholeFile(kKnownPath), std::string(kKnownListBytes, '\0')));
}

TEST_F(TheSimulatorStore, KeepsAValidStoredKnownListAcrossARestart)
{
    startSim();
    const std::vector<unsigned char> list = records(10, 0x2A);
    ASSERT_TRUE(publish("PublishKnownRaw", bytesArgument(list)));
    mSim.stop();
    veltest::SimProcess restarted(mBus);

    ASSERT_TRUE(restarted.start());
    ASSERT_TRUE(restarted.waitForLog("store: kept the stored known-device list", 10s)) << restarted.log();
    VelLibShm reader;
    ASSERT_TRUE(reader.initialize("client"));

    EXPECT_TRUE(sameBytes(readList(reader, KNOWN_DEVICE_LIST, 10), list));
}

TEST_F(TheSimulatorStore, RemovesTheNamesItCreatedWhenItStops)
{
    startSim();

    const int status = mSim.stop();

    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << mSim.log();
    EXPECT_TRUE(mSim.waitForLog("store: closed", 1s));
    EXPECT_FALSE(semaphoreNameExists());
    EXPECT_EQ(objectSize(kDiscoveredName), -1);
    // The known list is kept on file, as the service keeps it.
    EXPECT_EQ(fileSize(kKnownPath), static_cast<long>(kKnownListBytes));
}

TEST_F(TheSimulatorStore, LetsAClientStartedAfterAReaderRemovedTheNamesReadTheCurrentLists)
{
    startSim();
    ASSERT_TRUE(publish("PublishDiscovered", idsArgument({"first", "second"})));
    {
        VelLibShm leaving;
        ASSERT_TRUE(leaving.initialize("leaving"));
    }
    // The simulator sees the names go and puts them back.
    ASSERT_TRUE(veltest::waitUntil([] { return semaphoreNameExists() && objectSize(kDiscoveredName) > 0; }, 10s))
        << mSim.log();
    veltest::LogCapture::clear();

    VelLibShm later;
    ASSERT_TRUE(later.initialize("later"));

    EXPECT_TRUE(logged(libshm(" sem_open() successed ~"), veltest::kSeverityDebug));
    const std::vector<unsigned char> list = readList(later, DISCOVERED_DEVICE_LIST, 2);
    ASSERT_EQ(list.size(), 2 * kRecord);
    EXPECT_EQ(idOf(list, 0), "first");
    EXPECT_EQ(idOf(list, 1), "second");
}

TEST_F(TheSimulatorStore, CreatesTheNamesAgainBeforeItsNextWriteAtTheLatest)
{
    startSim();
    {
        VelLibShm leaving;
        ASSERT_TRUE(leaving.initialize("leaving"));
    }

    ASSERT_TRUE(publish("PublishDiscovered", idsArgument({"after"})));

    EXPECT_TRUE(semaphoreNameExists());
    VelLibShm later;
    ASSERT_TRUE(later.initialize("later"));
    const std::vector<unsigned char> list = readList(later, DISCOVERED_DEVICE_LIST, 1);
    ASSERT_EQ(list.size(), kRecord);
    EXPECT_EQ(idOf(list, 0), "after");
}

TEST_F(TheSimulatorStore, KeepsUpdatingAReaderThatOpenedTheStoreBeforeAnotherReaderLeft)
{
    startSim();
    VelLibShm staying;
    ASSERT_TRUE(staying.initialize("staying"));
    {
        VelLibShm leaving;
        ASSERT_TRUE(leaving.initialize("leaving"));
    }

    ASSERT_TRUE(publish("PublishDiscovered", idsArgument({"fresh-1", "fresh-2"})));

    const std::vector<unsigned char> list = readList(staying, DISCOVERED_DEVICE_LIST, 2);
    ASSERT_EQ(list.size(), 2 * kRecord);
    EXPECT_EQ(idOf(list, 0), "fresh-1");
    EXPECT_EQ(idOf(list, 1), "fresh-2");
}

TEST_F(TheSimulatorStore, WritesAndPostsWhenAReaderLeftTheSemaphoreTaken)
{
    startSim({"--store-lock-timeout=200"});
    VelLibShm reader;
    ASSERT_TRUE(reader.initialize("client"));
    std::vector<DEVICE> unused(1);
    ASSERT_FALSE(reader.readData(unused.data(), static_cast<DEVICE_LIST_TYPE>(2), static_cast<int>(kRecord)));

    ASSERT_TRUE(publish("PublishDiscovered", idsArgument({"despite"})));

    EXPECT_EQ(mSim.countLog("store: /vel.semaphore stayed taken for 200 ms; writing without it"), 1u);
    const std::vector<unsigned char> list = readList(reader, DISCOVERED_DEVICE_LIST, 1);
    ASSERT_EQ(list.size(), kRecord);
    EXPECT_EQ(idOf(list, 0), "despite");
}

TEST_F(TheSimulatorStore, StaysOutOfTheStoreWhenToldSo)
{
    ASSERT_TRUE(mSim.start({"--store=off"})) << mSim.log();

    EXPECT_TRUE(mSim.waitForLog("store: disabled", 10s));
    EXPECT_FALSE(publish("PublishKnown", idsArgument({"x"})));
    EXPECT_FALSE(semaphoreNameExists());
    EXPECT_EQ(fileSize(kKnownPath), -1);
    EXPECT_EQ(objectSize(kDiscoveredName), -1);
}

TEST_F(TheSimulatorStore, CreatesAMissingStoreDirectoryInItsPrivateNamespace)
{
    ASSERT_EQ(rmdir(kStoreDirectory), 0);

    startSim();

    EXPECT_EQ(readWholeFile(kVersionPath), "0018");
    EXPECT_EQ(fileSize(kKnownPath), static_cast<long>(kKnownListBytes));
    EXPECT_TRUE(semaphoreNameExists());
}

TEST_F(TheSimulatorStore, PublishesWhenToldToWhereverItRuns)
{
    startSim({"--store=on"});

    EXPECT_EQ(fileSize(kKnownPath), static_cast<long>(kKnownListBytes));
    EXPECT_TRUE(semaphoreNameExists());
}

TEST_F(TheSimulatorStore, RefusesAnUnknownStoreMode)
{
    ASSERT_TRUE(mSim.start({"--store=sometimes"})) << mSim.log();

    EXPECT_TRUE(mSim.waitForLog("store: disabled: unknown --store mode sometimes (auto, on or off)", 10s));
    EXPECT_FALSE(semaphoreNameExists());
}

TEST(TheSimulatorHelp, DocumentsTheStoreControlMethods)
{
    veltest::TempDir dir;
    veltest::ChildProcess help;
    ASSERT_TRUE(help.start({veltest::simulatorPath(), "--help"}, dir.file("help.txt")));
    ASSERT_NE(help.waitExit(10s), -1);

    const std::string text = veltest::readFile(dir.file("help.txt"));
    for (const char* expected : {"--known-devices=FILE", "--discovered-devices=FILE", "--store=MODE",
                                 "com.qor.vel_sim.Store", "PublishKnown(as deviceIds)",
                                 "PublishDiscovered(as deviceIds)", "PublishKnownRaw(ay bytes)",
                                 "PublishDiscoveredRaw(ay bytes)"}) {
        EXPECT_NE(text.find(expected), std::string::npos) << expected << " missing from:\n" << text;
    }
}
