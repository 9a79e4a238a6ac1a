// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

namespace vel_link {

// Opens libdbus's shared system-bus connection on a thread of its own, once
// per process, while the name watch is still setting up its GDBus connection.
// The presence check then finds the shared connection ready instead of
// making the second handshake on the critical path of start-up.
void warmUpPresenceConnection();

} // namespace vel_link
