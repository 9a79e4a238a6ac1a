// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// What a recording keeps of a session: by default no secret and no personal
// identifier, planted into every method, signal and device record that can
// carry one; pseudonyms that stay the same for the same value; a file that
// only its owner can read and that never replaces another; and a replay of
// the pseudonymised recording that the application cannot tell apart.

#include <gio/gio.h>
#include <gtest/gtest.h>
#include <semaphore.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <regex>
#include <set>
#include <thread>

#include "PrivateBus.h"
#include "RecordingReader.h"
#include "SimProcess.h"
#include "VelctlRunner.h"
#include "WaitUntil.h"

using namespace velctltest;

namespace {

const char* const kKnownFile = "/data/qor/vel/vel.known_devices";

// The values planted into the session; none may reach the file.
const char* const kPhoneMac = "A4:C1:38:5E:77:90";
const char* const kTabletMac = "F0:99:B6:11:7C:5D";
const char* const kPhoneName = "Annas Pixel 9";
const char* const kTabletName = "Tablet of Jonas";
const char* const kSerial = "SN8XK2Q7Z1";
const char* const kSsid = "HomeNet-Fritz7590";
const char* const kPassphrase = "correct horse battery";
const char* const kIp = "192.168.178.23";
const char* const kBssid = "3c:22:fb:01:02:03";
const char* const kLinkIp = "10.20.30.40";
const char* const kHostName = "planted-host-4711";

std::vector<std::string> plantedValues()
{
    std::vector<std::string> values = {kPhoneMac, kTabletMac, kPhoneName, kTabletName, kSerial, kSsid,
                                       kPassphrase, kIp, kBssid, kLinkIp, kHostName};
    // Addresses in either case.
    for (const char* mac : {kPhoneMac, kTabletMac, kBssid}) {
        gchar* lower = g_ascii_strdown(mac, -1);
        gchar* upper = g_ascii_strup(mac, -1);
        values.emplace_back(lower);
        values.emplace_back(upper);
        g_free(lower);
        g_free(upper);
    }
    return values;
}

void removeStore()
{
    ::unlink(kKnownFile);
    ::unlink("/data/qor/vel/vel.version");
    ::shm_unlink("/vel.discovered_devices");
    ::sem_unlink("/vel.semaphore");
}

// velctl record in a UTS namespace of its own, so that the host name it
// finds is a planted one; started under umask 022.
class PlantedHostRecorder {
public:
    PlantedHostRecorder(const std::string& path, const std::vector<std::string>& options, veltest::TempDir& dir)
        : mOutput(dir.file("recorder-" + std::to_string(++sCount) + ".out"))
    {
        std::string command = "hostname " + std::string(kHostName) + " && exec \"$0\" record \"$1\"";
        std::vector<std::string> argv = {"/usr/bin/unshare", "--uts", "/bin/sh", "-c", command, VELCTL_PATH, path};
        for (std::size_t index = 0; index < options.size(); ++index) {
            argv[4] += " \"$" + std::to_string(index + 2) + "\"";
            argv.push_back(options[index]);
        }
        const mode_t previous = ::umask(022);
        const bool started = mProcess.start(argv, mOutput);
        ::umask(previous);
        mStarted = started && veltest::waitUntil(
                                  [&] {
                                      return veltest::readFile(mOutput).find("recording com.qor.vel_communicator") !=
                                                 std::string::npos ||
                                             !mProcess.running();
                                  },
                                  15s) &&
                   mProcess.running();
    }
    bool started() const { return mStarted; }
    int stop()
    {
        mProcess.signal(SIGINT);
        const int status = mProcess.waitExit(10s);
        return status != -1 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    std::string output() const { return veltest::readFile(mOutput); }

private:
    static int sCount;
    std::string mOutput;
    veltest::ChildProcess mProcess;
    bool mStarted = false;
};

int PlantedHostRecorder::sCount = 0;

// Calls the service's methods the way the core engine and the Bluetooth
// peers do; what the simulator answers does not matter here.
void callService(const std::string& address, const char* method, GVariant* parameters)
{
    GDBusConnection* connection = g_dbus_connection_new_for_address_sync(
        address.c_str(),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, nullptr);
    ASSERT_NE(connection, nullptr);
    GVariant* reply = g_dbus_connection_call_sync(connection, "com.qor.vel_communicator", "/com/qor/vel_communicator",
                                                  "com.qor.vel_communicator", method, parameters, nullptr,
                                                  G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, nullptr);
    if (reply != nullptr) {
        g_variant_unref(reply);
    }
    g_object_unref(connection);
}

GVariant* credentials()
{
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("a(ssyuuss)"));
    g_variant_builder_add(&builder, "(ssyuuss)", kSsid, kPassphrase, 6, 3u, 7000u, kIp, kBssid);
    return g_variant_builder_end(&builder);
}

// One session that carries every kind of planted value, in calls, answers,
// signals and the store's records.
void runPlantedSession(veltest::PrivateBus& bus, veltest::SimProcess& sim)
{
    const VelctlRun paired = runVelctl({"app", "paired", kPhoneMac});
    EXPECT_EQ(paired.status, 0) << paired.err;
    const VelctlRun wifi = runVelctl({"core", "wifi-credentials"});
    EXPECT_EQ(wifi.status, 0) << wifi.err;
    const VelctlRun deviceId = runVelctl({"core", "device-id", "4", kTabletMac});
    EXPECT_EQ(deviceId.status, 0) << deviceId.err;
    const std::string& address = bus.address();
    callService(address, "informFromCore", g_variant_new("(uuususb)", 2u, 13u, 900u, "1234", 28u, kPhoneMac, TRUE));
    callService(address, "informFromCore", g_variant_new("(uuususb)", 4u, 13u, 900u, "1234", 4u, kPhoneName, TRUE));
    callService(address, "informFromCore", g_variant_new("(uuususb)", 7u, 13u, 900u, "1234", 28u, kSerial, TRUE));
    callService(address, "informFromCore",
                g_variant_new("(uuususb)", 5u, 13u, 0u, "1234", 4u, kTabletName, TRUE));
    callService(address, "actionFromCore", g_variant_new("(uusbs)", 200u, 0u, kTabletMac, FALSE, ""));
    callService(address, "sendBTDeviceInfo", g_variant_new("(ssu)", kPhoneMac, kPhoneName, 1u));
    callService(address, "informFromBT", g_variant_new("(usuu)", 1u, kTabletMac, 0u, 2u));
    ASSERT_TRUE(sim.emitSignal("actionToCore", g_variant_new("(uusuuusssuu)", 1u, 1u, "1234", 1u, 2u, 3u, kSerial,
                                                             "/dev/bus/usb/001/004", kPhoneMac, 0u, 0u)));
    ASSERT_TRUE(sim.emitSignal("checkCapability", g_variant_new("(suss@a(ssyuuss))", "1234", 4u, "/dev/rfcomm0",
                                                                kPhoneMac, credentials())));
    ASSERT_TRUE(sim.emitSignal("noticeToCoreLinkLoss", g_variant_new("(s)", kLinkIp)));
    ASSERT_TRUE(sim.emitSignal("noticeToBT", g_variant_new("(usuus)", 1u, kTabletMac, 2u, 1u, kTabletName)));
}

// What every JSON string of the file that is base64 decodes to.
std::vector<std::string> decodedFields(const std::string& text)
{
    std::vector<std::string> decoded;
    std::size_t index = 0;
    while ((index = text.find('"', index)) != std::string::npos) {
        std::size_t end = index + 1;
        while (end < text.size() && text[end] != '"') {
            end += text[end] == '\\' ? 2 : 1;
        }
        const std::string value = text.substr(index + 1, end - index - 1);
        index = end + 1;
        const bool base64 = value.size() >= 4 && value.size() % 4 == 0 &&
                            value.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=") ==
                                std::string::npos;
        if (!base64) {
            continue;
        }
        gsize length = 0;
        guchar* bytes = g_base64_decode(value.c_str(), &length);
        decoded.emplace_back(reinterpret_cast<const char*>(bytes), length);
        g_free(bytes);
    }
    return decoded;
}

const velrec::Event* findEvent(const velrec::Recording& recording, velrec::EventKind kind, const std::string& member,
                               const std::string& argsPrefix = "")
{
    for (const velrec::Event& event : recording.events) {
        if (event.kind == kind && event.member == member && event.args.compare(0, argsPrefix.size(), argsPrefix) == 0) {
            return &event;
        }
    }
    return nullptr;
}

std::string firstQuoted(const std::string& args)
{
    const std::size_t open = args.find('\'');
    return open == std::string::npos ? "" : args.substr(open + 1, args.find('\'', open + 1) - open - 1);
}

std::vector<std::string> knownIds(const std::vector<guint8>& records)
{
    std::vector<std::string> ids;
    for (std::size_t base = 0; base + 12492 <= records.size(); base += 12492) {
        const char* id = reinterpret_cast<const char*>(&records[base + 4608]);
        if (*id == '\0') {
            break;
        }
        ids.emplace_back(id, strnlen(id, 256));
    }
    return ids;
}

class RecordingPrivacy : public ::testing::Test {
protected:
    void SetUp() override
    {
        removeStore();
        mDevices = mDir.file("devices.txt");
        std::ofstream(mDevices) << kPhoneMac << " " << kPhoneName << "\n" << kTabletMac << " " << kTabletName << "\n";
    }
    void TearDown() override { removeStore(); }

    std::vector<std::string> simOptions() const
    {
        return {"--store=on", "--known-devices=" + mDevices, "--app-announce",
                std::string("--core-wifi-credentials=") + kSsid + "," + kPassphrase + ",6,3,7000," + kIp + "," + kBssid};
    }

    // Records the planted session; the recording's text.
    std::string recordPlantedSession(const std::string& path, const std::vector<std::string>& options = {})
    {
        veltest::PrivateBus bus;
        EXPECT_TRUE(bus.start());
        veltest::SimProcess sim(bus);
        EXPECT_TRUE(sim.start(simOptions()));
        PlantedHostRecorder recorder(path, options, mDir);
        EXPECT_TRUE(recorder.started()) << recorder.output();
        runPlantedSession(bus, sim);
        // The last signal on disk: the recorder writes at least every 100 ms.
        EXPECT_TRUE(veltest::waitUntil(
            [&] { return veltest::readFile(path).find("\"noticeToBT\"") != std::string::npos; }, 15s));
        EXPECT_EQ(recorder.stop(), 0) << recorder.output();
        return veltest::readFile(path);
    }

    veltest::TempDir mDir;
    std::string mDevices;
};

} // namespace

TEST_F(RecordingPrivacy, KeepsNoPlantedSecretOrIdentifierInTheFileNorInItsBase64Records)
{
    const std::string path = mDir.file("car.jsonl");
    const std::string text = recordPlantedSession(path);
    ASSERT_FALSE(text.empty());
    for (const std::string& value : plantedValues()) {
        EXPECT_EQ(text.find(value), std::string::npos) << "the file holds " << value;
    }
    const std::vector<std::string> decoded = decodedFields(text);
    ASSERT_FALSE(decoded.empty());
    for (const std::string& bytes : decoded) {
        for (const std::string& value : plantedValues()) {
            EXPECT_EQ(bytes.find(value), std::string::npos) << "a base64 field holds " << value;
        }
    }
    velrec::Recording recording;
    std::string error;
    ASSERT_TRUE(velrec::parseRecording(text, recording, error)) << error;
    EXPECT_EQ(recording.header.personalInfo, "pseudonymised");
    EXPECT_EQ(recording.header.host.size(), std::string(kHostName).size());
    EXPECT_EQ(recording.header.host[0], '~');

    // The credentials: a marker for the passphrase, every other field shaped
    // as before.
    const velrec::Event* reply = findEvent(recording, velrec::EventKind::Reply, "actionFromCore");
    ASSERT_NE(reply, nullptr);
    const std::regex credential(
        R"(\('', \[\('~[0-9a-f]{16}', '<secret>', byte 0x06, uint32 3, uint32 7000, '198\.18\.\d+\.\d+', '02:00:5e:10:[0-9a-f]{2}:[0-9a-f]{2}'\)\]\))");
    EXPECT_TRUE(std::regex_match(reply->args, credential)) << reply->args;
}

TEST_F(RecordingPrivacy, GivesTheSameAddressTheSamePseudonymInCallsSignalsAndStoreRecords)
{
    const std::string path = mDir.file("car.jsonl");
    const std::string text = recordPlantedSession(path);
    velrec::Recording recording;
    std::string error;
    ASSERT_TRUE(velrec::parseRecording(text, recording, error)) << error;

    const velrec::Event* macReport = findEvent(recording, velrec::EventKind::Call, "informFromCore", "(uint32 2,");
    ASSERT_NE(macReport, nullptr);
    const std::regex report(R"(\(uint32 2, uint32 13, uint32 900, '1234', uint32 28, '(02:00:5E:10:[0-9A-F]{2}:[0-9A-F]{2})', true\))");
    std::smatch match;
    ASSERT_TRUE(std::regex_match(macReport->args, match, report)) << macReport->args;
    const std::string phone = match[1];

    const velrec::Event* paired = findEvent(recording, velrec::EventKind::Call, "actionFromApp");
    ASSERT_NE(paired, nullptr);
    EXPECT_EQ(firstQuoted(paired->args), phone) << paired->args;
    const velrec::Event* action = findEvent(recording, velrec::EventKind::Signal, "actionToCore");
    ASSERT_NE(action, nullptr);
    EXPECT_NE(action->args.find("'" + phone + "'"), std::string::npos) << action->args;
    const velrec::Event* info = findEvent(recording, velrec::EventKind::Call, "sendBTDeviceInfo");
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(firstQuoted(info->args), phone) << info->args;

    // The known list's first record is the phone, its name as long as before.
    const velrec::Event* notice = findEvent(recording, velrec::EventKind::Signal, "noticeToApp", "(uint32 0,");
    ASSERT_NE(notice, nullptr);
    ASSERT_TRUE(notice->hasKnown);
    const std::vector<std::string> ids = knownIds(notice->known);
    ASSERT_EQ(ids.size(), 2u);
    EXPECT_EQ(ids[0], phone);
    const std::string name(reinterpret_cast<const char*>(notice->known.data()));
    EXPECT_EQ(name.size(), std::string(kPhoneName).size());
    // The friendly name reported on the bus became the same pseudonym.
    const velrec::Event* nameReport = findEvent(recording, velrec::EventKind::Call, "informFromCore", "(uint32 4,");
    ASSERT_NE(nameReport, nullptr);
    EXPECT_NE(nameReport->args.find("'" + name + "'"), std::string::npos) << nameReport->args << " " << name;
}

TEST_F(RecordingPrivacy, WritesAFileOnlyItsOwnerReadsAndNeverReplacesOneUnlessForced)
{
    const std::string path = mDir.file("car.jsonl");
    recordPlantedSession(path);
    struct stat info {};
    ASSERT_EQ(::stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0600u);

    std::ofstream(mDir.file("other.jsonl")) << "someone else's file\n";
    ::chmod(mDir.file("other.jsonl").c_str(), 0644);
    {
        veltest::PrivateBus bus;
        ASSERT_TRUE(bus.start());
        const VelctlRun refused = runVelctl({"record", mDir.file("other.jsonl")});
        EXPECT_EQ(refused.status, 1);
        EXPECT_EQ(refused.err, "velctl: " + mDir.file("other.jsonl") + " exists; give --force to overwrite it\n");
        EXPECT_EQ(veltest::readFile(mDir.file("other.jsonl")), "someone else's file\n");
    }
    recordPlantedSession(mDir.file("other.jsonl"), {"--force"});
    ASSERT_EQ(::stat(mDir.file("other.jsonl").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0600u);
    EXPECT_EQ(veltest::readFile(mDir.file("other.jsonl")).rfind("{\"format\":\"vel-recording\"", 0), 0u);
}

TEST_F(RecordingPrivacy, KeepsEverythingOnlyWhenAskedToIncludePersonalInfo)
{
    const std::string path = mDir.file("car.jsonl");
    const std::string text = recordPlantedSession(path, {"--include-personal-info"});
    for (const char* value : {kPhoneMac, kSerial, kSsid, kPassphrase, kIp, kBssid, kLinkIp, kHostName}) {
        EXPECT_NE(text.find(value), std::string::npos) << value;
    }
    velrec::Recording recording;
    std::string error;
    ASSERT_TRUE(velrec::parseRecording(text, recording, error)) << error;
    EXPECT_EQ(recording.header.personalInfo, "included");
    EXPECT_EQ(recording.header.host, kHostName);
}

// The pseudonymised recording replayed at the desk: the application sees the
// same devices in the same order (by their pseudonyms), asks the same, and
// the desk's recording, pseudonymised in turn, compares equal.
TEST_F(RecordingPrivacy, ReplaysAPseudonymisedRecordingThatComparesEqual)
{
    const std::string car = mDir.file("car.jsonl");
    const std::string desk = mDir.file("desk.jsonl");
    std::string carWatch;
    // A watch that sees both lists and acknowledges them, then, once it is
    // gone, a request about the first device: every registration announces
    // both lists, and with no watch left nobody acknowledges the second
    // announcement, so both sessions make the same calls in one order.
    const auto session = [&](veltest::SimProcess& sim, const std::string& recordingPath,
                             const std::function<std::string(const std::string&)>& deviceOf, std::string& watchOut) {
        RunningVelctl watch({"app", "watch"});
        ASSERT_TRUE(watch.waitForOut("known devices", 15s)) << watch.out() << watch.err() << sim.log();
        ASSERT_TRUE(watch.waitForOut("discovered devices", 15s)) << watch.out() << watch.err() << sim.log();
        ASSERT_TRUE(veltest::waitUntil(
            [&] {
                const std::string text = veltest::readFile(recordingPath);
                const std::size_t first = text.find("\"informFromApp\"");
                return first != std::string::npos && text.find("\"informFromApp\"", first + 1) != std::string::npos;
            },
            15s));
        watch.process().signal(SIGINT);
        EXPECT_NE(watch.process().waitExit(10s), -1);
        watchOut = watch.out();
        const VelctlRun paired = runVelctl({"app", "paired", deviceOf(watchOut)});
        EXPECT_EQ(paired.status, 0) << paired.err;
        ASSERT_TRUE(veltest::waitUntil(
            [&] { return veltest::readFile(recordingPath).find("\"actionFromApp\"") != std::string::npos; }, 15s));
    };
    // The first device the watch listed.
    const auto firstListed = [](const std::string& watchOut) {
        const std::string prefix = "known devices (result 1): ";
        const std::size_t start = watchOut.find(prefix);
        if (start == std::string::npos) {
            return std::string();
        }
        const std::size_t from = start + prefix.size();
        return watchOut.substr(from, watchOut.find_first_of(",\n", from) - from);
    };
    {
        veltest::PrivateBus bus;
        ASSERT_TRUE(bus.start());
        veltest::SimProcess sim(bus);
        ASSERT_TRUE(sim.start(simOptions()));
        PlantedHostRecorder recorder(car, {}, mDir);
        ASSERT_TRUE(recorder.started()) << recorder.output();
        session(sim, car, firstListed, carWatch);
        EXPECT_EQ(recorder.stop(), 0);
    }
    EXPECT_NE(carWatch.find(std::string("known devices (result 1): ") + kPhoneMac + ", " + kTabletMac),
              std::string::npos)
        << carWatch;
    velrec::Recording recording;
    std::string error;
    ASSERT_TRUE(velrec::loadRecording(car, recording, error)) << error;
    const velrec::Event* notice = findEvent(recording, velrec::EventKind::Signal, "noticeToApp", "(uint32 0,");
    ASSERT_NE(notice, nullptr);
    const std::vector<std::string> pseudonyms = knownIds(notice->known);
    ASSERT_EQ(pseudonyms.size(), 2u);

    removeStore();
    std::string deskWatch;
    {
        veltest::PrivateBus bus;
        ASSERT_TRUE(bus.start());
        veltest::SimProcess sim(bus);
        ASSERT_TRUE(sim.start({"--replay", car}));
        PlantedHostRecorder recorder(desk, {}, mDir);
        ASSERT_TRUE(recorder.started()) << recorder.output();
        session(sim, desk, firstListed, deskWatch);
        EXPECT_EQ(recorder.stop(), 0);
        EXPECT_EQ(sim.log().find("unexpected call"), std::string::npos) << sim.log();
    }
    EXPECT_NE(deskWatch.find("known devices (result 1): " + pseudonyms[0] + ", " + pseudonyms[1]), std::string::npos)
        << deskWatch;
    const VelctlRun diff = runVelctl({"replay-diff", car, desk});
    EXPECT_EQ(diff.status, 0) << diff.out << diff.err;
    EXPECT_EQ(diff.out.rfind("the same ", 0), 0u) << diff.out;
    EXPECT_NE(diff.out.find(" calls in the same order\n"), std::string::npos) << diff.out;
}

// A peer's call that the interface does not have, or a list notice whose
// count no list can hold, would make the recording one that the replay
// refuses: the first is left out, the second recorded without a snapshot.
TEST_F(RecordingPrivacy, LeavesOutWhatNoReplayCouldPlaySoItsRecordingsAlwaysReplay)
{
    const std::string path = mDir.file("car.jsonl");
    {
        veltest::PrivateBus bus;
        ASSERT_TRUE(bus.start());
        veltest::SimProcess sim(bus);
        ASSERT_TRUE(sim.start(simOptions()));
        PlantedHostRecorder recorder(path, {}, mDir);
        ASSERT_TRUE(recorder.started()) << recorder.output();
        callService(bus.address(), "formatDisk", g_variant_new("(s)", "/"));
        GVariant* malformed = sim.control("com.qor.vel_sim.Core", "SetMalformedReply", g_variant_new("(b)", TRUE));
        ASSERT_NE(malformed, nullptr);
        g_variant_unref(malformed);
        EXPECT_EQ(runVelctl({"core", "bt-mac"}).status, 1);
        ASSERT_TRUE(sim.emitSignal("noticeToApp", g_variant_new("(usi)", 0u, "15", 0)));
        ASSERT_TRUE(sim.emitSignal("noticeToApp", g_variant_new("(usi)", 7u, "d1", 6)));
        ASSERT_TRUE(veltest::waitUntil(
            [&] { return veltest::readFile(path).find("'d1'") != std::string::npos; }, 15s));
        EXPECT_EQ(recorder.stop(), 0);
    }
    const std::string text = veltest::readFile(path);
    EXPECT_EQ(text.find("formatDisk"), std::string::npos);
    velrec::Recording recording;
    std::string error;
    ASSERT_TRUE(velrec::parseRecording(text, recording, error)) << error;
    const velrec::Event* notice = findEvent(recording, velrec::EventKind::Signal, "noticeToApp", "(uint32 0, '15',");
    ASSERT_NE(notice, nullptr);
    EXPECT_FALSE(notice->hasKnown);
    // bt-mac's call is there, its malformed answer is not.
    EXPECT_NE(findEvent(recording, velrec::EventKind::Call, "actionFromCore"), nullptr);
    EXPECT_EQ(findEvent(recording, velrec::EventKind::Reply, "actionFromCore"), nullptr);
    const VelctlRun diff = runVelctl({"replay-diff", path, path});
    EXPECT_EQ(diff.status, 0) << diff.err;
}
