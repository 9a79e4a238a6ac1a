// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// Recordings from outside, one class of damage at a time: mvel-sim --replay
// and velctl replay-diff each refuse them with exit status 2 and one line
// that names the line and the field, before anything is emitted, and print
// nothing else (no GLib critical or warning).

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <fstream>

#include "PrivateBus.h"
#include "RecordingReader.h"
#include "SimProcess.h"
#include "VelctlRunner.h"

using namespace velctltest;

namespace {

velrec::Header goodHeader()
{
    velrec::Header header;
    header.recorder = velrec::recorderName();
    header.interfaceSha256 = velrec::interfaceSha256();
    header.deviceSize = velrec::deviceSize();
    header.host = "~1f2e3d";
    header.personalInfo = velrec::kPersonalInfoPseudonymised;
    header.monoNs = 1000000000;
    header.wall = "2026-11-23T08:10:07.123456Z";
    return header;
}

velrec::Event linkLoss()
{
    velrec::Event event;
    event.monoNs = 1500000000;
    event.wall = "2026-11-23T08:10:07.623456Z";
    event.kind = velrec::EventKind::Signal;
    event.serial = 7;
    event.sender = ":1.0";
    event.member = "noticeToApp";
    event.signature = "usi";
    event.args = "(uint32 7, 'd1', 6)";
    return event;
}

velrec::Event discoveredNotice(const std::string& count, std::size_t records)
{
    velrec::Event event = linkLoss();
    event.args = "(uint32 1, '" + count + "', 0)";
    event.hasDiscovered = true;
    event.discovered.assign(records * velrec::deviceSize(), 0);
    for (std::size_t index = 0; index < records; ++index) {
        event.discovered[index * velrec::deviceSize() + 4608] = static_cast<guint8>('1' + index);
    }
    return event;
}

// A line of a good recording, with one field's text replaced.
std::string replaced(const std::string& line, const std::string& from, const std::string& to)
{
    std::string changed = line;
    const std::size_t at = changed.find(from);
    EXPECT_NE(at, std::string::npos) << from << " not in " << line;
    if (at != std::string::npos) {
        changed.replace(at, from.size(), to);
    }
    return changed;
}

class AHostileRecording : public ::testing::Test {
protected:
    // Both tools refuse the text with exactly "<tool>: recording <path> <reason>".
    void expectRefused(const std::string& text, const std::string& reason)
    {
        const std::string path = mDir.file("hostile.jsonl");
        std::ofstream(path, std::ios::binary | std::ios::trunc) << text;

        veltest::PrivateBus bus;
        ASSERT_TRUE(bus.start());
        veltest::SimProcess sim(bus);
        ASSERT_TRUE(sim.start({"--replay", path}, false));
        const int status = sim.process().waitExit(20s);
        ASSERT_TRUE(status != -1 && WIFEXITED(status)) << "mvel-sim did not end by itself";
        EXPECT_EQ(WEXITSTATUS(status), 2);
        EXPECT_EQ(sim.log(), "mvel-sim: recording " + path + " " + reason + "\n");
        EXPECT_FALSE(bus.nameHasOwner("com.qor.vel_communicator"));

        const std::string good = mDir.file("good.jsonl");
        std::ofstream(good, std::ios::binary | std::ios::trunc) << velrec::headerLine(goodHeader());
        for (const auto& order : {std::make_pair(path, good), std::make_pair(good, path)}) {
            const VelctlRun diff = runVelctl({"replay-diff", order.first, order.second});
            EXPECT_EQ(diff.status, 2);
            EXPECT_EQ(diff.out, "");
            EXPECT_EQ(diff.err, "velctl: recording " + path + " " + reason + "\n");
        }
    }

    std::string header() const { return velrec::headerLine(goodHeader()); }

    veltest::TempDir mDir;
};

} // namespace

TEST_F(AHostileRecording, NamingASignalTheInterfaceDoesNotHaveIsRefused)
{
    velrec::Event event = linkLoss();
    event.member = "noticeToEveryone";
    expectRefused(header() + velrec::eventLine(event),
                  "line 2: \"member\" \"noticeToEveryone\" is not a signal of com.qor.vel_communicator");
}

TEST_F(AHostileRecording, NamingAMethodTheInterfaceDoesNotHaveIsRefused)
{
    velrec::Event event = linkLoss();
    event.kind = velrec::EventKind::Call;
    event.member = "formatDisk";
    event.signature = "s";
    event.args = "('/',)";
    expectRefused(header() + velrec::eventLine(linkLoss()) + velrec::eventLine(event),
                  "line 3: \"member\" \"formatDisk\" is not a method of com.qor.vel_communicator");
}

TEST_F(AHostileRecording, GivingASignalAnotherSignatureIsRefused)
{
    velrec::Event event = linkLoss();
    event.signature = "uss";
    event.args = "(uint32 7, 'd1', '6')";
    expectRefused(header() + velrec::eventLine(event),
                  "line 2: \"signature\" \"uss\" is not the signature of noticeToApp (\"usi\")");
}

TEST_F(AHostileRecording, GivingAnAnswerAnotherTypeThanItsMethodsIsRefused)
{
    velrec::Event call = linkLoss();
    call.kind = velrec::EventKind::Call;
    call.member = "registerMe";
    call.signature = "us";
    call.args = "(uint32 100, 'app')";
    call.sender = ":1.5";
    call.destination = ":1.0";
    velrec::Event reply = call;
    reply.kind = velrec::EventKind::Reply;
    reply.replySerial = call.serial;
    reply.sender = ":1.0";
    reply.destination = ":1.5";
    reply.signature = "u";
    reply.args = "(uint32 1,)";
    expectRefused(header() + velrec::eventLine(call) + velrec::eventLine(reply),
                  "line 3: \"signature\" \"u\" is not the signature of registerMe (\"b\")");
}

TEST_F(AHostileRecording, ArgumentsThatAreNotOfTheSignaturesTypesAreRefused)
{
    const std::string line = replaced(velrec::eventLine(linkLoss()), "(uint32 7, 'd1', 6)", "(uint32 7, 5, 6)");
    // GLib's own parse message follows; the line and field come first.
    velrec::Recording recording;
    std::string error;
    ASSERT_FALSE(velrec::parseRecording(header() + line, recording, error));
    EXPECT_EQ(error.rfind("line 2: \"args\" do not parse as (usi): ", 0), 0u) << error;
    expectRefused(header() + line, error);
}

TEST_F(AHostileRecording, ACountPastItsArrayOfRecordsIsRefused)
{
    expectRefused(header() + velrec::eventLine(discoveredNotice("3", 1)),
                  "line 2: \"args\" the notice announces \"3\" records, its store holds 1");
}

TEST_F(AHostileRecording, ANegativeTimeIsRefused)
{
    const std::string line = replaced(velrec::eventLine(linkLoss()), "\"t_mono_ns\":1500000000", "\"t_mono_ns\":-5");
    expectRefused(header() + line, "line 2: \"t_mono_ns\" is out of range");
}

TEST_F(AHostileRecording, AHugeTimeIsRefused)
{
    const std::string line =
        replaced(velrec::eventLine(linkLoss()), "\"t_mono_ns\":1500000000", "\"t_mono_ns\":9223372036854775807");
    expectRefused(header() + line,
                  "line 2: \"t_mono_ns\" is before the recording began or more than a week after");
}

TEST_F(AHostileRecording, TruncatedBase64IsRefused)
{
    const std::string line = velrec::eventLine(discoveredNotice("1", 1));
    const std::size_t start = line.find("\"discovered\":\"") + 14;
    const std::string cut = line.substr(0, start + 101) + "\"}}\n";
    expectRefused(header() + cut, "line 2: store \"discovered\" is not base64 (cut off, or not its alphabet)");
}

TEST_F(AHostileRecording, OversizedBase64IsRefused)
{
    expectRefused(header() + velrec::eventLine(discoveredNotice("1", 11)),
                  "line 2: store \"discovered\" holds more than 10 records");
}

TEST_F(AHostileRecording, AHeaderOfAnotherVersionIsRefused)
{
    const std::string line = replaced(header(), "\"version\":1", "\"version\":2");
    expectRefused(line + velrec::eventLine(linkLoss()), "line 1: \"version\" is 2, this build reads version 1");
}

TEST_F(AHostileRecording, AHeaderOfAnotherInterfaceIsRefused)
{
    const std::string line = replaced(header(), velrec::interfaceSha256(), std::string(64, 'f'));
    expectRefused(line, "line 1: \"interface_sha256\": made for interface sha256 " + std::string(64, 'f') +
                            ", this build has " + velrec::interfaceSha256());
}

TEST_F(AHostileRecording, AVeryLongLineIsRefused)
{
    velrec::Event event = linkLoss();
    event.args = "(uint32 7, '" + std::string(600 * 1024, 'x') + "', 6)";
    expectRefused(header() + velrec::eventLine(event), "line 2: the line is longer than 524288 bytes");
}

TEST_F(AHostileRecording, DeeplyNestedArgumentsAreRefused)
{
    velrec::Event event = linkLoss();
    event.args = std::string(5000, '[') + std::string(5000, ']');
    expectRefused(header() + velrec::eventLine(event), "line 2: \"args\" are nested deeper than 8");
}

TEST_F(AHostileRecording, AnAnswerToNoRecordedCallIsRefused)
{
    velrec::Event reply = linkLoss();
    reply.kind = velrec::EventKind::Reply;
    reply.member = "registerMe";
    reply.signature = "b";
    reply.args = "(true,)";
    reply.replySerial = 99;
    reply.destination = ":1.5";
    expectRefused(header() + velrec::eventLine(reply),
                  "line 2: \"reply_serial\" answers no earlier call to registerMe of that destination");
}
