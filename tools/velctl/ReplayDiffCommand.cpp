// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// velctl replay-diff RECORDING NEWRECORDING: the regression check after a
// replay. Compares the calls the clients made, in order, member and
// arguments; who made them and when does not matter.

#include <cstdio>
#include <string>
#include <vector>

#include "Commands.h"
#include "Exit.h"
#include "RecordingReader.h"

namespace velctl {

namespace {

std::vector<std::string> callsOf(const velrec::Recording& recording)
{
    std::vector<std::string> calls;
    for (const velrec::Event& event : recording.events) {
        if (event.kind == velrec::EventKind::Call) {
            calls.push_back(event.member + " " + event.args);
        }
    }
    return calls;
}

std::vector<std::string> loadCalls(const std::string& path)
{
    velrec::Recording recording;
    std::string error;
    if (!velrec::loadRecording(path, recording, error)) {
        fail(kExitUsage, error);
    }
    return callsOf(recording);
}

} // namespace

[[noreturn]] void runReplayDiff(const CommandLine& line)
{
    if (line.command.empty() || line.arguments.size() != 1) {
        fail(kExitUsage, "replay-diff takes two recordings (see velctl --help)");
    }
    const std::vector<std::string> before = loadCalls(line.command);
    const std::vector<std::string> after = loadCalls(line.arguments[0]);
    const std::size_t common = std::min(before.size(), after.size());
    for (std::size_t index = 0; index < common; ++index) {
        if (before[index] != after[index]) {
            std::printf("call %zu differs:\n- %s\n+ %s\n", index + 1, before[index].c_str(), after[index].c_str());
            finish(kExitFailed);
        }
    }
    if (before.size() > common) {
        std::printf("call %zu is missing from the new recording:\n- %s\n", common + 1, before[common].c_str());
        finish(kExitFailed);
    }
    if (after.size() > common) {
        std::printf("call %zu is new in the new recording:\n+ %s\n", common + 1, after[common].c_str());
        finish(kExitFailed);
    }
    std::printf("the same %zu calls in the same order\n", common);
    finish(kExitOk);
}

} // namespace velctl
