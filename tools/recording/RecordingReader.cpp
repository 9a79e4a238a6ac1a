// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "RecordingReader.h"

#include <glib/gstdio.h>
#include <json-glib/json-glib.h>

#include <map>
#include <utility>

#include "InterfaceCheck.h"
#include "vel/VelTypes.h"

namespace velrec {

namespace {

// Far above any line a recorder writes (the largest, a whole known list,
// is about 170 KB), and low enough that no parser is made to go far.
constexpr std::size_t kLongestLine = 512 * 1024;
// Hours of a busy bus; a larger file is not one of our recordings.
constexpr std::int64_t kLargestFile = G_GINT64_CONSTANT(256) * 1024 * 1024;
// A line is an object holding at most one object.
constexpr std::size_t kDeepestLine = 4;
// The interface's deepest argument is five brackets down.
constexpr std::size_t kDeepestArgs = 8;
// A session longer than a week is not a recording of this tool.
constexpr std::int64_t kLongestSpanNs = G_GINT64_CONSTANT(7) * 24 * 3600 * 1000000000;

// The fields of one line, each checked for its JSON type.
class Fields {
public:
    explicit Fields(JsonObject* object) : mObject(object) {}

    bool string(const char* name, std::string& value, std::string& error) const
    {
        JsonNode* node = json_object_get_member(mObject, name);
        if (node == nullptr || !JSON_NODE_HOLDS_VALUE(node) || json_node_get_value_type(node) != G_TYPE_STRING) {
            error = std::string("\"") + name + "\" is missing or not a string";
            return false;
        }
        value = json_node_get_string(node);
        // Escapes such as a lone "\udc80" decode to text that is not UTF-8,
        // which no writer could give back.
        if (!g_utf8_validate(value.data(), static_cast<gssize>(value.size()), nullptr)) {
            error = std::string("\"") + name + "\" is not UTF-8 text";
            return false;
        }
        return true;
    }

    bool integer(const char* name, std::int64_t least, std::int64_t most, std::int64_t& value,
                 std::string& error) const
    {
        JsonNode* node = json_object_get_member(mObject, name);
        if (node == nullptr || !JSON_NODE_HOLDS_VALUE(node) || json_node_get_value_type(node) != G_TYPE_INT64) {
            error = std::string("\"") + name + "\" is missing or not an integer";
            return false;
        }
        value = json_node_get_int(node);
        if (value < least || value > most) {
            error = std::string("\"") + name + "\" is out of range";
            return false;
        }
        return true;
    }

    bool has(const char* name) const { return json_object_has_member(mObject, name); }
    JsonObject* object() const { return mObject; }

private:
    JsonObject* mObject;
};

bool decodeList(JsonObject* store, const char* name, bool& present, std::vector<guint8>& bytes, std::string& error)
{
    present = json_object_has_member(store, name);
    if (!present) {
        return true;
    }
    std::string text;
    if (!Fields(store).string(name, text, error)) {
        error = "store " + error;
        return false;
    }
    const std::size_t padding = text.size() - std::min(text.size(), text.find_last_not_of('=') + 1);
    bool alphabet = text.size() % 4 == 0 && padding <= 2;
    for (std::size_t index = 0; alphabet && index < text.size() - padding; ++index) {
        const char c = text[index];
        alphabet = g_ascii_isalnum(c) || c == '+' || c == '/';
    }
    if (!alphabet) {
        error = std::string("store \"") + name + "\" is not base64 (cut off, or not its alphabet)";
        return false;
    }
    // Checked before decoding: an oversized list is never held in memory twice.
    if (text.size() / 4 * 3 > VEL_DEVICE_LIST_BYTES + 2) {
        error = std::string("store \"") + name + "\" holds more than " + std::to_string(VEL_MAX_DEVICE_COUNT) +
                " records";
        return false;
    }
    gsize length = 0;
    guchar* decoded = g_base64_decode(text.c_str(), &length);
    bytes.assign(decoded, decoded + length);
    g_free(decoded);
    if (length % sizeof(DEVICE) != 0 || length > VEL_DEVICE_LIST_BYTES) {
        error = std::string("store \"") + name + "\" is not a whole number of records, up to " +
                std::to_string(VEL_MAX_DEVICE_COUNT);
        return false;
    }
    return true;
}

bool checkArgs(const Event& event, std::string& error)
{
    std::string field;
    std::string reason;
    if (!checkMember(event, field, reason)) {
        error = "\"" + field + "\" " + reason;
        return false;
    }
    if (nestingDepth(event.args) > kDeepestArgs) {
        error = "\"args\" are nested deeper than " + std::to_string(kDeepestArgs);
        return false;
    }
    const std::string tupleType = "(" + event.signature + ")";
    GError* parseError = nullptr;
    GVariant* value =
        g_variant_parse(G_VARIANT_TYPE(tupleType.c_str()), event.args.c_str(), nullptr, nullptr, &parseError);
    if (value == nullptr) {
        error = std::string("\"args\" do not parse as ") + tupleType + ": " + parseError->message;
        g_error_free(parseError);
        return false;
    }
    g_variant_unref(value);
    return true;
}

bool readEvent(const Fields& fields, Event& event, std::string& error)
{
    std::int64_t serial = 0;
    std::int64_t replySerial = 0;
    std::string kind;
    if (!fields.integer("t_mono_ns", 0, G_MAXINT64, event.monoNs, error) || !fields.string("wall", event.wall, error) ||
        !fields.string("kind", kind, error) || !fields.integer("serial", 0, G_MAXUINT32, serial, error) ||
        !fields.integer("reply_serial", 0, G_MAXUINT32, replySerial, error) ||
        !fields.string("sender", event.sender, error) || !fields.string("destination", event.destination, error) ||
        !fields.string("member", event.member, error) || !fields.string("signature", event.signature, error) ||
        !fields.string("args", event.args, error)) {
        return false;
    }
    if (!kindFromName(kind, event.kind)) {
        error = "\"kind\" is not call, reply, error or signal";
        return false;
    }
    event.serial = static_cast<std::uint32_t>(serial);
    event.replySerial = static_cast<std::uint32_t>(replySerial);
    if (event.kind == EventKind::Error && !fields.string("error_name", event.errorName, error)) {
        return false;
    }
    if (!checkArgs(event, error)) {
        return false;
    }
    if (fields.has("store")) {
        JsonNode* node = json_object_get_member(fields.object(), "store");
        if (!JSON_NODE_HOLDS_OBJECT(node)) {
            error = "\"store\" is not an object";
            return false;
        }
        JsonObject* store = json_node_get_object(node);
        if (!decodeList(store, "known", event.hasKnown, event.known, error) ||
            !decodeList(store, "discovered", event.hasDiscovered, event.discovered, error)) {
            return false;
        }
    }
    std::string field;
    std::string reason;
    if (!checkStore(event, field, reason)) {
        error = "\"" + field + "\" " + reason;
        return false;
    }
    return true;
}

bool readHeader(const Fields& fields, Header& header, std::string& error)
{
    std::int64_t version = 0;
    if (!fields.string("format", header.format, error)) {
        return false;
    }
    if (header.format != kFormatName) {
        error = std::string("not a recording (format is not \"") + kFormatName + "\")";
        return false;
    }
    if (!fields.integer("version", 0, G_MAXINT32, version, error)) {
        return false;
    }
    header.version = static_cast<int>(version);
    if (fields.has("personal_info")) {
        if (!fields.string("personal_info", header.personalInfo, error)) {
            return false;
        }
        if (header.personalInfo != kPersonalInfoPseudonymised && header.personalInfo != kPersonalInfoIncluded) {
            error = std::string("\"personal_info\" is neither \"") + kPersonalInfoPseudonymised + "\" nor \"" +
                    kPersonalInfoIncluded + "\"";
            return false;
        }
    }
    return fields.string("recorder", header.recorder, error) &&
           fields.string("interface_sha256", header.interfaceSha256, error) &&
           fields.integer("device_size", 0, G_MAXINT64, header.deviceSize, error) &&
           fields.string("host", header.host, error) && fields.integer("t_mono_ns", 0, G_MAXINT64, header.monoNs, error) &&
           fields.string("wall", header.wall, error);
}

// What one event must agree with in the events before it.
struct Sequence {
    std::int64_t lastNs = 0;
    // Calls not answered yet, by sender and serial: their member.
    std::map<std::pair<std::string, std::uint32_t>, std::string> openCalls;
};

bool checkSequence(const Event& event, const Header& header, Sequence& sequence, std::string& error)
{
    if (event.monoNs < header.monoNs || event.monoNs - header.monoNs > kLongestSpanNs) {
        error = "\"t_mono_ns\" is before the recording began or more than a week after";
        return false;
    }
    if (event.monoNs < sequence.lastNs) {
        error = "\"t_mono_ns\" is before the line above";
        return false;
    }
    sequence.lastNs = event.monoNs;
    if (event.kind == EventKind::Call) {
        sequence.openCalls[{event.sender, event.serial}] = event.member;
        return true;
    }
    if (event.kind == EventKind::Reply || event.kind == EventKind::Error) {
        const auto call = sequence.openCalls.find({event.destination, event.replySerial});
        if (call == sequence.openCalls.end() || call->second != event.member) {
            error = "\"reply_serial\" answers no earlier call to " + event.member + " of that destination";
            return false;
        }
        sequence.openCalls.erase(call);
    }
    return true;
}

bool parseLine(const std::string& line, bool isHeader, Recording& recording, std::string& error)
{
    if (nestingDepth(line) > kDeepestLine) {
        error = "the line is nested deeper than " + std::to_string(kDeepestLine);
        return false;
    }
    JsonParser* parser = json_parser_new();
    GError* parseError = nullptr;
    bool ok = false;
    if (!json_parser_load_from_data(parser, line.data(), static_cast<gssize>(line.size()), &parseError)) {
        error = std::string("not JSON: ") + parseError->message;
        g_error_free(parseError);
    } else {
        JsonNode* root = json_parser_get_root(parser);
        if (root == nullptr || !JSON_NODE_HOLDS_OBJECT(root)) {
            error = "not a JSON object";
        } else if (isHeader) {
            ok = readHeader(Fields(json_node_get_object(root)), recording.header, error) &&
                 checkCompatible(recording.header, error);
        } else {
            Event event;
            ok = readEvent(Fields(json_node_get_object(root)), event, error);
            if (ok) {
                recording.events.push_back(std::move(event));
            }
        }
    }
    g_object_unref(parser);
    return ok;
}

} // namespace

bool parseRecording(const std::string& text, Recording& recording, std::string& error)
{
    recording = Recording();
    if (text.empty()) {
        error = "is empty (no header line)";
        return false;
    }
    std::size_t start = 0;
    std::size_t number = 0;
    Sequence sequence;
    while (start < text.size()) {
        ++number;
        std::size_t end = text.find('\n', start);
        if (end == std::string::npos) {
            error = "line " + std::to_string(number) + " is cut off (no line end): the recording is truncated";
            return false;
        }
        std::string reason;
        if (end - start > kLongestLine) {
            error = "line " + std::to_string(number) + ": the line is longer than " + std::to_string(kLongestLine) +
                    " bytes";
            return false;
        }
        const std::string line = text.substr(start, end - start);
        if (line.find('\0') != std::string::npos) {
            reason = "holds a NUL byte";
        } else if (!g_utf8_validate(line.data(), static_cast<gssize>(line.size()), nullptr)) {
            reason = "is not UTF-8";
        } else if (parseLine(line, number == 1, recording, reason)) {
            if (number == 1) {
                start = end + 1;
                continue;
            }
            Event& event = recording.events.back();
            event.line = number;
            if (checkSequence(event, recording.header, sequence, reason)) {
                start = end + 1;
                continue;
            }
        }
        // One line, whatever the parser quoted from the input.
        for (char& c : reason) {
            if (static_cast<unsigned char>(c) < 0x20) {
                c = ' ';
            }
        }
        error = "line " + std::to_string(number) + ": " + reason;
        return false;
    }
    return true;
}

bool loadRecording(const std::string& path, Recording& recording, std::string& error)
{
    // Read whole, so bounded first: a recording is never read past this.
    GStatBuf info;
    if (g_stat(path.c_str(), &info) == 0 && info.st_size > kLargestFile) {
        error = "recording " + path + " is larger than " + std::to_string(kLargestFile / (1024 * 1024)) + " MiB";
        return false;
    }
    gchar* contents = nullptr;
    gsize length = 0;
    GError* readError = nullptr;
    if (!g_file_get_contents(path.c_str(), &contents, &length, &readError)) {
        error = "cannot read recording " + path + ": " + readError->message;
        g_error_free(readError);
        return false;
    }
    const std::string text(contents, length);
    g_free(contents);
    std::string reason;
    if (!parseRecording(text, recording, reason)) {
        error = "recording " + path + " " + reason;
        return false;
    }
    return true;
}

bool checkCompatible(const Header& header, std::string& error)
{
    if (header.version != kFormatVersion) {
        error = "\"version\" is " + std::to_string(header.version) + ", this build reads version " +
                std::to_string(kFormatVersion);
        return false;
    }
    if (header.interfaceSha256 != interfaceSha256()) {
        error = "\"interface_sha256\": made for interface sha256 " + header.interfaceSha256.substr(0, 64) +
                ", this build has " + interfaceSha256();
        return false;
    }
    if (header.deviceSize != deviceSize()) {
        error = "\"device_size\": made for a DEVICE of " + std::to_string(header.deviceSize) +
                " bytes, this build has " + std::to_string(deviceSize());
        return false;
    }
    return true;
}

} // namespace velrec
