// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// The replay's reader against any file contents: cut lines, broken JSON,
// fields of the wrong type or range, arguments that do not fit their
// signature, stores that are not base64 or not whole records. A recording is
// either refused with a reason or read completely, and what was read writes
// back into lines that read the same again.

#include <cstdio>
#include <cstdlib>
#include <string>

#include "FuzzSupport.h"
#include "RecordingReader.h"

namespace {

[[noreturn]] void failRoundTrip(const char* what, const std::string& error)
{
    std::fprintf(stderr, "a recording read back differently: %s %s\n", what, error.c_str());
    std::abort();
}

void checkSameEvent(const velrec::Event& first, const velrec::Event& second)
{
    if (first.monoNs != second.monoNs || first.wall != second.wall || first.kind != second.kind ||
        first.serial != second.serial || first.replySerial != second.replySerial || first.sender != second.sender ||
        first.destination != second.destination || first.member != second.member ||
        first.signature != second.signature || first.args != second.args ||
        (first.kind == velrec::EventKind::Error && first.errorName != second.errorName) ||
        first.hasKnown != second.hasKnown || first.known != second.known ||
        first.hasDiscovered != second.hasDiscovered || first.discovered != second.discovered) {
        failRoundTrip("event", first.member);
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
            failRoundTrip("refusal without a one-line reason:", error);
        }
        return 0;
    }
    std::string written = velrec::headerLine(recording.header);
    for (const velrec::Event& event : recording.events) {
        written += velrec::eventLine(event);
    }
    velrec::Recording again;
    if (!velrec::parseRecording(written, again, error)) {
        failRoundTrip("refused:", error);
    }
    if (again.events.size() != recording.events.size() || again.header.interfaceSha256 != recording.header.interfaceSha256 ||
        again.header.deviceSize != recording.header.deviceSize || again.header.version != recording.header.version) {
        failRoundTrip("header or count", "");
    }
    for (std::size_t index = 0; index < recording.events.size(); ++index) {
        checkSameEvent(recording.events[index], again.events[index]);
    }
    return 0;
}
