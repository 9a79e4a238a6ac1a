// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <gio/gio.h>

#include "Arrivals.h"
#include "SimControl.h"

namespace velbench {

// Counts appRequestDone and noticeToApp signals as GDBus's worker thread reads
// them off the socket. Installed alike in library and baseline processes.
void countSignalsRead(GDBusConnection* connection);

struct Drained {
    double perSecond = 0.0;        // 0 on failure
    double cpuUsPerSignal = 0.0;   // CPU time of this whole process per signal
};

// How fast the thread that dispatches signals works through a backlog: it is
// held while `count` signals are emitted and read, then released. What the
// simulator and the bus daemon manage to send does not enter into it; the
// CPU time says what this process spent, whatever else ran on the machine.
Drained drainBacklog(SimControl& sim, Arrivals& arrivals, const char* signal, GVariant* params, unsigned count);

} // namespace velbench
