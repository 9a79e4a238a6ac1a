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

void runOnMainLoop(const std::function<void()>& step)
{
    GMainContext* context = g_main_context_default();
    if (g_main_context_is_owner(context)) {
        step();
        return;
    }
    Handoff handoff{&step, {}};
    std::future<void> finished = handoff.done.get_future();
    // Runs at once on this thread when it may take the default context
    // (nobody iterates it and this thread has no context of its own pushed);
    // otherwise the thread that iterates it picks the step up.
    g_main_context_invoke_full(context, G_PRIORITY_DEFAULT, &runHandedOff, &handoff, nullptr);
    finished.wait();
}

} // namespace vel_link
