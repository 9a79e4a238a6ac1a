// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "InterfaceCheck.h"

#include <gio/gio.h>

#include <utility>

#include "InterfaceXml.h"
#include "vel/VelTypes.h"

namespace velrec {

namespace {

constexpr const char* kInterfaceName = "com.qor.vel_communicator";

GDBusInterfaceInfo* interfaceInfo()
{
    static GDBusInterfaceInfo* info = [] {
        GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(kInterfaceXml, nullptr);
        GDBusInterfaceInfo* found = g_dbus_node_info_lookup_interface(node, kInterfaceName);
        g_dbus_interface_info_ref(found);
        g_dbus_interface_info_cache_build(found);
        g_dbus_node_info_unref(node);
        return found;
    }();
    return info;
}

std::string signatureOf(GDBusArgInfo** args)
{
    std::string signature;
    for (GDBusArgInfo** arg = args; arg != nullptr && *arg != nullptr; ++arg) {
        signature += (*arg)->signature;
    }
    return signature;
}

// One line of the reason may quote the file: no control characters, bounded.
std::string quoted(const std::string& text)
{
    std::string shown = text.substr(0, 64);
    for (char& c : shown) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) {
            c = '?';
        }
    }
    return "\"" + shown + (text.size() > 64 ? "...\"" : "\"");
}

} // namespace

bool checkMember(const Event& event, std::string& field, std::string& reason)
{
    GDBusInterfaceInfo* info = interfaceInfo();
    std::string expected;
    field = "member";
    if (event.kind == EventKind::Signal) {
        GDBusSignalInfo* signal = g_dbus_interface_info_lookup_signal(info, event.member.c_str());
        if (signal == nullptr) {
            reason = quoted(event.member) + " is not a signal of " + kInterfaceName;
            return false;
        }
        expected = signatureOf(signal->args);
    } else {
        GDBusMethodInfo* method = g_dbus_interface_info_lookup_method(info, event.member.c_str());
        if (method == nullptr) {
            reason = quoted(event.member) + " is not a method of " + kInterfaceName;
            return false;
        }
        expected = signatureOf(event.kind == EventKind::Call ? method->in_args : method->out_args);
    }
    if (event.kind == EventKind::Error) {
        field = "error_name";
        if (!g_dbus_is_interface_name(event.errorName.c_str())) {
            reason = quoted(event.errorName) + " is not a D-Bus error name";
            return false;
        }
        // An error carries its message, or nothing.
        expected = event.signature.empty() ? "" : "s";
    }
    field = "signature";
    if (event.signature != expected) {
        reason = quoted(event.signature) + " is not the signature of " + event.member + " (\"" + expected + "\")";
        return false;
    }
    const std::pair<const char*, const std::string*> names[] = {{"sender", &event.sender},
                                                                 {"destination", &event.destination}};
    for (const auto& [label, name] : names) {
        if (!name->empty() && !g_dbus_is_name(name->c_str())) {
            field = label;
            reason = quoted(*name) + " is not a bus name";
            return false;
        }
    }
    return true;
}

bool checkStore(const Event& event, std::string& field, std::string& reason)
{
    field = "store";
    if (!event.hasKnown && !event.hasDiscovered) {
        return true;
    }
    if (event.kind != EventKind::Signal || event.member != "noticeToApp") {
        reason = "only a noticeToApp signal carries device lists";
        return false;
    }
    GVariant* body = g_variant_parse(G_VARIANT_TYPE("(usi)"), event.args.c_str(), nullptr, nullptr, nullptr);
    if (body == nullptr) {
        reason = "belongs to a notice whose arguments do not parse";
        return false;
    }
    guint32 notice = 0;
    const gchar* count = nullptr;
    gint32 detail = 0;
    g_variant_get(body, "(u&si)", &notice, &count, &detail);
    const std::string announced = count;
    g_variant_unref(body);
    const bool known = notice == KNOWN_DEVICE_LIST;
    if ((!known && notice != DISCOVERED_DEVICE_LIST) || (known && event.hasDiscovered) ||
        (!known && event.hasKnown)) {
        reason = "does not hold the list that notice " + std::to_string(notice) + " announces";
        return false;
    }
    const std::size_t records = (known ? event.known.size() : event.discovered.size()) / sizeof(DEVICE);
    guint64 number = 0;
    if (!g_ascii_string_to_unsigned(announced.c_str(), 10, 0, VEL_MAX_DEVICE_COUNT, &number, nullptr) ||
        number > records) {
        field = "args";
        reason = "the notice announces " + quoted(announced) + " records, its store holds " +
                 std::to_string(records);
        return false;
    }
    return true;
}

std::size_t nestingDepth(const std::string& text)
{
    std::size_t depth = 0;
    std::size_t deepest = 0;
    char quote = 0;
    for (std::size_t index = 0; index < text.size(); ++index) {
        const char c = text[index];
        if (quote != 0) {
            if (c == '\\') {
                ++index;
            } else if (c == quote) {
                quote = 0;
            }
            continue;
        }
        switch (c) {
        case '"':
        case '\'':
            quote = c;
            break;
        case '(':
        case '[':
        case '{':
        case '<':
            deepest = std::max(deepest, ++depth);
            break;
        case ')':
        case ']':
        case '}':
        case '>':
            depth = depth > 0 ? depth - 1 : 0;
            break;
        default:
            break;
        }
    }
    return deepest;
}

} // namespace velrec
