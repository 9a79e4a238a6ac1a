// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "VariantFromBytes.h"

#include <cstring>
#include <string>
#include <vector>

namespace velfuzz {

namespace {

// How the bytes after the first one are read.
enum Mode : uint8_t {
    kSerialisedExpectedType = 0,
    kSerialisedOwnType = 1,
    kBuiltExpectedType = 2,
    kBuiltOwnType = 3,
    kNoParameters = 4,
    kModeCount = 5,
};

constexpr int kMaxDepth = 24;
constexpr size_t kMaxArray = 10000;
constexpr size_t kShortArray = 16;
constexpr size_t kMaxTuple = 16;

const char kBasicTypes[] = "bynqiuxthdsog";

GVariantType* randomType(FuzzedDataProvider& input, int depth);

GVariantType* basicType(FuzzedDataProvider& input)
{
    const char code = kBasicTypes[input.ConsumeIntegralInRange<size_t>(0, sizeof(kBasicTypes) - 2)];
    return g_variant_type_new(std::string(1, code).c_str());
}

GVariantType* randomType(FuzzedDataProvider& input, int depth)
{
    if (depth >= kMaxDepth || input.remaining_bytes() == 0) {
        return basicType(input);
    }
    switch (input.ConsumeIntegralInRange<int>(0, 9)) {
    case 0:
        return g_variant_type_new("v");
    case 1: {
        GVariantType* element = randomType(input, depth + 1);
        GVariantType* array = g_variant_type_new_array(element);
        g_variant_type_free(element);
        return array;
    }
    case 2: {
        GVariantType* element = randomType(input, depth + 1);
        GVariantType* maybe = g_variant_type_new_maybe(element);
        g_variant_type_free(element);
        return maybe;
    }
    case 3:
    case 4: {
        const size_t count = input.ConsumeIntegralInRange<size_t>(0, kMaxTuple);
        std::vector<GVariantType*> members;
        for (size_t i = 0; i < count; ++i) {
            members.push_back(randomType(input, depth + 1));
        }
        GVariantType* tuple = g_variant_type_new_tuple(members.data(), static_cast<gint>(members.size()));
        for (GVariantType* member : members) {
            g_variant_type_free(member);
        }
        return tuple;
    }
    case 5: {
        GVariantType* key = basicType(input);
        GVariantType* value = randomType(input, depth + 1);
        GVariantType* entry = g_variant_type_new_dict_entry(key, value);
        g_variant_type_free(key);
        g_variant_type_free(value);
        GVariantType* dict = g_variant_type_new_array(entry);
        g_variant_type_free(entry);
        return dict;
    }
    default:
        return basicType(input);
    }
}

// Any bytes, made into what a string of the bus may hold.
std::string oddString(FuzzedDataProvider& input)
{
    const std::string raw = input.ConsumeRandomLengthString(input.ConsumeBool() ? 64 : 4096);
    gchar* valid = g_utf8_make_valid(raw.data(), static_cast<gssize>(raw.size()));
    std::string text(valid);
    g_free(valid);
    return text;
}

std::string objectPath(FuzzedDataProvider& input)
{
    std::string path = "/";
    for (char c : input.ConsumeRandomLengthString(32)) {
        const bool allowed = g_ascii_isalnum(c) || c == '_';
        if (allowed) {
            path += c;
        } else if (path.back() != '/') {
            path += '/';
        }
    }
    if (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

GVariant* buildValue(FuzzedDataProvider& input, const GVariantType* type, int depth);

GVariant* buildBasic(FuzzedDataProvider& input, char code)
{
    switch (code) {
    case 'b': return g_variant_new_boolean(input.ConsumeBool());
    case 'y': return g_variant_new_byte(input.ConsumeIntegral<guint8>());
    case 'n': return g_variant_new_int16(input.ConsumeIntegral<gint16>());
    case 'q': return g_variant_new_uint16(input.ConsumeIntegral<guint16>());
    case 'i': return g_variant_new_int32(input.ConsumeIntegral<gint32>());
    case 'u': return g_variant_new_uint32(input.ConsumeIntegral<guint32>());
    case 'x': return g_variant_new_int64(input.ConsumeIntegral<gint64>());
    case 't': return g_variant_new_uint64(input.ConsumeIntegral<guint64>());
    case 'h': return g_variant_new_handle(input.ConsumeIntegral<gint32>());
    case 'd': return g_variant_new_double(input.ConsumeFloatingPoint<double>());
    case 'o': return g_variant_new_object_path(objectPath(input).c_str());
    case 'g': return g_variant_new_signature(input.ConsumeBool() ? "(usi)" : "");
    default: return g_variant_new_string(oddString(input).c_str());
    }
}

GVariant* buildValue(FuzzedDataProvider& input, const GVariantType* type, int depth)
{
    if (g_variant_type_is_basic(type)) {
        return buildBasic(input, g_variant_type_peek_string(type)[0]);
    }
    if (g_variant_type_is_variant(type)) {
        GVariantType* inner = randomType(input, depth + 1);
        GVariant* value = buildValue(input, inner, depth + 1);
        g_variant_type_free(inner);
        return g_variant_new_variant(value);
    }
    if (g_variant_type_is_maybe(type)) {
        const GVariantType* element = g_variant_type_element(type);
        GVariant* child = input.ConsumeBool() ? buildValue(input, element, depth + 1) : nullptr;
        return g_variant_new_maybe(element, child);
    }
    if (g_variant_type_is_array(type)) {
        const GVariantType* element = g_variant_type_element(type);
        // Mostly short, now and then long: a long array of one repeated
        // element costs the input one element's bytes, but building it costs
        // time, so it stays rare enough for millions of runs.
        const bool huge = input.ConsumeIntegral<uint8_t>() == 0xa5;
        const size_t count = huge ? input.ConsumeIntegralInRange<size_t>(0, kMaxArray)
                                  : input.ConsumeIntegralInRange<size_t>(0, kShortArray);
        GVariantBuilder builder;
        g_variant_builder_init(&builder, type);
        GVariant* repeated = nullptr;
        for (size_t i = 0; i < count; ++i) {
            if (repeated == nullptr) {
                GVariant* element_value = buildValue(input, element, depth + 1);
                if (i >= 8) {
                    repeated = g_variant_ref_sink(element_value);
                    g_variant_builder_add_value(&builder, repeated);
                } else {
                    g_variant_builder_add_value(&builder, element_value);
                }
            } else {
                g_variant_builder_add_value(&builder, repeated);
            }
        }
        if (repeated != nullptr) {
            g_variant_unref(repeated);
        }
        return g_variant_builder_end(&builder);
    }
    // Tuple or dict entry: one value per member.
    std::vector<GVariant*> members;
    for (const GVariantType* member = g_variant_type_first(type); member != nullptr;
         member = g_variant_type_next(member)) {
        members.push_back(buildValue(input, member, depth + 1));
    }
    if (g_variant_type_is_dict_entry(type)) {
        return g_variant_new_dict_entry(members[0], members[1]);
    }
    return g_variant_new_tuple(members.data(), members.size());
}

// A type close to the expected one: a member dropped, added or swapped, or
// the whole tuple wrapped; otherwise any type at all.
GVariantType* typeNear(FuzzedDataProvider& input, const char* expectedType)
{
    const GVariantType* expected = G_VARIANT_TYPE(expectedType);
    std::vector<GVariantType*> members;
    for (const GVariantType* member = g_variant_type_first(expected); member != nullptr;
         member = g_variant_type_next(member)) {
        members.push_back(g_variant_type_copy(member));
    }
    switch (input.ConsumeIntegralInRange<int>(0, 4)) {
    case 0:
        if (!members.empty()) {
            const size_t drop = input.ConsumeIntegralInRange<size_t>(0, members.size() - 1);
            g_variant_type_free(members[drop]);
            members.erase(members.begin() + static_cast<long>(drop));
        }
        break;
    case 1:
        members.push_back(randomType(input, 1));
        break;
    case 2:
        if (!members.empty()) {
            const size_t swap = input.ConsumeIntegralInRange<size_t>(0, members.size() - 1);
            g_variant_type_free(members[swap]);
            members[swap] = randomType(input, 1);
        }
        break;
    case 3: {
        GVariantType* whole = g_variant_type_copy(expected);
        for (GVariantType* member : members) {
            g_variant_type_free(member);
        }
        members.assign(1, whole);
        break;
    }
    default:
        for (GVariantType* member : members) {
            g_variant_type_free(member);
        }
        return randomType(input, 0);
    }
    GVariantType* tuple = g_variant_type_new_tuple(members.data(), static_cast<gint>(members.size()));
    for (GVariantType* member : members) {
        g_variant_type_free(member);
    }
    return tuple;
}

// Serialised bytes read as a value of the type, in untrusted mode, brought
// to normal form the way GDBus hands parameters over.
GVariant* fromSerialised(const GVariantType* type, const std::vector<uint8_t>& bytes)
{
    GBytes* data = g_bytes_new(bytes.data(), bytes.size());
    GVariant* raw = g_variant_ref_sink(g_variant_new_from_bytes(type, data, FALSE));
    g_bytes_unref(data);
    GVariant* normal = g_variant_get_normal_form(raw);
    g_variant_unref(raw);
    return normal;
}

} // namespace

GVariant* variantFromBytes(FuzzedDataProvider& input, const char* expectedType)
{
    const uint8_t mode = input.ConsumeIntegral<uint8_t>() % kModeCount;
    switch (mode) {
    case kSerialisedExpectedType:
        return fromSerialised(G_VARIANT_TYPE(expectedType), input.ConsumeRemainingBytes<uint8_t>());
    case kSerialisedOwnType: {
        const std::string typeString = input.ConsumeRandomLengthString(64);
        if (!g_variant_type_string_is_valid(typeString.c_str()) ||
            !g_variant_type_is_definite(G_VARIANT_TYPE(typeString.c_str()))) {
            return nullptr;
        }
        return fromSerialised(G_VARIANT_TYPE(typeString.c_str()), input.ConsumeRemainingBytes<uint8_t>());
    }
    case kBuiltExpectedType:
        return g_variant_ref_sink(buildValue(input, G_VARIANT_TYPE(expectedType), 0));
    case kBuiltOwnType: {
        GVariantType* type = typeNear(input, expectedType);
        GVariant* value = g_variant_ref_sink(buildValue(input, type, 0));
        g_variant_type_free(type);
        return value;
    }
    default:
        return nullptr;
    }
}

GBytes* seedFor(GVariant* value)
{
    // Stored into an aligned buffer first: the serialiser needs alignment.
    const gsize size = g_variant_get_size(value);
    gpointer aligned = g_malloc0(size + 8);
    g_variant_store(value, aligned);
    // The mode is read from the end of the input (integers come from the
    // back), the serialised value from the front.
    std::vector<uint8_t> bytes(size + 1);
    std::memcpy(bytes.data(), aligned, size);
    bytes[size] = kSerialisedExpectedType;
    g_free(aligned);
    return g_bytes_new(bytes.data(), bytes.size());
}

} // namespace velfuzz
