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

    // Main-loop side of the recovery timer's expiry.
    static void onRecoveryTimerExpired(int signum);

    static void addCallback(const std::function<void(bool)>& callback);
    // Calls every callback, in the order they were added, with no lock held.
    static void notifyAll(bool appeared);
    static std::size_t callbackCount();

    static VelTimer& timer();

    std::string mName;

    static guint mWatcherId;
    static int32_t mReferenceCnt;
    static void* mTimerId;
    static std::mutex mWatchMutex;
    // The shared system-bus connection that the watch runs on, held while the
    // watch lives so that its exit-on-close setting stays in force.
    static GDBusConnection* mWatchConnection;
};
