#pragma once

#include <gio/gio.h>

#include "Arrivals.h"
#include "SimControl.h"

namespace velbench {

// Counts appRequestDone and noticeToApp signals as GDBus's worker thread reads
// them off the socket. Installed alike in library and baseline processes.
void countSignalsRead(GDBusConnection* connection);

// The rate (signals/s) at which the thread that dispatches signals works
// through a backlog: it is held while `count` signals are emitted and read,
// then released. What the simulator and the bus daemon manage to send does
// not enter into it, only the cost per signal in this process. 0 on failure.
double drainBacklog(SimControl& sim, Arrivals& arrivals, const char* signal, GVariant* params, unsigned count);

} // namespace velbench
