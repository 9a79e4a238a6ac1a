#pragma once

#include <gio/gio.h>

#include <string>

#include "vel/VelComProxy.h"
#include "vel/VelTypes.h"

class VelCallBackApp;

// The application's link to the device-connection service: one facade per
// application client kind (100 to 105) per process. Requests go out through
// it; completions, notices and device lists come back on the registered
// VelCallBackApp objects, in registration order, on the library's main-loop
// thread.
//
// Typical use: getInstance(kind, name, &callback), doInitialize(), wait for
// onRcvMVELReady(true), then send requests.
class VelComProxyApp : public VelComProxy {
public:
    // Returns the facade of this client kind and adds cbApp to its callback
    // list (once; the same object is never added twice). Any kind outside 100
    // to 105 gets one shared dummy facade.
    static VelComProxyApp* getInstance(const CLIENT_TYPE_e& clientType, const std::string& clientName,
                                       VelCallBackApp* cbApp);
    static VelComProxyApp* getInstance_l(const CLIENT_TYPE_e& clientType, const std::string& clientName,
                                         VelCallBackApp* cbApp);

    ~VelComProxyApp() override;

    bool doInitialize() override;
    bool doRelease() override;
    bool subscribe() override;
    bool lazyInitialize() override;

    // Asynchronous: true when the request was sent; the outcome arrives later
    // on the callbacks.
    bool doServiceConnect(std::string deviceId, TECHNOLOGY_e serviceType, std::string deviceIdToReplace);
    bool doServiceDisconnect(std::string deviceId, TECHNOLOGY_e serviceType);
    bool doRemoveDevice(std::string deviceId);
    bool doRejectTechnologySelection(std::string deviceId);
    bool doSetPrioritizedDevice(std::string deviceId);
    // No completion is ever delivered for this request.
    bool doReconnectSuspend(bool suspend);
    // Synchronous: the service's answer, false when it cannot be asked.
    bool checkMaxPaired();
    bool checkPaired(std::string deviceId);
    // Accepted and reported as done; nothing is sent to the service yet.
    bool doSetEmergencyCallIndicator(bool active);

    // The bus hands every subscribed signal of the application side here;
    // userData is the facade.
    static void onVelLibraryAppCallBack(GDBusConnection* connection, const gchar* senderName,
                                        const gchar* objectPath, const gchar* interfaceName,
                                        const gchar* signalName, GVariant* parameters, gpointer userData);

    class ImplVelComProxyApp;

private:
    VelComProxyApp(const CLIENT_TYPE_e& clientType, const std::string& clientName, VelCallBackApp* cbApp);

    ImplVelComProxyApp* mImpl;
};
