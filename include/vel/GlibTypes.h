// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

/// @file
/// The GLib and GIO types that the facades' declarations name, declared
/// without the GLib headers. These headers define names that clash with other
/// frameworks' macros (a GIO struct member called `signals` against Qt's
/// `signals` keyword), so the facades' headers can be included in any order by
/// any C++ program. Sources that work with these types include <gio/gio.h>
/// themselves; the declarations below are the ones GLib makes.

extern "C" {
/// GLib's character type.
typedef char gchar;
/// GLib's untyped pointer.
typedef void* gpointer;
/// GLib's error record.
typedef struct _GError GError;
/// GLib's variant value, the payload of a bus signal.
typedef struct _GVariant GVariant;
/// GLib's main context.
typedef struct _GMainContext GMainContext;
/// GIO's bus connection.
typedef struct _GDBusConnection GDBusConnection;
/// The generated binding's interface type (vel/mvel_interface.h).
typedef struct _ComQorVel_communicator ComQorVel_communicator;
}
