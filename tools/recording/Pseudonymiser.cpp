// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "Pseudonymiser.h"

#include <gio/gio.h>

#include <algorithm>
#include <cstring>

#include "vel/VelTypes.h"

namespace velrec {

namespace {

// Pseudonyms come from ranges that no real device hands out: a locally
// administered MAC block, the IPv4 benchmarking network, the IPv6
// documentation prefix, and text made of '~' and hex digits.
constexpr const char* kMacPrefix = "02:00:5e:10:";
constexpr const char* kIpv4Prefix = "198.18.";
constexpr const char* kIpv6Prefix = "2001:db8:";
// Two values that would share a pseudonym get another try; tiny fields
// (a one-letter name) may run out of pseudonyms and then share one.
constexpr unsigned int kAttempts = 64;
// Shorter runs of text in a DEVICE record are as likely bytes of a number.
constexpr std::size_t kShortestDeviceText = 3;
// Known identifiers shorter than this are not looked for inside free text.
constexpr std::size_t kShortestKnownText = 3;

enum class Direction { Call, Reply, Signal };

struct FieldRule {
    const char* member;
    Direction direction;
    const char* path;
    FieldKind kind;
};

// Every field of the interface that carries an identifier or a secret by
// what it is; every other text field is scrubbed as free text.
const FieldRule kRules[] = {
    {"sendBTDeviceInfo", Direction::Call, "0", FieldKind::Mac},
    {"sendBTDeviceInfo", Direction::Call, "1", FieldKind::Name},
    {"sendBTServiceInfo", Direction::Call, "0", FieldKind::Mac},
    {"sendBTDeviceList", Direction::Call, "1.*.0", FieldKind::Mac},
    {"sendBTDeviceList", Direction::Call, "1.*.1", FieldKind::Name},
    {"informFromBT", Direction::Call, "1", FieldKind::Mac},
    {"sendDeviceStatus", Direction::Call, "4.7", FieldKind::Name},
    {"sendDeviceStatus", Direction::Call, "4.8", FieldKind::Name},
    {"sendDeviceStatus", Direction::Call, "4.9", FieldKind::Name},
    {"actionFromCore", Direction::Reply, "1.*.0", FieldKind::Name},
    {"actionFromCore", Direction::Reply, "1.*.1", FieldKind::Secret},
    {"actionFromCore", Direction::Reply, "1.*.5", FieldKind::Ip},
    {"actionFromCore", Direction::Reply, "1.*.6", FieldKind::Mac},
    {"actionToCore", Direction::Signal, "6", FieldKind::Name},
    {"actionToCore", Direction::Signal, "8", FieldKind::Mac},
    {"checkCapability", Direction::Signal, "3", FieldKind::Mac},
    {"checkCapability", Direction::Signal, "4.*.0", FieldKind::Name},
    {"checkCapability", Direction::Signal, "4.*.1", FieldKind::Secret},
    {"checkCapability", Direction::Signal, "4.*.5", FieldKind::Ip},
    {"checkCapability", Direction::Signal, "4.*.6", FieldKind::Mac},
    {"noticeToCoreLinkLoss", Direction::Signal, "0", FieldKind::Ip},
    {"noticeMediaToClient", Direction::Signal, "0.*.3", FieldKind::Name},
    {"noticeMediaToClient", Direction::Signal, "0.*.4", FieldKind::Name},
    {"noticeMediaToClient", Direction::Signal, "0.*.6", FieldKind::Name},
    {"noticeMediaToClient", Direction::Signal, "0.*.7", FieldKind::Name},
    {"noticeMediaToClient", Direction::Signal, "0.*.8", FieldKind::Name},
    {"noticeMediaToClient", Direction::Signal, "0.*.9", FieldKind::Name},
    {"noticeMediaToClient", Direction::Signal, "0.*.10", FieldKind::Name},
    {"noticeMediaOneToClient", Direction::Signal, "2.1", FieldKind::Name},
    {"noticeMediaOneToClient", Direction::Signal, "2.2", FieldKind::Name},
    {"noticeMediaOneToClient", Direction::Signal, "2.4", FieldKind::Name},
    {"noticeMediaOneToClient", Direction::Signal, "2.5", FieldKind::Name},
    {"noticeMediaOneToClient", Direction::Signal, "2.6", FieldKind::Name},
    {"noticeMediaOneToClient", Direction::Signal, "2.7", FieldKind::Name},
    {"noticeMediaOneToClient", Direction::Signal, "2.8", FieldKind::Name},
    {"actionToBT", Direction::Signal, "1", FieldKind::Mac},
    {"noticeToBT", Direction::Signal, "1", FieldKind::Mac},
};

// informFromCore's text says what it is by the report's kind (its first
// argument): 2 and 3 a MAC address, 4 and 5 a friendly name, 7 a USB serial.
FieldKind informFromCoreText(guint32 coreInfo)
{
    switch (coreInfo) {
    case 2:
    case 3:
        return FieldKind::Mac;
    case 4:
    case 5:
    case 7:
        return FieldKind::Name;
    default:
        return FieldKind::Text;
    }
}

FieldKind fieldKind(const std::string& member, EventKind kind, const std::string& path, guint32 firstArgument)
{
    const Direction direction = kind == EventKind::Signal ? Direction::Signal
                                : kind == EventKind::Call ? Direction::Call
                                                          : Direction::Reply;
    if (direction == Direction::Call && member == "informFromCore" && path == "5") {
        return informFromCoreText(firstArgument);
    }
    for (const FieldRule& rule : kRules) {
        if (rule.direction == direction && member == rule.member && path == rule.path) {
            return rule.kind;
        }
    }
    return FieldKind::Text;
}

std::string pathText(const std::vector<int>& path)
{
    std::string text;
    for (const int step : path) {
        if (!text.empty()) {
            text += '.';
        }
        text += step < 0 ? std::string("*") : std::to_string(step);
    }
    return text;
}

bool isHexText(const std::string& text, std::size_t from)
{
    for (std::size_t index = from; index < text.size(); ++index) {
        if (!g_ascii_isxdigit(text[index]) || g_ascii_isupper(text[index])) {
            return false;
        }
    }
    return true;
}

std::string lowerMac(const std::string& mac)
{
    std::string lower = mac;
    for (char& c : lower) {
        c = c == '-' ? ':' : g_ascii_tolower(c);
    }
    return lower;
}

bool isPrintable(guint8 byte)
{
    return (byte >= 0x20 && byte < 0x7f) || byte >= 0x80;
}

// Whether text[start, start+17) is a MAC address standing on its own.
bool macAt(const std::string& text, std::size_t start)
{
    if (start + 17 > text.size() || !looksLikeMac(text.substr(start, 17))) {
        return false;
    }
    const bool freeBefore = start == 0 || !g_ascii_isalnum(text[start - 1]);
    const bool freeAfter = start + 17 == text.size() || !g_ascii_isalnum(text[start + 17]);
    return freeBefore && freeAfter;
}

} // namespace

bool looksLikeMac(const std::string& text)
{
    if (text.size() != 17) {
        return false;
    }
    const char separator = text[2];
    if (separator != ':' && separator != '-') {
        return false;
    }
    for (std::size_t index = 0; index < 17; ++index) {
        const bool isSeparator = index % 3 == 2;
        if (isSeparator ? text[index] != separator : !g_ascii_isxdigit(text[index])) {
            return false;
        }
    }
    return true;
}

bool looksLikeIpv4(const std::string& text)
{
    if (text.empty() || text.size() > 15) {
        return false;
    }
    int parts = 0;
    std::size_t start = 0;
    while (true) {
        std::size_t end = text.find('.', start);
        if (end == std::string::npos) {
            end = text.size();
        }
        const std::string part = text.substr(start, end - start);
        if (part.empty() || part.size() > 3 || part.find_first_not_of("0123456789") != std::string::npos ||
            std::stoi(part) > 255) {
            return false;
        }
        ++parts;
        if (end == text.size()) {
            break;
        }
        start = end + 1;
    }
    return parts == 4;
}

Pseudonymiser::Pseudonymiser()
{
    for (int word = 0; word < 8; ++word) {
        const guint32 random = g_random_int();
        mKey.append(reinterpret_cast<const char*>(&random), sizeof(random));
    }
}

Pseudonymiser::Pseudonymiser(const std::string& key) : mKey(key) {}

bool Pseudonymiser::isPseudonym(FieldKind kind, const std::string& value)
{
    switch (kind) {
    case FieldKind::Mac:
        return looksLikeMac(value) && lowerMac(value).compare(0, std::strlen(kMacPrefix), kMacPrefix) == 0;
    case FieldKind::Ip:
        return value.compare(0, std::strlen(kIpv4Prefix), kIpv4Prefix) == 0 ||
               value.compare(0, std::strlen(kIpv6Prefix), kIpv6Prefix) == 0;
    case FieldKind::Name:
        return !value.empty() && value[0] == '~' && isHexText(value, 1);
    case FieldKind::Secret:
        return value == kSecretMarker;
    case FieldKind::Text:
        return false;
    }
    return false;
}

std::string Pseudonymiser::derive(const std::string& value, unsigned int attempt)
{
    const std::string message = value + '\0' + std::to_string(attempt);
    gchar* digest = g_compute_hmac_for_data(G_CHECKSUM_SHA256, reinterpret_cast<const guchar*>(mKey.data()),
                                            mKey.size(), reinterpret_cast<const guchar*>(message.data()),
                                            message.size());
    const std::string hex = digest;
    g_free(digest);
    return hex;
}

std::string Pseudonymiser::makeMac(const std::string& original, const std::string& digest)
{
    std::string mac = std::string(kMacPrefix) + digest.substr(0, 2) + ":" + digest.substr(2, 2);
    // The original's separator and case.
    const bool upper = original.find_first_of("ABCDEF") != std::string::npos;
    for (char& c : mac) {
        if (c == ':') {
            c = original[2];
        } else if (upper) {
            c = g_ascii_toupper(c);
        }
    }
    return mac;
}

std::string Pseudonymiser::makeIp(const std::string& original, const std::string& digest)
{
    const unsigned long bits = std::stoul(digest.substr(0, 8), nullptr, 16);
    if (looksLikeIpv4(original)) {
        return std::string(kIpv4Prefix) + std::to_string((bits >> 8) & 0xff) + "." + std::to_string(bits & 0xff);
    }
    return std::string(kIpv6Prefix) + ":" + digest.substr(0, 4) + ":" + digest.substr(4, 4);
}

std::string Pseudonymiser::makeName(const std::string& original, const std::string& digest)
{
    // As long as the original, so that it fits wherever the original did.
    std::string name = "~";
    while (name.size() < original.size()) {
        name += digest[(name.size() - 1) % digest.size()];
    }
    return name.substr(0, original.size());
}

std::string Pseudonymiser::assign(const std::string& key, const std::string& value, FieldKind kind)
{
    const auto known = mForward.find(key);
    if (known != mForward.end()) {
        return known->second;
    }
    std::string chosen;
    for (unsigned int attempt = 0; attempt < kAttempts; ++attempt) {
        const std::string digest = derive(key, attempt);
        chosen = kind == FieldKind::Mac  ? makeMac(value, digest)
                 : kind == FieldKind::Ip ? makeIp(value, digest)
                                         : makeName(value, digest);
        if (mTaken.find(chosen) == mTaken.end()) {
            break;
        }
    }
    mForward[key] = chosen;
    mTaken[chosen] = key;
    return chosen;
}

std::string Pseudonymiser::pseudonym(FieldKind kind, const std::string& value)
{
    if (value.empty()) {
        return value;
    }
    if (kind == FieldKind::Secret) {
        return kSecretMarker;
    }
    if (kind == FieldKind::Text) {
        return scrubText(value);
    }
    if (kind == FieldKind::Mac && !looksLikeMac(value)) {
        kind = FieldKind::Name;
    }
    if (kind == FieldKind::Ip && !looksLikeIpv4(value)) {
        GInetAddress* address = g_inet_address_new_from_string(value.c_str());
        if (address == nullptr) {
            kind = FieldKind::Name;
        } else {
            g_object_unref(address);
        }
    }
    if (isPseudonym(kind, value)) {
        return value;
    }
    switch (kind) {
    case FieldKind::Mac:
        return assign("m:" + lowerMac(value), value, kind);
    case FieldKind::Ip:
        return assign("i:" + value, value, kind);
    default:
        return assign("n:" + value, value, FieldKind::Name);
    }
}

std::string Pseudonymiser::scrubText(const std::string& text)
{
    std::string out;
    std::size_t index = 0;
    while (index < text.size()) {
        if (g_ascii_isxdigit(text[index]) && macAt(text, index)) {
            out += pseudonym(FieldKind::Mac, text.substr(index, 17));
            index += 17;
            continue;
        }
        if (g_ascii_isdigit(text[index]) && (index == 0 || (!g_ascii_isalnum(text[index - 1]) && text[index - 1] != '.'))) {
            std::size_t end = index;
            while (end < text.size() && (g_ascii_isdigit(text[end]) || text[end] == '.')) {
                ++end;
            }
            const std::string run = text.substr(index, end - index);
            if ((end == text.size() || !g_ascii_isalnum(text[end])) && looksLikeIpv4(run)) {
                out += pseudonym(FieldKind::Ip, run);
                index = end;
                continue;
            }
        }
        out += text[index];
        ++index;
    }
    // Identifiers already seen in a field of their own, wherever they recur.
    for (const auto& entry : mForward) {
        if (entry.first.compare(0, 2, "n:") != 0 || entry.first.size() - 2 < kShortestKnownText) {
            continue;
        }
        const std::string original = entry.first.substr(2);
        for (std::size_t at = out.find(original); at != std::string::npos;
             at = out.find(original, at + entry.second.size())) {
            out.replace(at, original.size(), entry.second);
        }
    }
    return out;
}

GVariant* Pseudonymiser::rewrite(GVariant* value, const std::string& member, EventKind kind, std::vector<int>& path,
                                 guint32 firstArgument)
{
    if (g_variant_is_of_type(value, G_VARIANT_TYPE_STRING)) {
        const std::string text = g_variant_get_string(value, nullptr);
        const std::string scrubbed = pseudonym(fieldKind(member, kind, pathText(path), firstArgument), text);
        return g_variant_ref_sink(g_variant_new_string(scrubbed.c_str()));
    }
    if (!g_variant_is_container(value)) {
        return g_variant_ref(value);
    }
    const gsize count = g_variant_n_children(value);
    const bool isArray = g_variant_is_of_type(value, G_VARIANT_TYPE_ARRAY);
    std::vector<GVariant*> children;
    children.reserve(count);
    for (gsize index = 0; index < count; ++index) {
        GVariant* child = g_variant_get_child_value(value, index);
        path.push_back(isArray ? -1 : static_cast<int>(index));
        children.push_back(rewrite(child, member, kind, path, firstArgument));
        path.pop_back();
        g_variant_unref(child);
    }
    GVariant* rebuilt = nullptr;
    const GVariantType* type = g_variant_get_type(value);
    if (g_variant_type_is_tuple(type)) {
        rebuilt = g_variant_new_tuple(children.data(), children.size());
    } else if (isArray) {
        rebuilt = g_variant_new_array(g_variant_type_element(type), children.data(), children.size());
    } else if (g_variant_type_is_dict_entry(type)) {
        rebuilt = g_variant_new_dict_entry(children[0], children[1]);
    } else if (g_variant_type_is_variant(type)) {
        rebuilt = g_variant_new_variant(children[0]);
    } else {
        rebuilt = g_variant_new_maybe(g_variant_type_element(type), children.empty() ? nullptr : children[0]);
    }
    for (GVariant* child : children) {
        g_variant_unref(child);
    }
    return g_variant_ref_sink(rebuilt);
}

bool Pseudonymiser::scrubArgs(const Event& event, std::string& args)
{
    const std::string tupleType = "(" + event.signature + ")";
    GVariant* parsed = nullptr;
    if (g_variant_is_signature(event.signature.c_str())) {
        parsed = g_variant_parse(G_VARIANT_TYPE(tupleType.c_str()), event.args.c_str(), nullptr, nullptr, nullptr);
    }
    if (parsed == nullptr) {
        args = "()";
        return false;
    }
    guint32 firstArgument = 0;
    if (g_variant_n_children(parsed) > 0) {
        GVariant* first = g_variant_get_child_value(parsed, 0);
        if (g_variant_is_of_type(first, G_VARIANT_TYPE_UINT32)) {
            firstArgument = g_variant_get_uint32(first);
        }
        g_variant_unref(first);
    }
    std::vector<int> path;
    GVariant* scrubbed = rewrite(parsed, event.member, event.kind, path, firstArgument);
    gchar* printed = g_variant_print(scrubbed, TRUE);
    args = printed;
    g_free(printed);
    g_variant_unref(scrubbed);
    g_variant_unref(parsed);
    return true;
}

void Pseudonymiser::scrubDevices(std::vector<guint8>& records)
{
    const std::size_t idStart = offsetof(DEVICE, deviceId);
    const std::size_t idEnd = idStart + sizeof(DEVICE::deviceId);
    for (std::size_t base = 0; base + sizeof(DEVICE) <= records.size(); base += sizeof(DEVICE)) {
        // The id is free text as on the bus (a service may use the device's
        // address as its id), so that both tell of the same device alike.
        char* id = reinterpret_cast<char*>(&records[base + idStart]);
        const std::string scrubbedId = scrubText(std::string(id, strnlen(id, sizeof(DEVICE::deviceId))));
        const std::size_t idLength = std::min(scrubbedId.size(), sizeof(DEVICE::deviceId));
        std::memset(id, 0, sizeof(DEVICE::deviceId));
        std::memcpy(id, scrubbedId.data(), idLength);
        const std::pair<std::size_t, std::size_t> areas[] = {{0, idStart}, {idEnd, sizeof(DEVICE)}};
        for (const auto& area : areas) {
            std::size_t index = area.first;
            while (index < area.second) {
                if (!isPrintable(records[base + index])) {
                    ++index;
                    continue;
                }
                std::size_t end = index;
                while (end < area.second && isPrintable(records[base + end])) {
                    ++end;
                }
                const bool terminated = end == area.second || records[base + end] == 0;
                if (terminated && end - index >= kShortestDeviceText) {
                    const std::string text(reinterpret_cast<const char*>(&records[base + index]), end - index);
                    std::string replaced = looksLikeMac(text)    ? pseudonym(FieldKind::Mac, text)
                                           : looksLikeIpv4(text) ? pseudonym(FieldKind::Ip, text)
                                                                 : pseudonym(FieldKind::Name, text);
                    if (replaced.size() > text.size()) {
                        // An address pseudonym longer than the original would
                        // run into the next field.
                        replaced = assign("n:" + text, text, FieldKind::Name);
                    }
                    std::memset(&records[base + index], 0, text.size());
                    std::memcpy(&records[base + index], replaced.data(), replaced.size());
                }
                index = end;
            }
        }
    }
}

void Pseudonymiser::scrubEvent(Event& event)
{
    // Stores first: a name that the lists carry is then known to the text
    // fields of the same line.
    if (event.hasKnown) {
        scrubDevices(event.known);
    }
    if (event.hasDiscovered) {
        scrubDevices(event.discovered);
    }
    std::string args;
    scrubArgs(event, args);
    event.args = args;
}

void Pseudonymiser::scrubHeader(Header& header)
{
    header.host = pseudonym(FieldKind::Name, header.host);
    header.personalInfo = kPersonalInfoPseudonymised;
}

} // namespace velrec
