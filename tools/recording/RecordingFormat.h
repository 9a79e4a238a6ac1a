// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <glib.h>

#include <cstdint>
#include <string>
#include <vector>

// A recording of the service's interface: one JSON object per line, the header
// first, then one event per message seen on the bus (docs/record-replay.md).

namespace velrec {

constexpr const char* kFormatName = "vel-recording";
constexpr int kFormatVersion = 1;
// Which recorder mode made the file (the header's "personal_info").
constexpr const char* kPersonalInfoPseudonymised = "pseudonymised";
constexpr const char* kPersonalInfoIncluded = "included";

struct Header {
    std::string format = kFormatName;
    int version = kFormatVersion;
    std::string recorder;
    std::string interfaceSha256;
    std::int64_t deviceSize = 0;
    std::string host;
    // kPersonalInfoPseudonymised or kPersonalInfoIncluded; empty in files of
    // recorders that did not say.
    std::string personalInfo;
    // When recording began, on the same clocks as the events.
    std::int64_t monoNs = 0;
    std::string wall;
};

enum class EventKind { Call, Reply, Error, Signal };

struct Event {
    // Where the event stood in the file it was read from (1 is the header).
    std::size_t line = 0;
    std::int64_t monoNs = 0;
    std::string wall;
    EventKind kind = EventKind::Call;
    std::uint32_t serial = 0;
    // For replies and errors: the serial of the call they answer.
    std::uint32_t replySerial = 0;
    std::string sender;
    std::string destination;
    // For replies and errors, the member of the call they answer.
    std::string member;
    std::string signature;
    // The body in GVariant text format with types ("()" when empty).
    std::string args;
    // Errors only.
    std::string errorName;
    // Device lists as the store held them when a list notice went out.
    bool hasKnown = false;
    std::vector<guint8> known;
    bool hasDiscovered = false;
    std::vector<guint8> discovered;
};

struct Recording {
    Header header;
    std::vector<Event> events;
};

const char* kindName(EventKind kind);
bool kindFromName(const std::string& name, EventKind& kind);

// What this build writes into a header, and what a replay must find there.
const char* interfaceSha256();
std::int64_t deviceSize();
const char* recorderName();

// Each returns one complete line, with its '\n'.
std::string headerLine(const Header& header);
std::string eventLine(const Event& event);

// Monotonic nanoseconds and UTC wall time ("2026-11-23T08:10:07.123456Z").
std::int64_t monotonicNs();
std::string wallNow();

} // namespace velrec
