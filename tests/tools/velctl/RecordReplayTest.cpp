// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// velctl record, mvel-sim --replay and velctl replay-diff end to end: a
// session recorded against the simulator is replayed on a fresh bus and a
// fresh store, and the clients see the same thing.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <semaphore.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <thread>

#include "PrivateBus.h"
#include "RecordingReader.h"
#include "SimProcess.h"
#include "VelctlRunner.h"
#include "WaitUntil.h"

using namespace velctltest;

namespace {

const char* const kKnownFile = "/data/qor/vel/vel.known_devices";

// What the clients printed in one session.
struct SessionOutput {
    std::string connect;
    std::string paired;
    std::string watch;
};

void writeFile(const std::string& path, const std::string& text)
{
    std::ofstream(path, std::ios::binary) << text;
}

// The test runs in a store namespace of its own; this empties it as a new
// head unit or desk machine would have it.
void removeStore()
{
    ::unlink(kKnownFile);
    ::unlink("/data/qor/vel/vel.version");
    ::shm_unlink("/vel.discovered_devices");
    ::sem_unlink("/vel.semaphore");
}

// velctl record, started and waited for until it monitors the bus.
class Recorder {
public:
    explicit Recorder(const std::string& path, const std::vector<std::string>& options = {})
        : mRun(withOptions({"record", path}, options)), mPath(path)
    {
        mStarted = mRun.waitForOut("recording com.qor.vel_communicator to " + path, 15s);
    }
    bool started() const { return mStarted; }
    // Waits until the recording holds `text` at least `count` times. The
    // recorder sees the bus's messages after the programs that exchanged them,
    // and later still on a slow or emulated machine, so a test waits for
    // what it will look for before it stops the recorder.
    bool waitForRecorded(const std::string& text, std::size_t count = 1) const
    {
        return veltest::waitUntil(
            [&] {
                const std::string recorded = veltest::readFile(mPath);
                std::size_t found = 0;
                for (std::size_t at = recorded.find(text); at != std::string::npos;
                     at = recorded.find(text, at + text.size())) {
                    ++found;
                }
                return found >= count;
            },
            15s);
    }
    // SIGINT, as Ctrl-C; the exit status, or -1.
    int stop()
    {
        mRun.process().signal(SIGINT);
        const int status = mRun.process().waitExit(10s);
        return status != -1 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    std::string out() const { return mRun.out(); }
    std::string err() const { return mRun.err(); }

private:
    static std::vector<std::string> withOptions(std::vector<std::string> arguments,
                                                const std::vector<std::string>& options)
    {
        arguments.insert(arguments.end(), options.begin(), options.end());
        return arguments;
    }

    RunningVelctl mRun;
    std::string mPath;
    bool mStarted = false;
};

int stopWatch(RunningVelctl& watch)
{
    watch.process().signal(SIGINT);
    const int status = watch.process().waitExit(10s);
    return status != -1 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

velrec::Recording load(const std::string& path)
{
    velrec::Recording recording;
    std::string error;
    EXPECT_TRUE(velrec::loadRecording(path, recording, error)) << error;
    return recording;
}

std::vector<const velrec::Event*> signalsNamed(const velrec::Recording& recording, const std::string& member)
{
    std::vector<const velrec::Event*> found;
    for (const velrec::Event& event : recording.events) {
        if (event.kind == velrec::EventKind::Signal && event.member == member) {
            found.push_back(&event);
        }
    }
    return found;
}

std::size_t countLines(const std::string& text, const std::string& line)
{
    std::size_t count = 0;
    for (const std::string& candidate : linesOf(text)) {
        count += candidate == line ? 1 : 0;
    }
    return count;
}

} // namespace

// Whether the recording holds the call with which an application
// acknowledges a known list (the recorder writes at least every 100 ms).
bool recordedAcknowledgement(const std::string& recording)
{
    return veltest::readFile(recording).find("\"informFromApp\"") != std::string::npos;
}

class RecordReplay : public ::testing::Test {
protected:
    void SetUp() override { removeStore(); }
    void TearDown() override { removeStore(); }

    // connect, paired, then a watch that is told about the known list.
    // `publish` sends the list notice while the watch runs; `acknowledged`
    // tells when the watch's acknowledgement of the list has been recorded.
    SessionOutput runSession(const std::function<void()>& publish, const std::function<bool()>& acknowledged)
    {
        SessionOutput output;
        VelctlRun connect = runVelctl({"app", "connect", "123", "4"});
        EXPECT_EQ(connect.status, 0) << connect.err;
        output.connect = connect.out;
        VelctlRun paired = runVelctl({"app", "paired", "124"});
        EXPECT_EQ(paired.status, 0) << paired.err;
        output.paired = paired.out;
        RunningVelctl watch({"app", "watch"});
        EXPECT_TRUE(watch.waitForOut("service ready", 15s)) << watch.err();
        publish();
        EXPECT_TRUE(watch.waitForOut("known devices", 15s)) << watch.out();
        // The watch acknowledges the list with a call of its own, which
        // belongs to the session.
        EXPECT_TRUE(veltest::waitUntil(acknowledged, 15s)) << "the list was not acknowledged";
        EXPECT_EQ(stopWatch(watch), 0);
        output.watch = watch.out();
        return output;
    }

    // mvel-sim --replay path exits 2 with exactly `line` and never takes the
    // service's name.
    static void expectReplayRefused(const std::string& path, const std::string& line)
    {
        veltest::PrivateBus bus;
        ASSERT_TRUE(bus.start());
        veltest::SimProcess sim(bus);
        ASSERT_TRUE(sim.start({"--replay", path}, false));
        const int status = sim.process().waitExit(10s);
        ASSERT_TRUE(status != -1 && WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 2);
        EXPECT_EQ(sim.log(), line);
        EXPECT_FALSE(bus.nameHasOwner("com.qor.vel_communicator"));
    }

    veltest::TempDir mDir;
};

TEST_F(RecordReplay, ReplaysARecordedSessionWithTheSameOutputAndDeviceBytes)
{
    const std::string recorded = mDir.file("car.jsonl");
    const std::string replayed = mDir.file("desk.jsonl");
    SessionOutput onCar;
    std::string carKnownBytes;
    {
        veltest::PrivateBus bus;
        ASSERT_TRUE(bus.start());
        veltest::SimProcess sim(bus);
        ASSERT_TRUE(sim.start({"--app-paired=124"}));
        // Every byte as it was: the simulator's records are a byte pattern.
        Recorder recorder(recorded, {"--include-personal-info"});
        ASSERT_TRUE(recorder.started()) << recorder.err();
        onCar = runSession([&] {
            std::this_thread::sleep_for(200ms);
            GVariant* records = sim.control("com.qor.vel_sim.App", "PublishDevices",
                                            g_variant_new_parsed("(uint32 0, ['111', '222'], true)"));
            ASSERT_NE(records, nullptr);
            g_variant_unref(records);
        }, [&] { return recordedAcknowledgement(recorded); });
        EXPECT_EQ(recorder.stop(), 0) << recorder.err();
        EXPECT_EQ(recorder.err(), "");
        carKnownBytes = veltest::readFile(kKnownFile);
    }
    EXPECT_EQ(onCar.connect, "connect 123 technology 4: result 0\n");
    EXPECT_EQ(onCar.paired, "124: paired\n");
    EXPECT_EQ(countLines(onCar.watch, "known devices (result 1): 111, 222"), 1u) << onCar.watch;

    // The notice carries the list exactly as the store held it.
    const velrec::Recording car = load(recorded);
    EXPECT_EQ(car.header.format, "vel-recording");
    EXPECT_EQ(car.header.version, 1);
    EXPECT_EQ(car.header.deviceSize, 12492);
    EXPECT_EQ(car.header.interfaceSha256, velrec::interfaceSha256());
    const auto notices = signalsNamed(car, "noticeToApp");
    ASSERT_EQ(notices.size(), 1u);
    EXPECT_EQ(notices[0]->args, "(uint32 0, '2', 0)");
    ASSERT_TRUE(notices[0]->hasKnown);
    ASSERT_EQ(carKnownBytes.size(), 10u * 12492u);
    EXPECT_TRUE(std::string(notices[0]->known.begin(), notices[0]->known.end()) == carKnownBytes);

    removeStore();
    veltest::PrivateBus bus;
    ASSERT_TRUE(bus.start());
    veltest::SimProcess sim(bus);
    ASSERT_TRUE(sim.start({"--replay", recorded}));
    Recorder recorder(replayed);
    ASSERT_TRUE(recorder.started()) << recorder.err();
    const SessionOutput atDesk = runSession([] {}, [&] { return recordedAcknowledgement(replayed); });
    EXPECT_EQ(recorder.stop(), 0) << recorder.err();

    EXPECT_EQ(atDesk.connect, onCar.connect);
    EXPECT_EQ(atDesk.paired, onCar.paired);
    EXPECT_EQ(atDesk.watch, onCar.watch);
    EXPECT_TRUE(veltest::readFile(kKnownFile) == carKnownBytes);

    const std::string log = sim.log();
    EXPECT_EQ(countLines(log, "replay call registerMe: equal arguments, recorded answer"), 3u) << log;
    // Completions come as signals: the request itself is sent without waiting.
    EXPECT_EQ(countLines(log, "replay call actionFromApp: equal arguments, recorded without an answer"), 1u) << log;
    EXPECT_EQ(countLines(log, "replay call actionFromApp: equal arguments, recorded answer"), 1u) << log;
    EXPECT_EQ(countLines(log, "replay signal appRequestDone (uint32 0, uint32 0, '123', uint32 4)"), 1u) << log;
    EXPECT_EQ(countLines(log, "replay publish list 0 with 124920 bytes: done"), 1u) << log;
    EXPECT_EQ(log.find("unexpected call"), std::string::npos) << log;

    const VelctlRun diff = runVelctl({"replay-diff", recorded, replayed});
    EXPECT_EQ(diff.status, 0) << diff.out << diff.err;
    // registerMe and a request from connect and paired, registerMe and the
    // list's acknowledgement from the watch.
    EXPECT_EQ(diff.out, "the same 6 calls in the same order\n");
    EXPECT_EQ(diff.err, "");
}

TEST_F(RecordReplay, ReplayAtTenfoldSpeedKeepsTheOrderAndScalesTheTime)
{
    const std::string recorded = mDir.file("car.jsonl");
    const std::string replayed = mDir.file("desk.jsonl");
    const auto watchNotices = [&](const std::function<void()>& emit) {
        RunningVelctl watch({"app", "watch"});
        ASSERT_TRUE(watch.waitForOut("service ready", 15s)) << watch.err();
        emit();
        ASSERT_TRUE(watch.waitForOut("link loss: device d3", 15s)) << watch.out();
        EXPECT_EQ(stopWatch(watch), 0);
    };
    {
        veltest::PrivateBus bus;
        ASSERT_TRUE(bus.start());
        veltest::SimProcess sim(bus);
        ASSERT_TRUE(sim.start());
        Recorder recorder(recorded);
        ASSERT_TRUE(recorder.started()) << recorder.err();
        watchNotices([&] {
            for (const char* device : {"d1", "d2", "d3"}) {
                std::this_thread::sleep_for(500ms);
                ASSERT_TRUE(sim.emitSignal("noticeToApp", g_variant_new("(usi)", 7u, device, 6)));
            }
        });
        EXPECT_EQ(recorder.stop(), 0);
    }
    removeStore();
    veltest::PrivateBus bus;
    ASSERT_TRUE(bus.start());
    veltest::SimProcess sim(bus);
    ASSERT_TRUE(sim.start({"--replay", recorded, "--speed", "10"}));
    Recorder recorder(replayed);
    ASSERT_TRUE(recorder.started()) << recorder.err();
    watchNotices([] {});
    EXPECT_EQ(recorder.stop(), 0);

    const velrec::Recording car = load(recorded);
    const velrec::Recording desk = load(replayed);
    const auto carNotices = signalsNamed(car, "noticeToApp");
    const auto deskNotices = signalsNamed(desk, "noticeToApp");
    ASSERT_EQ(carNotices.size(), 3u);
    ASSERT_EQ(deskNotices.size(), 3u);
    for (std::size_t index = 0; index < 3; ++index) {
        EXPECT_EQ(deskNotices[index]->args, carNotices[index]->args);
    }
    // Each notice's distance from the watch's registration, which anchors
    // them, is a tenth of the recorded one, with room for a loaded machine.
    const auto registration = [](const velrec::Recording& recording) {
        for (const velrec::Event& event : recording.events) {
            if (event.kind == velrec::EventKind::Call && event.member == "registerMe") {
                return event.monoNs;
            }
        }
        ADD_FAILURE() << "no registerMe recorded";
        return std::int64_t(0);
    };
    const std::int64_t carStart = registration(car);
    const std::int64_t deskStart = registration(desk);
    for (std::size_t index = 0; index < 3; ++index) {
        const double carMs = (carNotices[index]->monoNs - carStart) / 1e6;
        const double deskMs = (deskNotices[index]->monoNs - deskStart) / 1e6;
        EXPECT_GE(carMs, 500.0 * static_cast<double>(index + 1));
        EXPECT_GE(deskMs, carMs / 10.0 * 0.8) << "notice " << index;
        EXPECT_LE(deskMs, carMs / 10.0 + 300.0) << "notice " << index;
    }
    // And the gaps between them, within looser bounds: every notice may be
    // late on its own.
    for (std::size_t index = 1; index < 3; ++index) {
        const double carGapMs = (carNotices[index]->monoNs - carNotices[index - 1]->monoNs) / 1e6;
        const double deskGapMs = (deskNotices[index]->monoNs - deskNotices[index - 1]->monoNs) / 1e6;
        EXPECT_GE(carGapMs, 450.0);
        EXPECT_GE(deskGapMs, carGapMs / 10.0 * 0.5) << "gap " << index;
        EXPECT_LE(deskGapMs, carGapMs / 10.0 + 300.0) << "gap " << index;
    }
}

TEST_F(RecordReplay, RefusesATruncatedRecordingAndDoesNothingElse)
{
    velrec::Header header;
    header.recorder = velrec::recorderName();
    header.interfaceSha256 = velrec::interfaceSha256();
    header.deviceSize = velrec::deviceSize();
    velrec::Event event;
    event.member = "noticeToApp";
    event.kind = velrec::EventKind::Signal;
    event.signature = "usi";
    event.args = "(uint32 7, 'd1', 6)";
    const std::string line = velrec::eventLine(event);
    const std::string path = mDir.file("cut.jsonl");
    writeFile(path, velrec::headerLine(header) + line + line.substr(0, line.size() / 2));

    expectReplayRefused(path, "mvel-sim: recording " + path +
                                  " line 3 is cut off (no line end): the recording is truncated\n");
}

TEST_F(RecordReplay, RefusesARecordingOfAnotherInterface)
{
    velrec::Header header;
    header.recorder = velrec::recorderName();
    header.interfaceSha256 = std::string(64, '0');
    header.deviceSize = velrec::deviceSize();
    const std::string path = mDir.file("foreign.jsonl");
    writeFile(path, velrec::headerLine(header));

    expectReplayRefused(path, "mvel-sim: recording " + path + " line 1: \"interface_sha256\": made for interface sha256 " +
                                  std::string(64, '0') + ", this build has " + velrec::interfaceSha256() + "\n");
}

TEST_F(RecordReplay, RefusesARecordingOfAnotherDeviceSize)
{
    velrec::Header header;
    header.recorder = velrec::recorderName();
    header.interfaceSha256 = velrec::interfaceSha256();
    header.deviceSize = 12000;
    const std::string path = mDir.file("older.jsonl");
    writeFile(path, velrec::headerLine(header));

    expectReplayRefused(path, "mvel-sim: recording " + path +
                                  " line 1: \"device_size\": made for a DEVICE of 12000 bytes, this build has 12492\n");
}

// The bus lets only root (and its own user) monitor: an unprivileged
// recorder gets one line and exit status 3, and leaves no file behind.
TEST_F(RecordReplay, RecordingWithoutTheRightToMonitorExitsThree)
{
    veltest::PrivateBus bus;
    ASSERT_TRUE(bus.start());
    ASSERT_EQ(::getuid(), 0u) << "the test drops to nobody from root";
    const std::string path = mDir.file("never.jsonl");
    veltest::ChildProcess recorder;
    const std::string output = mDir.file("out");
    ASSERT_TRUE(recorder.start({"/usr/bin/setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", VELCTL_PATH,
                                "record", path},
                               output));
    const int status = recorder.waitExit(30s);
    ASSERT_TRUE(status != -1 && WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 3);
    const std::string text = veltest::readFile(output);
    EXPECT_EQ(text.rfind("velctl: this bus does not let us monitor it (org.freedesktop.DBus.Error.AccessDenied: ", 0),
              0u)
        << text;
    EXPECT_EQ(linesOf(text).size(), 1u) << text;
    EXPECT_EQ(text.substr(text.size() - std::string("); record as root\n").size()), "); record as root\n");
    EXPECT_FALSE(g_file_test(path.c_str(), G_FILE_TEST_EXISTS));
}

// At the desk the application asks about another device and makes a call the
// car never saw: the replay answers what it can from the recording, says
// where the application left it, and the diff points at the first change.
TEST_F(RecordReplay, ShowsWhereTheApplicationLeavesTheRecording)
{
    const std::string recorded = mDir.file("car.jsonl");
    const std::string replayed = mDir.file("desk.jsonl");
    {
        veltest::PrivateBus bus;
        ASSERT_TRUE(bus.start());
        veltest::SimProcess sim(bus);
        ASSERT_TRUE(sim.start({"--app-paired=124"}));
        Recorder recorder(recorded);
        ASSERT_TRUE(recorder.started()) << recorder.err();
        EXPECT_EQ(runVelctl({"app", "paired", "124"}).out, "124: paired\n");
        // The replies to registerMe and to the question.
        EXPECT_TRUE(recorder.waitForRecorded("\"reply\"", 2)) << veltest::readFile(recorded);
        EXPECT_EQ(recorder.stop(), 0);
    }
    removeStore();
    veltest::PrivateBus bus;
    ASSERT_TRUE(bus.start());
    veltest::SimProcess sim(bus);
    ASSERT_TRUE(sim.start({"--replay", recorded}));
    Recorder recorder(replayed);
    ASSERT_TRUE(recorder.started()) << recorder.err();
    // Answered as the car answered the same question about 124.
    EXPECT_EQ(runVelctl({"app", "paired", "125"}).out, "125: paired\n");
    const VelctlRun mode = runVelctl({"controller", "mode", "1", "4", "2"});
    EXPECT_EQ(mode.status, 0) << mode.err;
    EXPECT_TRUE(recorder.waitForRecorded("\"sendControlMode\"")) << veltest::readFile(replayed);
    EXPECT_EQ(recorder.stop(), 0);

    const std::string log = sim.log();
    EXPECT_EQ(countLines(log, "replay call actionFromApp: same method, other arguments (recorded (uint32 9, '124', "
                              "uint32 28, '')), recorded answer"),
              1u)
        << log;
    // The controller registers like the recorded application did.
    EXPECT_EQ(countLines(log, "replay call registerMe: same method, other arguments (recorded (uint32 100, "
                              "'[velctl]')), recorded answer"),
              1u)
        << log;
    EXPECT_EQ(countLines(log, "unexpected call sendControlMode (uint32 1, uint32 4, uint32 2): answered by the "
                              "simulator"),
              1u)
        << log;

    const VelctlRun diff = runVelctl({"replay-diff", recorded, replayed});
    EXPECT_EQ(diff.status, 1) << diff.err;
    EXPECT_EQ(diff.out, "call 2 differs:\n"
                        "- actionFromApp (uint32 9, '124', uint32 28, '')\n"
                        "+ actionFromApp (uint32 9, '125', uint32 28, '')\n");
}

// With --loop the recording plays again and again; signals from before any
// call are timed from the start of each round.
TEST_F(RecordReplay, LoopsTheRecording)
{
    const std::string recorded = mDir.file("car.jsonl");
    {
        veltest::PrivateBus bus;
        ASSERT_TRUE(bus.start());
        veltest::SimProcess sim(bus);
        ASSERT_TRUE(sim.start());
        Recorder recorder(recorded);
        ASSERT_TRUE(recorder.started()) << recorder.err();
        // Recorded after a gap, so that the replay times it from its start.
        std::this_thread::sleep_for(300ms);
        ASSERT_TRUE(sim.emitSignal("noticeToApp", g_variant_new("(usi)", 7u, "d1", 6)));
        EXPECT_TRUE(veltest::waitUntil(
            [&] { return veltest::readFile(recorded).find("\"noticeToApp\"") != std::string::npos; }, 15s));
        EXPECT_EQ(recorder.stop(), 0);
    }
    const auto notices = signalsNamed(load(recorded), "noticeToApp");
    ASSERT_EQ(notices.size(), 1u);

    veltest::PrivateBus bus;
    ASSERT_TRUE(bus.start());
    veltest::SimProcess sim(bus);
    ASSERT_TRUE(sim.start({"--replay", recorded, "--speed", "2", "--loop"}));
    EXPECT_TRUE(sim.waitForLog("replay signal noticeToApp (uint32 7, 'd1', 6)", 20s, 3)) << sim.log();
    EXPECT_GE(countLines(sim.log(), "replay starts again"), 2u) << sim.log();
}

// A recorder killed outright leaves complete lines only, and what it saw
// more than a flush interval (100 ms) before is on disk.
TEST_F(RecordReplay, AKilledRecorderLeavesCompleteLines)
{
    const std::string recorded = mDir.file("car.jsonl");
    veltest::PrivateBus bus;
    ASSERT_TRUE(bus.start());
    veltest::SimProcess sim(bus);
    ASSERT_TRUE(sim.start());
    RunningVelctl recorder({"record", recorded});
    ASSERT_TRUE(recorder.waitForOut("recording com.qor.vel_communicator to ", 15s)) << recorder.err();
    for (const char* device : {"d1", "d2", "d3"}) {
        ASSERT_TRUE(sim.emitSignal("noticeToApp", g_variant_new("(usi)", 7u, device, 6)));
    }
    // Generous against a loaded machine; the recorder flushes every 100 ms.
    std::this_thread::sleep_for(1s);
    recorder.process().kill9();

    const velrec::Recording car = load(recorded);
    const auto notices = signalsNamed(car, "noticeToApp");
    ASSERT_EQ(notices.size(), 3u);
    EXPECT_EQ(notices[2]->args, "(uint32 7, 'd3', 6)");
}
