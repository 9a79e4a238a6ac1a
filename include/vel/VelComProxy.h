#pragma once

#include <gio/gio.h>

#include <future>
#include <string>
#include <thread>

#include "vel/VelTypes.h"
#include "vel/mvel_interface.h"

class VelCallBackAgent;
class ImplVelComProxy;

// Base of every client facade: client naming, the main-loop thread, the bus
// connection and proxy, registration with the service and recovery when the
// service comes back. Facades supply the kind-specific steps.
class VelComProxy {
public:
    VelComProxy(const CLIENT_TYPE_e& clientType, const std::string& clientName, VelCallBackAgent* callBackAgent);
    virtual ~VelComProxy();

    virtual bool doInitialize() = 0;
    virtual bool doRelease() = 0;
    virtual bool subscribe() = 0;
    virtual bool lazyInitialize();

    std::string getAdjustedName_l(const std::string& clientName);
    bool prepareToCommunicateWithStub();
    bool checkProxyAvailable();
    bool setSignalNoForRecovery(int signalNo);
    void agentCallback(bool appeared);

    // Signal number of the recovery timer; -1 means no recovery timer.
    static int mSignalNoForAgent;
    // True while the service's bus name is known to have an owner.
    static bool mIsAppearedMVELService;

    VelComProxy(const VelComProxy&) = delete;
    VelComProxy& operator=(const VelComProxy&) = delete;

protected:
    const char* mBusName;
    const char* mObjectPath;
    std::string mServiceName;
    std::string mName;
    ComQorVel_communicator* mProxy;
    GDBusConnection* mConnection;
    GError* mError;
    std::thread* mThread;
    GMainContext* mMainContext;

private:
    friend class ImplVelComProxy;
    void runMainLoop(std::promise<void>* started);

    ImplVelComProxy* mImpl;
};
