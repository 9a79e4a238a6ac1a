// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "RecordingFormat.h"

#include <json-glib/json-glib.h>

#include "vel/VelTypes.h"

namespace velrec {

namespace {

std::string generate(JsonBuilder* builder)
{
    JsonNode* root = json_builder_get_root(builder);
    JsonGenerator* generator = json_generator_new();
    json_generator_set_root(generator, root);
    gchar* text = json_generator_to_data(generator, nullptr);
    std::string line = std::string(text) + "\n";
    g_free(text);
    g_object_unref(generator);
    json_node_unref(root);
    g_object_unref(builder);
    return line;
}

void addString(JsonBuilder* builder, const char* name, const std::string& value)
{
    json_builder_set_member_name(builder, name);
    json_builder_add_string_value(builder, value.c_str());
}

void addInt(JsonBuilder* builder, const char* name, std::int64_t value)
{
    json_builder_set_member_name(builder, name);
    json_builder_add_int_value(builder, value);
}

void addBytes(JsonBuilder* builder, const char* name, const std::vector<guint8>& bytes)
{
    gchar* encoded = g_base64_encode(bytes.data(), bytes.size());
    addString(builder, name, encoded);
    g_free(encoded);
}

} // namespace

const char* kindName(EventKind kind)
{
    switch (kind) {
    case EventKind::Call:
        return "call";
    case EventKind::Reply:
        return "reply";
    case EventKind::Error:
        return "error";
    case EventKind::Signal:
        return "signal";
    }
    return "call";
}

bool kindFromName(const std::string& name, EventKind& kind)
{
    for (EventKind candidate : {EventKind::Call, EventKind::Reply, EventKind::Error, EventKind::Signal}) {
        if (name == kindName(candidate)) {
            kind = candidate;
            return true;
        }
    }
    return false;
}

const char* interfaceSha256()
{
    return VEL_INTERFACE_SHA256;
}

std::int64_t deviceSize()
{
    return static_cast<std::int64_t>(sizeof(DEVICE));
}

const char* recorderName()
{
    return "velctl " VEL_RECORDER_VERSION;
}

std::string headerLine(const Header& header)
{
    JsonBuilder* builder = json_builder_new();
    json_builder_begin_object(builder);
    addString(builder, "format", header.format);
    addInt(builder, "version", header.version);
    addString(builder, "recorder", header.recorder);
    addString(builder, "interface_sha256", header.interfaceSha256);
    addInt(builder, "device_size", header.deviceSize);
    addString(builder, "host", header.host);
    if (!header.personalInfo.empty()) {
        addString(builder, "personal_info", header.personalInfo);
    }
    addInt(builder, "t_mono_ns", header.monoNs);
    addString(builder, "wall", header.wall);
    json_builder_end_object(builder);
    return generate(builder);
}

std::string eventLine(const Event& event)
{
    JsonBuilder* builder = json_builder_new();
    json_builder_begin_object(builder);
    addInt(builder, "t_mono_ns", event.monoNs);
    addString(builder, "wall", event.wall);
    addString(builder, "kind", kindName(event.kind));
    addInt(builder, "serial", event.serial);
    addInt(builder, "reply_serial", event.replySerial);
    addString(builder, "sender", event.sender);
    addString(builder, "destination", event.destination);
    addString(builder, "member", event.member);
    addString(builder, "signature", event.signature);
    addString(builder, "args", event.args);
    if (event.kind == EventKind::Error) {
        addString(builder, "error_name", event.errorName);
    }
    if (event.hasKnown || event.hasDiscovered) {
        json_builder_set_member_name(builder, "store");
        json_builder_begin_object(builder);
        if (event.hasKnown) {
            addBytes(builder, "known", event.known);
        }
        if (event.hasDiscovered) {
            addBytes(builder, "discovered", event.discovered);
        }
        json_builder_end_object(builder);
    }
    json_builder_end_object(builder);
    return generate(builder);
}

std::int64_t monotonicNs()
{
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec;
}

std::string wallNow()
{
    GDateTime* now = g_date_time_new_now_utc();
    gchar* text = g_date_time_format(now, "%Y-%m-%dT%H:%M:%S.%fZ");
    std::string wall = text != nullptr ? text : "";
    g_free(text);
    g_date_time_unref(now);
    return wall;
}

} // namespace velrec
