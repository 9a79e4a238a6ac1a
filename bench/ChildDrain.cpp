// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "ChildDrain.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <thread>
#include <vector>

#include "BenchClock.h"

namespace velbench {

namespace {

constexpr const char* kCountedSignals[] = {"appRequestDone", "noticeToApp"};
std::atomic<unsigned> gRead[2];

int counterOf(const char* member)
{
    for (int index = 0; index < 2; ++index) {
        if (g_strcmp0(member, kCountedSignals[index]) == 0) {
            return index;
        }
    }
    return -1;
}

GDBusMessage* countSignal(GDBusConnection*, GDBusMessage* message, gboolean incoming, gpointer)
{
    if (incoming && g_dbus_message_get_message_type(message) == G_DBUS_MESSAGE_TYPE_SIGNAL) {
        const int counter = counterOf(g_dbus_message_get_member(message));
        if (counter >= 0) {
            gRead[counter].fetch_add(1);
        }
    }
    return message;
}

// Holds the thread that runs the default main context until released.
struct DispatchGate {
    std::mutex mutex;
    std::condition_variable changed;
    bool parked = false;
    bool released = false;
};

gboolean parkDispatch(gpointer data)
{
    auto* gate = static_cast<DispatchGate*>(data);
    std::unique_lock<std::mutex> lock(gate->mutex);
    gate->parked = true;
    gate->changed.notify_all();
    gate->changed.wait(lock, [gate] { return gate->released; });
    return G_SOURCE_REMOVE;
}

void sleepMs(int ms)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

} // namespace

void countSignalsRead(GDBusConnection* connection)
{
    g_dbus_connection_add_filter(connection, countSignal, nullptr, nullptr);
}

Drained drainBacklog(SimControl& sim, Arrivals& arrivals, const char* signal, GVariant* params, unsigned count)
{
    Drained drained;
    const int counter = counterOf(signal);
    if (counter < 0 || count == 0) {
        g_variant_unref(g_variant_ref_sink(params));
        return drained;
    }
    arrivals.reset(count);
    const unsigned readBefore = gRead[counter].load();
    // Attached, never invoked: g_main_context_invoke() would run it on this
    // very thread if it could take the context, and this thread would then
    // wait for itself. Kept alive past a failure, when it may still run.
    auto* gate = new DispatchGate();
    GSource* park = g_idle_source_new();
    g_source_set_callback(park, parkDispatch, gate, nullptr);
    g_source_attach(park, g_main_context_default());
    g_source_unref(park);
    bool parked = false;
    {
        std::unique_lock<std::mutex> lock(gate->mutex);
        parked = gate->changed.wait_for(lock, std::chrono::seconds(10), [gate] { return gate->parked; });
    }
    if (!parked) {
        {
            std::lock_guard<std::mutex> lock(gate->mutex);
            gate->released = true;
        }
        std::fprintf(stderr, "vel-bench-child: the dispatching thread did not come round in 10 s\n");
        g_variant_unref(g_variant_ref_sink(params));
        return drained;
    }
    const bool emitted = sim.emitMany(signal, params, count, 0);
    const std::uint64_t readDeadline = nowNs() + 30000000000ull;
    while (emitted && gRead[counter].load() - readBefore < count && nowNs() < readDeadline) {
        sleepMs(1);
    }
    // The worker hands each signal to the main context right after reading it.
    sleepMs(50);
    const std::uint64_t start = nowNs();
    const std::uint64_t cpuStart = processCpuNs();
    {
        std::lock_guard<std::mutex> lock(gate->mutex);
        gate->released = true;
        gate->changed.notify_all();
    }
    // This thread sleeps meanwhile, so the process's CPU time is that of the
    // dispatching thread and of whatever the signals make the worker send.
    // The reading waits until every thread has gone idle.
    const bool complete = emitted && arrivals.waitFor(count, 30000);
    sleepMs(20);
    const std::uint64_t cpuEnd = processCpuNs();
    if (!complete) {
        // The dispatching thread may still be on its way out of the gate.
        std::fprintf(stderr, "vel-bench-child: %u of %u %s drained\n", static_cast<unsigned>(arrivals.count()), count,
                     signal);
        return drained;
    }
    // Every arrival came after the gate was left, so it can go.
    delete gate;
    const std::vector<std::uint64_t> times = arrivals.arrivalTimes();
    drained.perSecond = static_cast<double>(count) * 1e9 / static_cast<double>(times.back() - start);
    drained.cpuUsPerSignal = static_cast<double>(cpuEnd - cpuStart) / 1000.0 / count;
    return drained;
}

} // namespace velbench
