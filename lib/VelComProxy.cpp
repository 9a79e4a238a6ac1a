// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "vel/VelComProxy.h"

#include <time.h>

#include <chrono>
#include <exception>
#include <future>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

#include "DispatchGate.h"
#include "ImplVelComProxy.h"
#include "LibraryLock.h"
#include "MainLoopHandoff.h"
#include "PresenceConnectionWarmUp.h"
#include "ProxyReference.h"
#include "VelComProxyLog.h"
#include "vel/VelAgent.h"
#include "vel/VelCallBackAgent.h"

int VelComProxy::mSignalNoForAgent = -1;
bool VelComProxy::mIsAppearedMVELService = false;

namespace {

constexpr const char* kServiceBusName = "com.qor.vel_communicator";
constexpr const char* kServiceObjectPath = "/com/qor/vel_communicator";
constexpr const char* kContextTakenWarning =
    "@@@ WARN. Another thread already runs the default main context: every callback of the library runs on that "
    "thread, not on the library's own. Safe hosts: Qt with QT_NO_GLIB=1, Qt's GLib dispatcher with the application "
    "object created before the facade, GLib programs that leave the default context to the library (docs/hosting.md)";

// Set once a main-loop thread of the library holds the default context; the
// main-loop threads of later facades wait behind it.
bool gLibraryLoopOwnsDefaultContext = false;
bool gContextTakenWarned = false;

// Main-loop threads of destroyed proxies. They are never joined: the thread may
// be blocked in a bus call and the process is expected to end soon after.
// Keeping the objects here also keeps a joinable std::thread from being
// destroyed, which would terminate the process.
void abandonThread(std::thread* thread)
{
    static auto* abandoned = new std::vector<std::thread*>();
    abandoned->push_back(thread);
}

// The private parts of proxies destroyed while one of their callbacks still
// ran: that callback goes on using them, so they are kept, and kept reachable.
void keepState(ImplVelComProxy* impl)
{
    static auto* kept = new std::vector<ImplVelComProxy*>();
    kept->push_back(impl);
}

} // namespace

VelComProxy::VelComProxy(const CLIENT_TYPE_e& clientType, const std::string& clientName,
                         VelCallBackAgent* callBackAgent)
    : mBusName(kServiceBusName),
      mObjectPath(kServiceObjectPath),
      mServiceName(kServiceBusName),
      mProxy(nullptr),
      mConnection(nullptr),
      mError(nullptr),
      mThread(nullptr),
      mMainContext(nullptr),
      mImpl(new ImplVelComProxy(clientType, this))
{
    DispatchGate::openFor(this);
    orna::OrnaLogWrapper* wrapper = orna::OrnaLogWrapper::instance(true);
    wrapper->registerApp("VELL", "vel_library");
    wrapper->registerContext(VELLIB, "VELL", "vel_library");
    proxyLog(DLT_LOG_INFO, mName, __func__, "constructor _clientType:", static_cast<uint32_t>(clientType),
             ", _clientName:", clientName);
    mName = getAdjustedName_l(clientName);
    mImpl->setName(mName);
    mImpl->mCallBackAgent = callBackAgent;
    std::promise<void> started;
    std::future<void> running = started.get_future();
    mThread = new std::thread(&VelComProxy::runMainLoop, this, &started);
    // Past this point the thread no longer touches the object, so an early
    // destruction cannot pull anything from under it.
    running.wait();
}

VelComProxy::~VelComProxy()
{
    proxyLog(DLT_LOG_INFO, mName, __func__, "destructor");
    DispatchGate* gate = DispatchGate::forOwner(this);
    if (gate != nullptr && !gate->closeAndDrain(DispatchGate::kDestructionWait)) {
        // A link callback still runs on this object (e.g. a presence check at
        // exit): everything it uses is kept rather than freed under it.
        proxyLog(DLT_LOG_WARN, mName, __func__, "@@@ WARN. A callback is still running. Keep its state!");
        abandonThread(mThread);
        mThread = nullptr;
        keepState(mImpl);
        return;
    }
    g_clear_object(&mProxy);
    g_clear_object(&mConnection);
    abandonThread(mThread);
    mThread = nullptr;
    orna::OrnaLogWrapper::instance(true)->unregisterContext(VELLIB);
    delete mImpl;
    mImpl = nullptr;
}

void VelComProxy::runMainLoop(std::promise<void>* started)
{
    proxyLog(DLT_LOG_INFO, mName, __func__, "run Thread");
    mMainContext = g_main_context_get_thread_default();
    if (mMainContext == nullptr) {
        mMainContext = g_main_context_default();
    }
    // Held for as long as the loop runs (the loop takes it again itself). A
    // context that another thread holds already means that thread dispatches
    // every callback of the library, and a host that meant to run it there
    // too would fight this thread for it.
    const bool ownsContext = g_main_context_acquire(mMainContext);
    if (ownsContext) {
        __atomic_store_n(&gLibraryLoopOwnsDefaultContext, true, __ATOMIC_SEQ_CST);
    } else if (!__atomic_load_n(&gLibraryLoopOwnsDefaultContext, __ATOMIC_SEQ_CST) &&
               !__atomic_exchange_n(&gContextTakenWarned, true, __ATOMIC_SEQ_CST)) {
        // Said once per process; the main-loop thread of another facade of
        // this process holding the context is how it should be.
        proxyLog(DLT_LOG_WARN, mName, __func__, kContextTakenWarning);
    }
    GMainLoop* loop = g_main_loop_new(mMainContext, FALSE);
    // Drops a reference that was never taken; the loop's own reference keeps
    // the context alive, and the loop is never released while the process runs.
    g_main_context_unref(mMainContext);
    started->set_value();
    g_main_loop_run(loop);
    if (ownsContext) {
        g_main_context_release(mMainContext);
    }
    g_main_loop_unref(loop);
}

bool VelComProxy::lazyInitialize()
{
    proxyLog(DLT_LOG_INFO, mName, __func__, "Not implemented. Lazy initilize()");
    return true;
}

bool VelComProxy::setSignalNoForRecovery(int signalNo)
{
    proxyLog(DLT_LOG_INFO, mName, __func__, "signalNo:", signalNo);
    // Read on the main-loop thread when the name vanishes; the class-wide
    // flags are accessed atomically, as any thread may set them.
    __atomic_store_n(&mSignalNoForAgent, signalNo, __ATOMIC_SEQ_CST);
    return true;
}

bool VelComProxy::checkProxyAvailable()
{
    proxyLog(DLT_LOG_INFO, mName, __func__, "checkProxyAvailable()");
    bool hasProxy = false;
    bool hadError = false;
    {
        vel_link::LibraryLock<std::mutex> lock(vel_link::linkMutex());
        hasProxy = mProxy != nullptr;
        if (hasProxy && mError != nullptr) {
            g_error_free(mError);
            mError = nullptr;
            hadError = true;
        }
    }
    if (!hasProxy) {
        proxyLog(DLT_LOG_ERROR, mName, __func__, "@@@ ERR. (mProxy != 0) is false !");
        return false;
    }
    return !hadError;
}

bool VelComProxy::prepareToCommunicateWithStub()
{
    vel_link::warmUpPresenceConnection();
    try {
        // The watch keeps calling the callbacks of destroyed proxies. Each
        // one carries the gate of its own proxy, so that it never reaches a
        // later proxy built at the same address.
        DispatchGate* gate = DispatchGate::forOwner(this);
        mImpl->mAgent = std::make_shared<VelAgent>([this, gate](bool appeared) {
            DispatchGate::Pass pass(gate);
            if (pass) {
                agentCallback(appeared);
            }
        });
    } catch (const std::exception&) {
        mImpl->mAgent.reset();
    }
    if (!mImpl->mAgent) {
        proxyLog(DLT_LOG_ERROR, mName, __func__, "@@@ ERR. Watching mvel service is failed !!!");
        return false;
    }
    proxyLog(DLT_LOG_INFO, mName, __func__, "Watching mvel service");
    // A name already handed to the earlier proxies produces no new appearance
    // event for this one, so it connects now. The agent decides this together
    // with joining the watch's list; reading the class-wide flag instead would
    // miss an appearance that the main-loop thread is handing out right now.
    if (mImpl->mAgent->joinedAfterAppearance()) {
        agentCallback(true);
    }
    return true;
}

void VelComProxy::agentCallback(bool appeared)
{
    // The agent keeps calling the proxies it was given, destroyed or not.
    DispatchGate::Pass pass(DispatchGate::forOwner(this));
    if (!pass) {
        return;
    }
    const char* const function = __func__;
    bool tellAgent = false;
    // One event at a time per proxy: a connection made on the thread that
    // called doInitialize() may still be under way when the main-loop thread
    // brings the next event. The lock covers the link's steps only; the
    // client's callback runs after it, so that a slow one delays no later
    // event. What the steps subscribe belongs to the main-loop thread
    // whichever context the caller runs.
    vel_link::runAttachedToDefaultContext([this, appeared, function, &tellAgent] {
        vel_link::LibraryLock<std::recursive_mutex> serial(mImpl->mAgentCallbackMutex);
        tellAgent = mImpl->followLink(appeared, function);
    });
    if (tellAgent && mImpl->mCallBackAgent != nullptr) {
        mImpl->mCallBackAgent->onRcvMVELReady(appeared);
    }
}

bool ImplVelComProxy::followLink(bool appeared, const char* function)
{
    proxyLog(DLT_LOG_INFO, mOwner->mName, function, "agentCallback is executed for recovery. Appeared : ", appeared);
    if (!appeared) {
        proxyLog(DLT_LOG_INFO, mOwner->mName, function, "D-Bus service name is vanished.");
        __atomic_store_n(&VelComProxy::mIsAppearedMVELService, false, __ATOMIC_SEQ_CST);
        // Subscriptions are not undone here; the facades keep their ids.
        // Requests on other threads hold references of their own to the
        // proxy, so it is only taken out of reach under the lock.
        ComQorVel_communicator* proxy = nullptr;
        GDBusConnection* connection = nullptr;
        {
            vel_link::LibraryLock<std::mutex> lock(vel_link::linkMutex());
            std::swap(proxy, mOwner->mProxy);
            std::swap(connection, mOwner->mConnection);
        }
        g_clear_object(&proxy);
        g_clear_object(&connection);
        return true;
    }

    proxyLog(DLT_LOG_INFO, mOwner->mName, function, "D-Bus service name is appeared.");
    __atomic_store_n(&VelComProxy::mIsAppearedMVELService, true, __ATOMIC_SEQ_CST);
    if (!mLazyInitialized) {
        mLazyInitialized = mOwner->lazyInitialize();
        if (!mLazyInitialized) {
            proxyLog(DLT_LOG_ERROR, mOwner->mName, function, "@@@ ERR. Lazy initialize is in fail. Return !!!");
            return false;
        }
    }
    if (checkDbusServiceRegistered(false, mOwner->mServiceName)) {
        if (openProxy() && mOwner->subscribe()) {
            // Gives the service a moment to see the subscriptions before registering.
            const struct timespec delay = {0, 10000000L};
            nanosleep(&delay, nullptr);
            registerMe();
        }
    } else {
        proxyLog(DLT_LOG_ERROR, mOwner->mName, function, "@@@ ERR. MVEL is NOT READY");
    }
    // Told "ready" even when the service could not be reached: clients rely on
    // this call to leave their waiting state.
    return true;
}
