// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <glib.h>

#include <map>
#include <string>
#include <vector>

#include "RecordingFormat.h"

// A recording leaves the car: by default it carries no secret and no personal
// identifier. Secrets become a fixed marker; identifiers become pseudonyms
// that are stable within one recording (the same address gives the same
// pseudonym wherever it appears) and keep the shape of their field, so that a
// replayed client still sees well-formed values and records
// (docs/record-replay.md lists every field).

namespace velrec {

// What stands in for every secret.
constexpr const char* kSecretMarker = "<secret>";

// What a text field holds, which decides how it is pseudonymised.
enum class FieldKind {
    Text,   // free text: addresses and known identifiers inside it are replaced
    Secret, // a passphrase or key: replaced by kSecretMarker
    Mac,    // a device address (also a BSSID)
    Ip,     // an IP address
    Name,   // a friendly name, SSID, serial number or host name: opaque text
};

class Pseudonymiser {
public:
    // A fresh random key: pseudonyms of two recordings cannot be linked.
    Pseudonymiser();
    // A given key, for tests that need the same pseudonyms twice.
    explicit Pseudonymiser(const std::string& key);

    std::string pseudonym(FieldKind kind, const std::string& value);
    // Every MAC and IPv4 address in the text, and every value that already
    // has a pseudonym, replaced by its pseudonym.
    std::string scrubText(const std::string& text);
    // The text of an event's arguments, read as the tuple of its signature
    // and written back with every field pseudonymised by its kind. False
    // when the arguments do not parse (they are then replaced wholesale).
    bool scrubArgs(const Event& event, std::string& args);
    // Each DEVICE record: its deviceId as free text, and every run of text in
    // the service's own bytes as an identifier of the same length.
    void scrubDevices(std::vector<guint8>& records);
    void scrubEvent(Event& event);
    void scrubHeader(Header& header);

    // Whether the value already has the shape of a pseudonym of its kind;
    // such a value is kept, so that recording a replay gives back the same
    // pseudonyms.
    static bool isPseudonym(FieldKind kind, const std::string& value);

private:
    std::string derive(const std::string& value, unsigned int attempt);
    std::string assign(const std::string& key, const std::string& value, FieldKind kind);
    std::string makeMac(const std::string& original, const std::string& digest);
    std::string makeIp(const std::string& original, const std::string& digest);
    std::string makeName(const std::string& original, const std::string& digest);
    GVariant* rewrite(GVariant* value, const std::string& member, EventKind kind, std::vector<int>& path,
                      guint32 firstArgument);

    std::string mKey;
    // Original (MACs in lower case) to pseudonym, and the reverse, so that two
    // values never share a pseudonym.
    std::map<std::string, std::string> mForward;
    std::map<std::string, std::string> mTaken;
};

// Whether the text is a MAC address ("aa:bb:cc:dd:ee:ff" or with '-').
bool looksLikeMac(const std::string& text);
// Whether the text is a dotted IPv4 address.
bool looksLikeIpv4(const std::string& text);

} // namespace velrec
