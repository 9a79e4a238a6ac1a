// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <gio/gio.h>

// The connection a facade's signal subscriptions live on, held weakly. GLib
// hands out its shared bus connection again for as long as anyone holds a
// reference, closed or not, so a strong reference here would keep a facade
// from ever reaching a bus daemon that was restarted. A connection that has
// gone took its subscriptions with it.
class SubscribedConnection {
public:
    SubscribedConnection() { g_weak_ref_init(&mConnection, nullptr); }
    ~SubscribedConnection() { g_weak_ref_clear(&mConnection); }

    // The connection, with a reference for the caller, or null when none was
    // set or it is gone.
    GDBusConnection* get() { return static_cast<GDBusConnection*>(g_weak_ref_get(&mConnection)); }

    bool is(GDBusConnection* connection)
    {
        GDBusConnection* current = get();
        const bool same = current == connection;
        g_clear_object(&current);
        return same;
    }

    void set(GDBusConnection* connection) { g_weak_ref_set(&mConnection, connection); }

    SubscribedConnection(const SubscribedConnection&) = delete;
    SubscribedConnection& operator=(const SubscribedConnection&) = delete;

private:
    GWeakRef mConnection;
};
