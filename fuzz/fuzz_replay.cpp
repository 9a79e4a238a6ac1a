// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// The replay engine against any file contents: what mvel-sim --replay does
// with a recording before and while it plays it. A recording is refused with
// a one-line reason, or every event it holds is of the interface's type, its
// schedule is built, every recorded call finds itself as its counterpart,
// every distance gives a bounded timeout at any speed, and its pseudonymised
// form reads back as a recording just as valid.

#include <cstdio>
#include <cstdlib>
#include <string>

#include "FuzzSupport.h"
#include "Pseudonymiser.h"
#include "RecordingReader.h"
#include "ReplaySchedule.h"

namespace {

[[noreturn]] void failReplay(const char* what, const std::string& detail)
{
    std::fprintf(stderr, "replay engine: %s %s\n", what, detail.c_str());
    std::abort();
}

void checkEventValue(const velrec::Event& event)
{
    GVariant* value = velrec::ReplaySchedule::argsValue(event);
    if (value == nullptr) {
        failReplay("an accepted event does not parse:", event.args);
    }
    const std::string type = "(" + event.signature + ")";
    if (!g_variant_is_of_type(value, G_VARIANT_TYPE(type.c_str()))) {
        failReplay("an accepted event has another type:", event.args);
    }
    g_variant_unref(value);
}

void checkSchedule(const velrec::Recording& recording)
{
    velrec::ReplaySchedule schedule(recording);
    for (const double speed : {0.001, 1.0, 1000.0}) {
        for (const velrec::Event& event : recording.events) {
            const gint64 us = velrec::ReplaySchedule::scaledUs(event.monoNs - recording.header.monoNs, speed);
            if (us < 0) {
                failReplay("an event is due before the start:", event.member);
            }
            velrec::ReplaySchedule::timeoutMs(us);
        }
    }
    std::size_t calls = 0;
    for (const velrec::Event& event : recording.events) {
        checkEventValue(event);
        if (event.kind != velrec::EventKind::Call) {
            continue;
        }
        ++calls;
        bool equalArgs = false;
        velrec::RecordedCall* counterpart = schedule.findCounterpart(event.member, event.args, equalArgs);
        if (counterpart == nullptr || !equalArgs || counterpart->call->args != event.args) {
            failReplay("a recorded call does not answer itself:", event.member);
        }
        if (counterpart->answer != nullptr) {
            checkEventValue(*counterpart->answer);
        }
        counterpart->consumed = true;
    }
    if (calls != schedule.callCount()) {
        failReplay("the schedule lost calls", "");
    }
    schedule.restart();
}

void checkPseudonymised(const velrec::Recording& recording)
{
    velrec::Pseudonymiser pseudonymiser("fuzz");
    velrec::Header header = recording.header;
    pseudonymiser.scrubHeader(header);
    std::string written = velrec::headerLine(header);
    for (velrec::Event event : recording.events) {
        pseudonymiser.scrubEvent(event);
        written += velrec::eventLine(event);
    }
    velrec::Recording again;
    std::string error;
    if (!velrec::parseRecording(written, again, error)) {
        failReplay("a pseudonymised recording is refused:", error);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    velfuzz::abortOnGLibWarnings();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    velrec::Recording recording;
    std::string error;
    if (!velrec::parseRecording(text, recording, error)) {
        if (error.empty() || error.find('\n') != std::string::npos) {
            failReplay("refusal without a one-line reason:", error);
        }
        return 0;
    }
    checkSchedule(recording);
    checkPseudonymised(recording);
    return 0;
}
