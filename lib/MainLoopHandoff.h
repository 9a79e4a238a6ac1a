#pragma once

#include <functional>

namespace vel_link {

// Runs `step` on the thread that runs GLib's global default main context (the
// main-loop thread, or the thread of a host that iterates that context itself)
// and returns when it is done. Whatever the step attaches to the thread-default
// context (signal subscriptions, the bus-name watch, a proxy's own
// subscriptions) is then dispatched there, whichever context the caller has
// pushed for itself; and the step runs one at a time with every other event of
// that thread. A caller that already owns the default context runs it at once.
void runOnMainLoop(const std::function<void()>& step);

} // namespace vel_link
