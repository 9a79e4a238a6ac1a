// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// Load generator of mvel-sim for the benchmarks: emits floods or steady
// streams of any service signal, remembers when each one left, and counts the
// calls the service receives so that a client can learn when all of its
// fire-and-forget requests have arrived.
//
// Control interface com.qor.vel_sim.Bench on /com/qor/vel_sim:
//   EmitMany(s signal, v params, u count, u ratePerSecond)
//       Emits `count` copies of a signal of com.qor.vel_communicator, spread
//       at `ratePerSecond` (0: as fast as the connection takes them). Every
//       string field of the params tuple that reads "@now" is replaced, at
//       each emission, by CLOCK_MONOTONIC in nanoseconds as decimal text.
//       Replies at once; a new call replaces a stream still running.
//   EmitTimes() -> (at)
//       CLOCK_MONOTONIC nanoseconds of each emission of the last stream, so
//       far, in emission order.
//   WaitCalls(s member, u count, u timeoutMs) -> (u seen)
//       Replies once `count` calls of `member` of com.qor.vel_communicator have
//       arrived since the last ResetCalls, or when the timeout expires.
//   ResetCalls()
// Nothing here prints per signal or per call: the simulator's own lines are
// the only per-call output, so the load stays what the clients cause.

#include <time.h>

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "SimModule.h"

namespace {

const char* const kBenchControlXml = R"XML(
<interface name="com.qor.vel_sim.Bench">
  <method name="EmitMany">
    <arg name="signal" type="s" direction="in"/>
    <arg name="params" type="v" direction="in"/>
    <arg name="count" type="u" direction="in"/>
    <arg name="ratePerSecond" type="u" direction="in"/>
  </method>
  <method name="EmitTimes">
    <arg name="times" type="at" direction="out"/>
  </method>
  <method name="WaitCalls">
    <arg name="member" type="s" direction="in"/>
    <arg name="count" type="u" direction="in"/>
    <arg name="timeoutMs" type="u" direction="in"/>
    <arg name="seen" type="u" direction="out"/>
  </method>
  <method name="ResetCalls"/>
</interface>
)XML";

constexpr const char* kNowMarker = "@now";
// Emissions per main-loop turn in a flood: large enough to keep the bus busy,
// small enough that control calls still get answered during a flood.
constexpr guint kFloodBatch = 64;

guint64 monotonicNs()
{
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<guint64>(now.tv_sec) * 1000000000ull + static_cast<guint64>(now.tv_nsec);
}

struct Stream {
    std::string signal;
    GVariant* params = nullptr;
    std::vector<gsize> nowFields;
    guint count = 0;
    guint rate = 0;
    guint emitted = 0;
    guint64 startNs = 0;
    guint source = 0;
    std::vector<guint64> emitTimes;
};

struct CallWaiter {
    std::string member;
    guint count;
    GDBusMethodInvocation* invocation;
    guint timeoutSource;
};

sim::Context* gContext = nullptr;
Stream gStream;

// Calls are counted on GDBus's worker thread, waiters answered on the main loop.
std::mutex gCallsMutex;
std::map<std::string, guint> gCallsSeen;
std::vector<CallWaiter*> gWaiters;

GVariant* paramsForEmission(guint64 nowNs)
{
    if (gStream.nowFields.empty()) {
        return g_variant_ref(gStream.params);
    }
    const gsize fields = g_variant_n_children(gStream.params);
    std::vector<GVariant*> children(fields);
    for (gsize index = 0; index < fields; ++index) {
        children[index] = g_variant_get_child_value(gStream.params, index);
    }
    gchar* stamp = g_strdup_printf("%" G_GUINT64_FORMAT, nowNs);
    for (gsize index : gStream.nowFields) {
        g_variant_unref(children[index]);
        children[index] = g_variant_ref_sink(g_variant_new_string(stamp));
    }
    g_free(stamp);
    // Every child is held by a full reference here, so the tuple takes its own.
    GVariant* tuple = g_variant_ref_sink(g_variant_new_tuple(children.data(), fields));
    for (GVariant* child : children) {
        g_variant_unref(child);
    }
    return tuple;
}

void emitOne()
{
    const guint64 nowNs = monotonicNs();
    GVariant* params = paramsForEmission(nowNs);
    GError* error = nullptr;
    if (!g_dbus_connection_emit_signal(gContext->connection, nullptr, sim::kServicePath, sim::kServiceName,
                                       gStream.signal.c_str(), params, &error)) {
        sim::logLine("bench: emit %s failed: %s", gStream.signal.c_str(), error->message);
        g_error_free(error);
    }
    g_variant_unref(params);
    gStream.emitTimes.push_back(nowNs);
    ++gStream.emitted;
}

void finishStream()
{
    sim::logLine("bench: emitted %u x %s", gStream.emitted, gStream.signal.c_str());
    gStream.source = 0;
}

gboolean emitFloodBatch(gpointer)
{
    for (guint index = 0; index < kFloodBatch && gStream.emitted < gStream.count; ++index) {
        emitOne();
    }
    if (gStream.emitted < gStream.count) {
        return G_SOURCE_CONTINUE;
    }
    finishStream();
    return G_SOURCE_REMOVE;
}

// Runs every millisecond and emits what is due by now, so the stream keeps its
// rate even when a tick comes late.
gboolean emitPacedBatch(gpointer)
{
    const guint64 elapsedNs = monotonicNs() - gStream.startNs;
    guint64 due = elapsedNs * gStream.rate / 1000000000ull + 1;
    if (due > gStream.count) {
        due = gStream.count;
    }
    while (gStream.emitted < due) {
        emitOne();
    }
    if (gStream.emitted < gStream.count) {
        return G_SOURCE_CONTINUE;
    }
    finishStream();
    return G_SOURCE_REMOVE;
}

void stopStream()
{
    if (gStream.source != 0) {
        g_source_remove(gStream.source);
        gStream.source = 0;
    }
    if (gStream.params != nullptr) {
        g_variant_unref(gStream.params);
        gStream.params = nullptr;
    }
}

bool startStream(const gchar* signal, GVariant* params, guint count, guint rate, GError** error)
{
    if (!g_variant_is_of_type(params, G_VARIANT_TYPE_TUPLE)) {
        g_set_error(error, G_DBUS_ERROR, G_DBUS_ERROR_INVALID_ARGS, "signal parameters must be a tuple");
        return false;
    }
    stopStream();
    gStream.signal = signal;
    gStream.params = g_variant_ref(params);
    gStream.nowFields.clear();
    const gsize fields = g_variant_n_children(params);
    for (gsize index = 0; index < fields; ++index) {
        GVariant* child = g_variant_get_child_value(params, index);
        if (g_variant_is_of_type(child, G_VARIANT_TYPE_STRING) &&
            g_strcmp0(g_variant_get_string(child, nullptr), kNowMarker) == 0) {
            gStream.nowFields.push_back(index);
        }
        g_variant_unref(child);
    }
    gStream.count = count;
    gStream.rate = rate;
    gStream.emitted = 0;
    gStream.emitTimes.clear();
    gStream.emitTimes.reserve(count);
    gStream.startNs = monotonicNs();
    sim::logLine("bench: emitting %u x %s at %u/s", count, signal, rate);
    if (count == 0) {
        return true;
    }
    gStream.source = rate == 0 ? g_idle_add(emitFloodBatch, nullptr) : g_timeout_add(1, emitPacedBatch, nullptr);
    return true;
}

gboolean answerWaiter(gpointer data)
{
    auto* waiter = static_cast<CallWaiter*>(data);
    guint seen = 0;
    {
        std::lock_guard<std::mutex> lock(gCallsMutex);
        seen = gCallsSeen[waiter->member];
    }
    if (waiter->timeoutSource != 0) {
        g_source_remove(waiter->timeoutSource);
    }
    g_dbus_method_invocation_return_value(waiter->invocation, g_variant_new("(u)", seen));
    delete waiter;
    return G_SOURCE_REMOVE;
}

gboolean onWaitTimeout(gpointer data)
{
    auto* waiter = static_cast<CallWaiter*>(data);
    // The worker thread may have claimed the waiter a moment ago; its answer
    // is then already on the way.
    bool claimed = false;
    {
        std::lock_guard<std::mutex> lock(gCallsMutex);
        for (auto it = gWaiters.begin(); it != gWaiters.end(); ++it) {
            if (*it == waiter) {
                gWaiters.erase(it);
                claimed = true;
                break;
            }
        }
    }
    waiter->timeoutSource = 0;
    if (claimed) {
        answerWaiter(waiter);
    }
    return G_SOURCE_REMOVE;
}

// GDBus's worker thread, for every message in arrival order.
GDBusMessage* countCall(GDBusConnection*, GDBusMessage* message, gboolean incoming, gpointer)
{
    if (!incoming || g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_METHOD_CALL ||
        g_strcmp0(g_dbus_message_get_interface(message), sim::kServiceName) != 0) {
        return message;
    }
    const gchar* member = g_dbus_message_get_member(message);
    if (member == nullptr) {
        return message;
    }
    std::lock_guard<std::mutex> lock(gCallsMutex);
    const guint seen = ++gCallsSeen[member];
    for (auto it = gWaiters.begin(); it != gWaiters.end();) {
        if ((*it)->member == member && seen >= (*it)->count) {
            g_idle_add(answerWaiter, *it);
            it = gWaiters.erase(it);
        } else {
            ++it;
        }
    }
    return message;
}

void waitCalls(const gchar* member, guint count, guint timeoutMs, GDBusMethodInvocation* invocation)
{
    auto* waiter = new CallWaiter{member, count, invocation, 0};
    {
        std::lock_guard<std::mutex> lock(gCallsMutex);
        if (gCallsSeen[member] < count) {
            waiter->timeoutSource = g_timeout_add(timeoutMs, onWaitTimeout, waiter);
            gWaiters.push_back(waiter);
            return;
        }
    }
    answerWaiter(waiter);
}

void onBenchControlCall(GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar* method,
                        GVariant* parameters, GDBusMethodInvocation* invocation, gpointer)
{
    if (g_strcmp0(method, "EmitMany") == 0) {
        const gchar* signal = nullptr;
        GVariant* params = nullptr;
        guint count = 0;
        guint rate = 0;
        g_variant_get(parameters, "(&svuu)", &signal, &params, &count, &rate);
        GError* error = nullptr;
        const bool started = startStream(signal, params, count, rate, &error);
        g_variant_unref(params);
        if (!started) {
            g_dbus_method_invocation_return_gerror(invocation, error);
            g_error_free(error);
            return;
        }
        g_dbus_method_invocation_return_value(invocation, nullptr);
    } else if (g_strcmp0(method, "EmitTimes") == 0) {
        GVariant* times = g_variant_new_fixed_array(G_VARIANT_TYPE_UINT64, gStream.emitTimes.data(),
                                                    gStream.emitTimes.size(), sizeof(guint64));
        g_dbus_method_invocation_return_value(invocation, g_variant_new_tuple(&times, 1));
    } else if (g_strcmp0(method, "WaitCalls") == 0) {
        const gchar* member = nullptr;
        guint count = 0;
        guint timeoutMs = 0;
        g_variant_get(parameters, "(&suu)", &member, &count, &timeoutMs);
        waitCalls(member, count, timeoutMs, invocation);
    } else if (g_strcmp0(method, "ResetCalls") == 0) {
        {
            std::lock_guard<std::mutex> lock(gCallsMutex);
            gCallsSeen.clear();
        }
        g_dbus_method_invocation_return_value(invocation, nullptr);
    } else {
        g_dbus_method_invocation_return_error(invocation, G_DBUS_ERROR, G_DBUS_ERROR_UNKNOWN_METHOD, "no %s",
                                              method);
    }
}

void attachBench(sim::Context& context)
{
    gContext = &context;
    g_dbus_connection_add_filter(context.connection, countCall, nullptr, nullptr);
}

void exportBenchControl(sim::Context& context)
{
    sim::exportControlInterface(context, kBenchControlXml, onBenchControlCall, nullptr);
}

void shutdownBench(sim::Context&)
{
    stopStream();
    std::lock_guard<std::mutex> lock(gCallsMutex);
    for (CallWaiter* waiter : gWaiters) {
        g_source_remove(waiter->timeoutSource);
        g_dbus_method_invocation_return_error(waiter->invocation, G_DBUS_ERROR, G_DBUS_ERROR_FAILED,
                                              "simulator stopping");
        delete waiter;
    }
    gWaiters.clear();
}

const sim::Module kBenchModule = {"bench", nullptr, attachBench, exportBenchControl, shutdownBench};
const sim::Registrar kBenchRegistrar(kBenchModule);

} // namespace
