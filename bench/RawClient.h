// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <gio/gio.h>

#include "vel/mvel_interface.h"

namespace velbench {

// The baseline: what an application would write with GDBus alone. The proxy
// is made exactly as the library makes its own (system bus, no flags), so
// both sides pay the same for proxy bookkeeping.
ComQorVel_communicator* makeRawProxy();

// A thread that runs the global default main context forever, as the
// library's own main-loop thread does; signals subscribed from a thread
// without a context of its own are dispatched there.
void startDefaultMainLoopThread();

} // namespace velbench
