// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <gio/gio.h>

#include <cstdint>
#include <functional>
#include <list>
#include <mutex>
#include <string>

class VelTimer;

// Private part of VelAgent. The watch, the callback list and the recovery timer
// are process-wide: every agent of the process shares them.
class ImplVelAgent {
public:
    explicit ImplVelAgent(const std::string& name);
    virtual ~ImplVelAgent();

    void RegisterMVELService();
    void UnregisterMVELService();

    static void OnDBusNameAppeared(GDBusConnection* connection, const gchar* name, const gchar* nameOwner,
                                   gpointer userData);
    static void OnDBusNameVanished(GDBusConnection* connection, const gchar* name, gpointer userData);
    static void onWatchConnectionClosed(GDBusConnection* connection, gboolean remotePeerVanished, GError* error,
                                        gpointer userData);
    static void releaseWatchConnection();

    // Main-loop side of the recovery timer's expiry.
    static void onRecoveryTimerExpired(int signum);

    // Adds the callback and tells whether the last event handed to the
    // callbacks was an appearance. The two happen under one lock with the
    // snapshot notifyAll() takes, so a callback added after an appearance's
    // snapshot learns of that appearance here, and one added before it is in
    // the snapshot: each appearance reaches every callback exactly once.
    static bool addCallback(const std::function<void(bool)>& callback);
    // Calls every callback, in the order they were added, with no lock held.
    static void notifyAll(bool appeared);
    // A new watch starts without knowing the name's state.
    static void forgetLastEvent();
    static std::size_t callbackCount();

    static VelTimer& timer();

    std::string mName;
    // Whether the appearance current when this agent's callback was added had
    // already been handed out without it.
    bool mJoinedAfterAppearance = false;

    static guint mWatcherId;
    static int32_t mReferenceCnt;
    static void* mTimerId;
    static std::mutex mWatchMutex;
    // The shared system-bus connection that the watch runs on, held while the
    // watch lives so that its exit-on-close setting stays in force, and let
    // go when it closes.
    static GDBusConnection* mWatchConnection;
};
