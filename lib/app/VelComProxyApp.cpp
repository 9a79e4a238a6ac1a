// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "vel/VelComProxyApp.h"

#include <algorithm>
#include <cstdlib>
#include <new>

#include "AppLog.h"
#include "DispatchGate.h"
#include "ImplVelComProxyApp.h"
#include "shm/VelLibShmRelease.h"
#include "vel/VelCallBackApp.h"
#include "vel/VelLibShm.h"

namespace {

// Tag of the lines written before a facade (and its name) is at hand.
constexpr const char* kClassTag = "[VelComProxyApp]";

void registerAppLogContext()
{
    orna::OrnaLogWrapper::instance(true)->registerContext(VELLIBAPP, "LIBA", "vel_library_application");
}

} // namespace

VelComProxyApp* VelComProxyApp::getInstance(const CLIENT_TYPE_e& clientType, const std::string& clientName,
                                            VelCallBackApp* cbApp)
{
    registerAppLogContext();
    VEL_APP_LOG(DLT_LOG_INFO, kClassTag, "mClientType:", static_cast<unsigned>(clientType), ", mClientName:",
                clientName);

    VelComProxyApp* mpInstance = getInstance_l(clientType, clientName, cbApp);
    if (mpInstance == nullptr) {
        VEL_APP_LOG(DLT_LOG_ERROR, kClassTag, "@@@ ERR. mpInstance is nullptr! exit(0)!");
        std::exit(0);
    }
    if (clientName == ImplVelComProxyApp::kClassName) {
        return mpInstance;
    }
    if (cbApp == nullptr) {
        VEL_APP_LOG(DLT_LOG_WARN, kClassTag, "@@@ WARN. _cbApp is nullptr!");
        return mpInstance;
    }
    std::list<VelCallBackApp*>& mCbList = mpInstance->mImpl->mCbList;
    if (!mCbList.empty()) {
        VEL_APP_LOG(DLT_LOG_INFO, kClassTag, "current mCbList.size() :", mCbList.size());
        if (std::find(mCbList.begin(), mCbList.end(), cbApp) != mCbList.end()) {
            VEL_APP_LOG(DLT_LOG_ERROR, kClassTag,
                        "@@@ ERR. The same callback has been registered already! Not add more!");
            return mpInstance;
        }
    }
    VEL_APP_LOG(DLT_LOG_INFO, kClassTag, "do.. instance.mCbList.push_back(_cbApp)");
    mCbList.push_back(cbApp);
    return mpInstance;
}

VelComProxyApp* VelComProxyApp::getInstance_l(const CLIENT_TYPE_e& clientType, const std::string& clientName,
                                              VelCallBackApp* cbApp)
{
    // One facade per application kind, made on first use and kept until exit.
    switch (static_cast<unsigned>(clientType)) {
    case 100: {
        static VelComProxyApp instance(clientType, clientName, cbApp);
        return &instance;
    }
    case 101: {
        static VelComProxyApp instance(clientType, clientName, cbApp);
        return &instance;
    }
    case 102: {
        static VelComProxyApp instance(clientType, clientName, cbApp);
        return &instance;
    }
    case 103: {
        static VelComProxyApp instance(clientType, clientName, cbApp);
        return &instance;
    }
    case 104: {
        static VelComProxyApp instance(clientType, clientName, cbApp);
        return &instance;
    }
    case 105: {
        static VelComProxyApp instance(clientType, clientName, cbApp);
        return &instance;
    }
    default:
        break;
    }
    VEL_APP_LOG(DLT_LOG_ERROR, kClassTag, "@@@ ERR. Unexpected _clientType! Create Dummy!");
    static VelComProxyApp dummy(clientType, clientName, cbApp);
    return &dummy;
}

VelComProxyApp::VelComProxyApp(const CLIENT_TYPE_e& clientType, const std::string& clientName,
                               VelCallBackApp* cbApp)
    : VelComProxy(clientType, clientName, cbApp), mImpl(nullptr)
{
    registerAppLogContext();
    mImpl = new ImplVelComProxyApp(this, clientType, clientName);
    VEL_APP_LOG(DLT_LOG_INFO, mName, "constructor mClientType:", static_cast<unsigned>(clientType),
                ", mClientName:", clientName);
}

VelComProxyApp::~VelComProxyApp()
{
    VEL_APP_LOG(DLT_LOG_INFO, mName, "destructor");
    orna::OrnaLogWrapper::instance(true)->unregisterContext(VELLIBAPP);
    // The subscriptions stay and the main-loop thread runs on: wait for a
    // signal being dispatched to this facade and turn away the later ones.
    DispatchGate* gate = DispatchGate::forOwner(static_cast<VelComProxy*>(this));
    if (gate != nullptr && !gate->closeAndDrain(DispatchGate::kDestructionWait)) {
        return;
    }
    delete mImpl;
    mImpl = nullptr;
}

bool VelComProxyApp::doInitialize()
{
    if (mImpl->mInitialized) {
        VEL_APP_LOG(DLT_LOG_WARN, mName, "@@@ WARN. Aleady initialized! Return!");
        return true;
    }
    const bool prepared = prepareToCommunicateWithStub();
    mImpl->mInitialized = prepared;
    return prepared;
}

bool VelComProxyApp::doRelease()
{
    // The watch of the service belongs to the base and stays; only the
    // application's signals are dropped, until the next subscribe().
    VEL_APP_LOG(DLT_LOG_INFO, mName, "release subscriptions");
    mImpl->unsubscribeSignals_l();
    return true;
}

bool VelComProxyApp::subscribe()
{
    if (mConnection == nullptr) {
        VEL_APP_LOG(DLT_LOG_ERROR, mName, "@@@ ERR. Connection is null!");
        return false;
    }
    return mImpl->subscribeSignals_l(mConnection);
}

bool VelComProxyApp::lazyInitialize()
{
    // Every attempt gets a reader of its own: one made while the service had
    // no store never opens the semaphore that the service creates later. The
    // earlier reader goes without removing the service's names, which its
    // destructor would do.
    VelLibShmRelease::releaseKeepingNames(mImpl->mpVellShm);
    mImpl->mpVellShm = new (std::nothrow) VelLibShm();
    if (mImpl->mpVellShm == nullptr) {
        VEL_APP_LOG(DLT_LOG_ERROR, mName, "@@@ ERR. mpVellShm is NULL! Return!");
        return false;
    }
    if (!mImpl->mpVellShm->initialize(mName)) {
        VEL_APP_LOG(DLT_LOG_ERROR, mName, "@@@ ERR. mpVellShm->initialize() failed! Return!");
        return false;
    }
    return true;
}

bool VelComProxyApp::doServiceConnect(std::string deviceId, TECHNOLOGY_e serviceType, std::string deviceIdToReplace)
{
    return mImpl->sendActionFromApp(APPREQ_CONNECT_SERVICE, deviceId, serviceType, deviceIdToReplace);
}

bool VelComProxyApp::doServiceDisconnect(std::string deviceId, TECHNOLOGY_e serviceType)
{
    return mImpl->sendActionFromApp(APPREQ_DISCONNECT_SERVICE, deviceId, serviceType, std::string());
}

bool VelComProxyApp::doRemoveDevice(std::string deviceId)
{
    return mImpl->sendActionFromApp(APPREQ_REMOVE_DEVICE, deviceId, TECHNOLOGY_NONE, std::string());
}

bool VelComProxyApp::doRejectTechnologySelection(std::string deviceId)
{
    return mImpl->sendActionFromApp(APPREQ_REJECT_TECHNOLOGY_SELECTION, deviceId, TECHNOLOGY_NONE, std::string());
}

bool VelComProxyApp::doSetPrioritizedDevice(std::string deviceId)
{
    return mImpl->sendActionFromApp(APPREQ_SET_PRIORITIZED_DEVICE, deviceId, TECHNOLOGY_NONE, std::string());
}

bool VelComProxyApp::doReconnectSuspend(bool suspend)
{
    return mImpl->sendActionFromApp(APPREQ_RECONNECT_SUSPEND, suspend ? "true" : "false", TECHNOLOGY_NONE,
                                    std::string());
}

bool VelComProxyApp::checkMaxPaired()
{
    return mImpl->sendActionFromAppSync(APPREQ_CHECK_MAX_PAIRED, std::string(), TECHNOLOGY_NONE, std::string());
}

bool VelComProxyApp::checkPaired(std::string deviceId)
{
    return mImpl->sendActionFromAppSync(APPREQ_CHECK_PAIRED, deviceId, TECHNOLOGY_NONE, std::string());
}

bool VelComProxyApp::doSetEmergencyCallIndicator(bool active)
{
    // Applications already call this; the service has no request for it yet.
    VEL_APP_LOG(DLT_LOG_INFO, mName, "<TBD> _active:", active);
    return true;
}
