// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <gio/gio.h>

#include "Arrivals.h"
#include "ChildModes.h"
#include "SignalPayloads.h"

namespace velbench {

// One signal-receiving process: the library's application facade, or the
// baseline's bare subscriptions to the same two signals on the same kind of
// connection (the shared system-bus connection, dispatched on a thread that
// runs the default main context, as the library's are).
struct SignalClientSetup {
    bool library = false;
    GDBusConnection* connection = nullptr;
    // appRequestDone, with the send time carried in the device id.
    Arrivals* completions = nullptr;
    // noticeToApp for the baseline; delivered known lists for the library.
    Arrivals* notices = nullptr;
};

// Brings the client up and returns once its subscriptions are in place at
// the bus daemon; false (after a line on stderr) if it cannot.
bool setUpSignalClient(SignalClient client, SignalClientSetup& setup);

} // namespace velbench
