// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// Replay side of mvel-sim: plays a recording made on a head unit with
// `velctl record` back to the clients of this simulator. Signals go out at
// their recorded distances (scaled by --speed): those that followed a call go
// out after the matching call arrives here, the others from the start of the
// replay. Calls are answered from the recording where it has a counterpart,
// and by the simulator's own modules where it has none.

#include <algorithm>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "RecordingReader.h"
#include "ReplaySchedule.h"
#include "SimModule.h"
#include "SimStore.h"

namespace {

struct ReplayOptions {
    gchar* file = nullptr;
    gdouble speed = 1.0;
    gboolean loop = FALSE;
};

// Signals to send at their recorded distance from an anchor: a call, or the
// start of the recording.
struct Segment {
    std::int64_t anchorNs = 0;
    gint64 localStartUs = 0;
    std::vector<const velrec::Event*> signals;
    std::size_t next = 0;
};

ReplayOptions gOptions;
velrec::Recording gRecording;
std::unique_ptr<velrec::ReplaySchedule> gSchedule;
std::mutex gCallsMutex;
// Calls that the recording shows unanswered stay unanswered.
std::vector<GDBusMethodInvocation*> gUnanswered;
sim::Context* gContext = nullptr;

bool replaying()
{
    return gOptions.file != nullptr;
}

void emitRecorded(const velrec::Event& event)
{
    if (event.hasKnown) {
        const bool done = sim::publishKnownRaw(event.known.data(), event.known.size());
        sim::logLine("replay publish list 0 with %zu bytes: %s", event.known.size(), done ? "done" : "failed");
    }
    if (event.hasDiscovered && !event.discovered.empty()) {
        const bool done = sim::publishDiscoveredRaw(event.discovered.data(), event.discovered.size());
        sim::logLine("replay publish list 1 with %zu bytes: %s", event.discovered.size(), done ? "done" : "failed");
    }
    GVariant* parameters = velrec::ReplaySchedule::argsValue(event);
    if (parameters == nullptr) {
        sim::logLine("replay signal %s skipped: its arguments do not parse", event.member.c_str());
        return;
    }
    sim::logLine("replay signal %s %s", event.member.c_str(), event.args.c_str());
    GError* error = nullptr;
    if (!g_dbus_connection_emit_signal(gContext->connection, nullptr, sim::kServicePath, sim::kServiceName,
                                       event.member.c_str(), parameters, &error)) {
        sim::logLine("replay signal %s failed: %s", event.member.c_str(), error->message);
        g_error_free(error);
    }
    g_variant_unref(parameters);
}

gint64 scaledUs(std::int64_t recordedNs)
{
    return velrec::ReplaySchedule::scaledUs(recordedNs, gOptions.speed);
}

guint timeoutMs(gint64 us)
{
    return velrec::ReplaySchedule::timeoutMs(us);
}

gboolean runSegment(gpointer data)
{
    auto* segment = static_cast<Segment*>(data);
    // Everything that is due now goes out, in recorded order.
    while (segment->next < segment->signals.size()) {
        const velrec::Event& event = *segment->signals[segment->next];
        const gint64 due = segment->localStartUs + scaledUs(event.monoNs - segment->anchorNs);
        const gint64 now = g_get_monotonic_time();
        if (due > now) {
            g_timeout_add(timeoutMs(due - now), runSegment, segment);
            return G_SOURCE_REMOVE;
        }
        emitRecorded(event);
        ++segment->next;
    }
    delete segment;
    return G_SOURCE_REMOVE;
}

void startSegment(std::int64_t anchorNs, const std::vector<const velrec::Event*>& signals)
{
    if (signals.empty()) {
        return;
    }
    auto* segment = new Segment{anchorNs, g_get_monotonic_time(), signals, 0};
    // Through the main loop, also from the thread that authorizes calls, and
    // after the answer to the anchoring call is on its way.
    g_timeout_add(0, runSegment, segment);
}

gboolean restartLoop(gpointer);

void startRecording()
{
    startSegment(gRecording.header.monoNs, gSchedule->startSignals());
    if (gOptions.loop) {
        const gint64 periodUs = std::max<gint64>(scaledUs(gSchedule->lastNs() - gRecording.header.monoNs), 1000);
        g_timeout_add(timeoutMs(periodUs), restartLoop, nullptr);
    }
}

gboolean restartLoop(gpointer)
{
    {
        std::lock_guard<std::mutex> lock(gCallsMutex);
        gSchedule->restart();
    }
    sim::logLine("replay starts again");
    startRecording();
    return G_SOURCE_REMOVE;
}

void answerFromRecording(GDBusMethodInvocation* invocation, const velrec::Event* answer)
{
    g_object_ref(invocation);
    if (answer == nullptr) {
        gUnanswered.push_back(invocation);
        return;
    }
    GVariant* body = velrec::ReplaySchedule::argsValue(*answer);
    if (body == nullptr) {
        g_dbus_method_invocation_return_dbus_error(invocation, "org.freedesktop.DBus.Error.Failed",
                                                   "the recorded answer does not parse");
        return;
    }
    if (answer->kind == velrec::EventKind::Error) {
        const gchar* message = "";
        if (g_variant_is_of_type(body, G_VARIANT_TYPE("(s)"))) {
            g_variant_get(body, "(&s)", &message);
        }
        g_dbus_method_invocation_return_dbus_error(invocation, answer->errorName.c_str(), message);
        g_variant_unref(body);
        return;
    }
    g_dbus_method_invocation_return_value(invocation, body);
    g_variant_unref(body);
}

// Runs for every call of the service's interface before its handler, on a
// thread of its own. FALSE: answered here from the recording.
gboolean onAuthorizeMethod(GDBusInterfaceSkeleton*, GDBusMethodInvocation* invocation, gpointer)
{
    const std::string member = g_dbus_method_invocation_get_method_name(invocation);
    gchar* printed = g_variant_print(g_dbus_method_invocation_get_parameters(invocation), TRUE);
    const std::string args = printed;
    g_free(printed);

    std::lock_guard<std::mutex> lock(gCallsMutex);
    bool equalArgs = false;
    velrec::RecordedCall* counterpart = gSchedule->findCounterpart(member, args, equalArgs);
    if (counterpart == nullptr) {
        sim::logLine("unexpected call %s %s: answered by the simulator", member.c_str(), args.c_str());
        return TRUE;
    }
    const char* answer = counterpart->answer == nullptr ? "recorded without an answer" : "recorded answer";
    if (equalArgs) {
        sim::logLine("replay call %s: equal arguments, %s", member.c_str(), answer);
    } else {
        sim::logLine("replay call %s: same method, other arguments (recorded %s), %s", member.c_str(),
                     counterpart->call->args.c_str(), answer);
    }
    answerFromRecording(invocation, counterpart->answer);
    if (!counterpart->consumed) {
        counterpart->consumed = true;
        startSegment(counterpart->call->monoNs, counterpart->signals);
    }
    return FALSE;
}

gboolean loadReplay(GOptionContext*, GOptionGroup*, gpointer, GError** error)
{
    if (!replaying()) {
        return TRUE;
    }
    std::string reason;
    if (!(gOptions.speed > 0.0 && gOptions.speed <= 1000.0)) {
        reason = "--speed must be above 0 and at most 1000";
    } else {
        // Every line is checked against the interface here, before the
        // simulator takes the bus name.
        velrec::loadRecording(gOptions.file, gRecording, reason);
    }
    if (!reason.empty()) {
        g_set_error(error, G_OPTION_ERROR, G_OPTION_ERROR_FAILED, "%s", reason.c_str());
        return FALSE;
    }
    gSchedule.reset(new velrec::ReplaySchedule(gRecording));
    return TRUE;
}

GOptionGroup* replayOptions()
{
    static const GOptionEntry entries[] = {
        {"replay", 0, G_OPTION_FLAG_IN_MAIN, G_OPTION_ARG_FILENAME, &gOptions.file,
         "Play back a recording made with velctl record: its signals, device lists and answers", "FILE"},
        {"speed", 0, G_OPTION_FLAG_IN_MAIN, G_OPTION_ARG_DOUBLE, &gOptions.speed,
         "Replay that many times faster than recorded (default 1)", "X"},
        {"loop", 0, G_OPTION_FLAG_IN_MAIN, G_OPTION_ARG_NONE, &gOptions.loop,
         "Start the replay again when the recording's time is over", nullptr},
        {nullptr, 0, 0, G_OPTION_ARG_NONE, nullptr, nullptr, nullptr}};
    GOptionGroup* group = g_option_group_new("replay", "Replay of a recording (docs/record-replay.md):",
                                             "Show the replay options", nullptr, nullptr);
    g_option_group_add_entries(group, entries);
    g_option_group_set_parse_hooks(group, nullptr, loadReplay);
    return group;
}

void attachReplay(sim::Context& context)
{
    gContext = &context;
    if (replaying()) {
        g_signal_connect(context.skeleton, "g-authorize-method", G_CALLBACK(onAuthorizeMethod), nullptr);
    }
}

void exportReplay(sim::Context&)
{
    if (!replaying()) {
        return;
    }
    sim::logLine("replay %s: %zu calls, %zu events at speed %g%s", gOptions.file, gSchedule->callCount(),
                 gRecording.events.size(), gOptions.speed, gOptions.loop ? ", looping" : "");
    startRecording();
}

void shutdownReplay(sim::Context&)
{
    for (GDBusMethodInvocation* invocation : gUnanswered) {
        g_object_unref(invocation);
    }
    gUnanswered.clear();
    g_free(gOptions.file);
    gOptions = ReplayOptions();
    gSchedule.reset();
}

const sim::Module kReplayModule = {"replay", replayOptions, attachReplay, exportReplay, shutdownReplay, nullptr};
const sim::Registrar kReplayRegistrar(kReplayModule);

} // namespace
