#pragma once

/// @file
/// The GLib and GIO types that the facades' declarations name, declared
/// without the GLib headers. These headers define names that clash with other
/// frameworks' macros (a GIO struct member called `signals` against Qt's
/// `signals` keyword), so the facades' headers can be included in any order by
/// any C++ program. Sources that work with these types include <gio/gio.h>
/// themselves; the declarations below are the ones GLib makes.

extern "C" {
typedef char gchar;
typedef void* gpointer;
typedef struct _GError GError;
typedef struct _GVariant GVariant;
typedef struct _GMainContext GMainContext;
typedef struct _GDBusConnection GDBusConnection;
typedef struct _ComQorVel_communicator ComQorVel_communicator;
}
