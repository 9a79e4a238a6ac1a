// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// velctl record FILE: a bus monitor on the service's interface that writes
// every call, reply, error and signal into a recording, with the device lists
// that each list notice announced.

#include <glib-unix.h>
#include <gio/gio.h>
#include <unistd.h>

#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "Commands.h"
#include "Exit.h"
#include "InterfaceCheck.h"
#include "Pseudonymiser.h"
#include "RecordingFormat.h"
#include "RecordingWriter.h"
#include "vel/VelLibShm.h"
#include "vel/VelTypes.h"

namespace velctl {

namespace {

constexpr const char* kInterface = "com.qor.vel_communicator";
// At most this long between a message on the bus and its line on disk.
constexpr guint kFlushIntervalMs = 100;

struct Recorder {
    velrec::RecordingWriter writer;
    GMainLoop* loop = nullptr;
    std::string ownName;
    std::string failure;
    // Calls seen, by their sender and serial, so that replies find their member.
    std::mutex callsMutex;
    std::map<std::pair<std::string, guint32>, std::string> openCalls;
    // Created at the first list notice: the store may not exist before.
    // Never destroyed, because a reader that goes removes the store's names.
    VelLibShm* reader = nullptr;
    // Null when the user asked to keep personal information.
    std::unique_ptr<velrec::Pseudonymiser> pseudonymiser;
};

Recorder* gRecorder = nullptr;

std::string bodyText(GDBusMessage* message)
{
    GVariant* body = g_dbus_message_get_body(message);
    gchar* printed = body != nullptr ? g_variant_print(body, TRUE) : g_strdup("()");
    std::string text = printed;
    g_free(printed);
    return text;
}

const char* orEmpty(const char* text)
{
    return text != nullptr ? text : "";
}

bool readList(Recorder& recorder, DEVICE_LIST_TYPE listType, std::size_t records, std::vector<guint8>& bytes)
{
    if (recorder.reader == nullptr) {
        auto* reader = new VelLibShm();
        if (!reader->initialize("velctl-record")) {
            // Kept anyway (see Recorder::reader); a later notice tries again.
            return false;
        }
        recorder.reader = reader;
    }
    bytes.assign(records * sizeof(DEVICE), 0);
    if (records == 0) {
        return true;
    }
    return recorder.reader->readData(reinterpret_cast<DEVICE*>(bytes.data()), listType,
                                     static_cast<int>(bytes.size()));
}

// The lists as the application reads them: the known list whole, the
// discovered list as many records as the notice announced.
void snapshotStore(Recorder& recorder, GDBusMessage* message, velrec::Event& event)
{
    GVariant* body = g_dbus_message_get_body(message);
    if (body == nullptr || !g_variant_is_of_type(body, G_VARIANT_TYPE("(usi)"))) {
        return;
    }
    guint32 notice = 0;
    const gchar* count = nullptr;
    gint32 info2 = 0;
    g_variant_get(body, "(u&si)", &notice, &count, &info2);
    // Only a count that the replay can hold the snapshot to: a notice of
    // another kind or with a count out of range is recorded without one.
    guint64 records = 0;
    if ((notice != KNOWN_DEVICE_LIST && notice != DISCOVERED_DEVICE_LIST) ||
        !g_ascii_string_to_unsigned(count, 10, 0, VEL_MAX_DEVICE_COUNT, &records, nullptr)) {
        return;
    }
    if (notice == KNOWN_DEVICE_LIST) {
        event.hasKnown = readList(recorder, KNOWN_DEVICE_LIST, VEL_MAX_DEVICE_COUNT, event.known);
    } else {
        event.hasDiscovered =
            readList(recorder, DISCOVERED_DEVICE_LIST, static_cast<std::size_t>(records), event.discovered);
    }
}

bool describe(Recorder& recorder, GDBusMessage* message, velrec::Event& event)
{
    const GDBusMessageType type = g_dbus_message_get_message_type(message);
    event.serial = g_dbus_message_get_serial(message);
    event.sender = orEmpty(g_dbus_message_get_sender(message));
    event.destination = orEmpty(g_dbus_message_get_destination(message));
    event.signature = orEmpty(g_dbus_message_get_signature(message));
    event.args = bodyText(message);
    if (type == G_DBUS_MESSAGE_TYPE_METHOD_CALL || type == G_DBUS_MESSAGE_TYPE_SIGNAL) {
        if (g_strcmp0(g_dbus_message_get_interface(message), kInterface) != 0) {
            return false;
        }
        event.member = orEmpty(g_dbus_message_get_member(message));
        event.kind = type == G_DBUS_MESSAGE_TYPE_SIGNAL ? velrec::EventKind::Signal : velrec::EventKind::Call;
        // What the interface does not have (a peer's mistaken call), no
        // replay could play: it is left out, and so is its answer.
        std::string field;
        std::string reason;
        if (!velrec::checkMember(event, field, reason)) {
            return false;
        }
        if (type == G_DBUS_MESSAGE_TYPE_SIGNAL) {
            if (event.member == "noticeToApp") {
                snapshotStore(recorder, message, event);
            }
            return true;
        }
        event.kind = velrec::EventKind::Call;
        std::lock_guard<std::mutex> lock(recorder.callsMutex);
        recorder.openCalls[{event.sender, event.serial}] = event.member;
        return true;
    }
    // Only the answers to the calls recorded above.
    event.replySerial = g_dbus_message_get_reply_serial(message);
    std::lock_guard<std::mutex> lock(recorder.callsMutex);
    const auto call = recorder.openCalls.find({event.destination, event.replySerial});
    if (call == recorder.openCalls.end()) {
        return false;
    }
    event.member = call->second;
    recorder.openCalls.erase(call);
    if (type == G_DBUS_MESSAGE_TYPE_ERROR) {
        event.kind = velrec::EventKind::Error;
        event.errorName = orEmpty(g_dbus_message_get_error_name(message));
    } else {
        event.kind = velrec::EventKind::Reply;
    }
    // An answer of another type than the interface's (a faulty service)
    // would be refused by a replay: it is left out, and its call replays as
    // one recorded without an answer.
    std::string field;
    std::string reason;
    return velrec::checkMember(event, field, reason);
}

// GDBus's worker thread, in bus order. Everything the monitor receives is
// consumed here: a monitor must never answer, and GDBus would answer calls.
GDBusMessage* onMessage(GDBusConnection*, GDBusMessage* message, gboolean incoming, gpointer data)
{
    auto& recorder = *static_cast<Recorder*>(data);
    if (!incoming) {
        return message;
    }
    // Our own traffic (the BecomeMonitor reply, NameLost) goes on as usual.
    if (g_strcmp0(g_dbus_message_get_destination(message), recorder.ownName.c_str()) == 0) {
        return message;
    }
    velrec::Event event;
    event.monoNs = velrec::monotonicNs();
    event.wall = velrec::wallNow();
    if (describe(recorder, message, event)) {
        if (recorder.pseudonymiser) {
            recorder.pseudonymiser->scrubEvent(event);
        }
        recorder.writer.append(velrec::eventLine(event));
    }
    g_object_unref(message);
    return nullptr;
}

gboolean flushTick(gpointer data)
{
    auto& recorder = *static_cast<Recorder*>(data);
    if (!recorder.writer.flush(recorder.failure)) {
        g_main_loop_quit(recorder.loop);
        return G_SOURCE_REMOVE;
    }
    return G_SOURCE_CONTINUE;
}

gboolean stopRecording(gpointer data)
{
    g_main_loop_quit(static_cast<Recorder*>(data)->loop);
    return G_SOURCE_REMOVE;
}

void onClosed(GDBusConnection*, gboolean, GError*, gpointer data)
{
    auto& recorder = *static_cast<Recorder*>(data);
    recorder.failure = "the bus closed the monitor's connection";
    g_main_loop_quit(recorder.loop);
}

GDBusConnection* connectToSystemBus()
{
    GError* error = nullptr;
    gchar* address = g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SYSTEM, nullptr, &error);
    GDBusConnection* connection = nullptr;
    if (address != nullptr) {
        // A connection of its own: a monitor can do nothing else on it.
        connection = g_dbus_connection_new_for_address_sync(
            address,
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, &error);
        g_free(address);
    }
    if (connection == nullptr) {
        const std::string reason = std::string("no system bus: ") + error->message;
        g_error_free(error);
        fail(kExitUnreachable, reason);
    }
    g_dbus_connection_set_exit_on_close(connection, FALSE);
    return connection;
}

void becomeMonitor(GDBusConnection* connection)
{
    const std::string calls = std::string("type='method_call',interface='") + kInterface + "'";
    const std::string signals = std::string("type='signal',interface='") + kInterface + "'";
    const gchar* rules[] = {calls.c_str(), signals.c_str(), "type='method_return'", "type='error'", nullptr};
    GError* error = nullptr;
    GVariant* reply = g_dbus_connection_call_sync(connection, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                  "org.freedesktop.DBus.Monitoring", "BecomeMonitor",
                                                  g_variant_new("(^asu)", rules, 0u), nullptr,
                                                  G_DBUS_CALL_FLAGS_NONE, -1, nullptr, &error);
    if (reply == nullptr) {
        gchar* remote = g_dbus_error_get_remote_error(error);
        g_dbus_error_strip_remote_error(error);
        const std::string reason = std::string("this bus does not let us monitor it (") +
                                   (remote != nullptr ? remote : "error") + ": " + error->message +
                                   "); record as root";
        g_free(remote);
        g_error_free(error);
        fail(kExitUnreachable, reason);
    }
    g_variant_unref(reply);
}

std::string hostName()
{
    char name[256] = {0};
    if (gethostname(name, sizeof(name) - 1) != 0) {
        return "";
    }
    return name;
}

} // namespace

[[noreturn]] void runRecord(const CommandLine& line)
{
    if (line.command.empty() || !line.arguments.empty()) {
        fail(kExitUsage, "record takes one file name (see velctl --help)");
    }
    const std::string& path = line.command;
    gRecorder = new Recorder();
    Recorder& recorder = *gRecorder;
    recorder.loop = g_main_loop_new(nullptr, FALSE);

    GDBusConnection* connection = connectToSystemBus();
    // Known before monitoring starts, so that the filter tells our own
    // messages from the monitored ones from the first message on.
    recorder.ownName = g_dbus_connection_get_unique_name(connection);
    velrec::Header header;
    header.recorder = velrec::recorderName();
    header.interfaceSha256 = velrec::interfaceSha256();
    header.deviceSize = velrec::deviceSize();
    header.host = hostName();
    header.monoNs = velrec::monotonicNs();
    header.wall = velrec::wallNow();
    if (line.includePersonalInfo) {
        header.personalInfo = velrec::kPersonalInfoIncluded;
    } else {
        recorder.pseudonymiser.reset(new velrec::Pseudonymiser());
        recorder.pseudonymiser->scrubHeader(header);
    }
    // Ahead of any event, which the worker thread appends once monitoring.
    recorder.writer.append(velrec::headerLine(header));
    g_dbus_connection_add_filter(connection, onMessage, &recorder, nullptr);
    g_signal_connect(connection, "closed", G_CALLBACK(onClosed), &recorder);
    becomeMonitor(connection);

    // Only now: a refused monitor leaves no file behind.
    std::string error;
    if (!recorder.writer.open(path, line.force, error) || !recorder.writer.flush(error)) {
        fail(kExitFailed, error);
    }

    g_timeout_add(kFlushIntervalMs, flushTick, &recorder);
    g_unix_signal_add(SIGINT, stopRecording, &recorder);
    g_unix_signal_add(SIGTERM, stopRecording, &recorder);
    std::printf("recording %s to %s until interrupted\n", kInterface, path.c_str());
    std::fflush(stdout);
    g_main_loop_run(recorder.loop);

    if (recorder.failure.empty()) {
        recorder.writer.flush(recorder.failure);
    }
    if (!recorder.failure.empty()) {
        fail(kExitFailed, recorder.failure);
    }
    std::printf("recorded %zu events\n", recorder.writer.linesWritten() - 1);
    finish(kExitOk);
}

} // namespace velctl
