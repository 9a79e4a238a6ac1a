// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <functional>

namespace vel_link {

// Runs `step` so that whatever it attaches to the thread-default main context
// (signal subscriptions, the bus-name watch, a proxy's own subscriptions) is
// attached to GLib's global default context, which the main-loop thread runs.
// On a thread without a context of its own that is the case already, and the
// step runs here. A thread that pushed a context of its own hands the step to
// the thread that iterates the default context and waits for it there.
void runAttachedToDefaultContext(const std::function<void()>& step);

} // namespace vel_link
