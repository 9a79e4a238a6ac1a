// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "MainLoopHandoff.h"

#include <glib.h>

#include <future>

namespace vel_link {

namespace {

struct Handoff {
    const std::function<void()>* step;
    std::promise<void> done;
};

gboolean runHandedOff(gpointer data)
{
    auto* handoff = static_cast<Handoff*>(data);
    (*handoff->step)();
    handoff->done.set_value();
    return G_SOURCE_REMOVE;
}

} // namespace

void runAttachedToDefaultContext(const std::function<void()>& step)
{
    GMainContext* defaultContext = g_main_context_default();
    GMainContext* own = g_main_context_get_thread_default();
    if (own == nullptr || own == defaultContext || g_main_context_is_owner(defaultContext)) {
        step();
        return;
    }
    Handoff handoff{&step, {}};
    std::future<void> finished = handoff.done.get_future();
    // The calling thread has a thread-default context of its own, so GLib
    // queues the step on the default context for the thread that runs it.
    g_main_context_invoke_full(defaultContext, G_PRIORITY_DEFAULT, &runHandedOff, &handoff, nullptr);
    finished.wait();
}

} // namespace vel_link
