// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gio/gio.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <iostream>
#include <mutex>
#include <thread>

#include "LinkTestSupport.h"
#include "LogCapture.h"
#include "PrivateBus.h"
#include "RecordingCoreEngineCallback.h"
#include "ServiceFixture.h"
#include "SimProcess.h"
#include "TimeScale.h"
#include "WaitUntil.h"
#include "vel/VelComProxyCoreEngine.h"

using namespace std::chrono_literals;
using linktest::AClientProxyWithService;
using Clock = std::chrono::steady_clock;

namespace {

// The thread that runs GLib's global default main context: where the library
// dispatches every bus callback.
std::thread::id defaultContextThread()
{
    std::atomic<bool> done{false};
    std::thread::id id;
    struct Probe {
        std::thread::id* id;
        std::atomic<bool>* done;
    } probe{&id, &done};
    g_main_context_invoke(
        nullptr,
        [](gpointer data) -> gboolean {
            auto* p = static_cast<Probe*>(data);
            *p->id = std::this_thread::get_id();
            p->done->store(true);
            return G_SOURCE_REMOVE;
        },
        &probe);
    EXPECT_TRUE(veltest::waitUntil([&] { return done.load(); }, 10s));
    return id;
}

// A core engine's callback that notes which thread and when each call came,
// and can be told to take its time over onRcvMVELReady(true).
class ThreadNotingCoreCallback : public veltest::RecordingCoreEngineCallback {
public:
    void onRcvMVELReady(bool ready) override
    {
        {
            std::lock_guard<std::mutex> lock(mMutex);
            (ready ? mReadyThread : mNotReadyThread) = std::this_thread::get_id();
            if (!ready) {
                mNotReadyAt = Clock::now();
            }
        }
        RecordingCoreEngineCallback::onRcvMVELReady(ready);
        if (ready && mSlowReady.load()) {
            mInSlowReady.store(true);
            std::this_thread::sleep_for(kSlowReady);
            mInSlowReady.store(false);
        }
    }

    void onRcvInfoLinkLoss(const std::string& information) override
    {
        {
            std::lock_guard<std::mutex> lock(mMutex);
            mSignalThread = std::this_thread::get_id();
        }
        RecordingCoreEngineCallback::onRcvInfoLinkLoss(information);
    }

    std::thread::id readyThread() const { return get(mReadyThread); }
    std::thread::id notReadyThread() const { return get(mNotReadyThread); }
    std::thread::id signalThread() const { return get(mSignalThread); }
    Clock::time_point notReadyAt() const
    {
        std::lock_guard<std::mutex> lock(mMutex);
        return mNotReadyAt;
    }

    static constexpr std::chrono::seconds kSlowReady{3};
    std::atomic<bool> mSlowReady{false};
    std::atomic<bool> mInSlowReady{false};

private:
    std::thread::id get(const std::thread::id& slot) const
    {
        std::lock_guard<std::mutex> lock(mMutex);
        return slot;
    }

    mutable std::mutex mMutex;
    std::thread::id mReadyThread;
    std::thread::id mNotReadyThread;
    std::thread::id mSignalThread;
    Clock::time_point mNotReadyAt;
};

// Never destroyed: the facade keeps calling it until the process ends.
ThreadNotingCoreCallback& coreCallback()
{
    static auto* callback = new ThreadNotingCoreCallback();
    return *callback;
}

constexpr CLIENT_TYPE_e kCoreKind = static_cast<CLIENT_TYPE_e>(200);

// A host thread with a main context of its own pushed as its thread-default,
// which it iterates the whole time, as a GLib program's worker does.
class OwnContextHost {
public:
    explicit OwnContextHost(std::function<void()> work)
        : mContext(g_main_context_new()),
          mLoop(g_main_loop_new(mContext, FALSE)),
          mThread([this, work] {
              g_main_context_push_thread_default(mContext);
              work();
              mWorkDone.store(true);
              g_main_loop_run(mLoop);
              g_main_context_pop_thread_default(mContext);
          })
    {
    }

    ~OwnContextHost()
    {
        veltest::waitUntil([this] { return mWorkDone.load() && g_main_loop_is_running(mLoop); }, 20s);
        g_main_loop_quit(mLoop);
        g_main_context_wakeup(mContext);
        mThread.join();
        g_main_loop_unref(mLoop);
        g_main_context_unref(mContext);
    }

    std::thread::id id() const { return mThread.get_id(); }
    bool workDone() const { return mWorkDone.load(); }

private:
    GMainContext* mContext;
    GMainLoop* mLoop;
    std::atomic<bool> mWorkDone{false};
    std::thread mThread;
};

} // namespace

// The name is already known when the core engine initialises, so its
// onRcvMVELReady(true) runs on the thread that called doInitialize(). While
// it takes seconds there, the service goes away: the vanish is a bus event of
// the main-loop thread and reaches the client at once.
TEST_F(AClientProxyWithService, TellsASlowCoreEngineOfAVanishAtOnceOnTheMainLoopThread)
{
    ASSERT_TRUE(sim.start());
    makeFacade().doInitialize();
    ASSERT_TRUE(waitForEvents(1));
    const std::thread::id mainLoopThread = defaultContextThread();

    ThreadNotingCoreCallback& callback = coreCallback();
    callback.mSlowReady.store(true);
    std::thread host([&] {
        VelComProxyCoreEngine* core = VelComProxyCoreEngine::getInstance(kCoreKind, "core", &callback);
        core->doInitialize();
    });
    ASSERT_TRUE(veltest::waitUntil([&] { return callback.mInSlowReady.load(); }, 30s));
    EXPECT_EQ(callback.readyThread(), host.get_id());

    sim.kill9();
    const Clock::time_point gone = Clock::now();
    ASSERT_TRUE(callback.waitForCall("onRcvMVELReady(false)", 10s));
    const auto delay = std::chrono::duration_cast<std::chrono::microseconds>(callback.notReadyAt() - gone);
    std::cout << "vanish reached the client " << delay.count() << " us after the service was killed" << std::endl;
    EXPECT_TRUE(callback.mInSlowReady.load()) << "the vanish waited for the slow callback";
    EXPECT_LT(delay, std::chrono::microseconds(veltest::scaled(100ms)));
    EXPECT_EQ(callback.notReadyThread(), mainLoopThread);
    host.join();
}

// A host that pushed a main context of its own and initialises from that
// thread before the service is there: the watch, the proxy and the
// subscriptions still belong to the main-loop thread.
TEST_F(AClientProxyWithService, DispatchesOnTheMainLoopThreadForAHostWithItsOwnContext)
{
    ThreadNotingCoreCallback& callback = coreCallback();
    OwnContextHost host([&] {
        VelComProxyCoreEngine* core = VelComProxyCoreEngine::getInstance(kCoreKind, "core", &callback);
        core->doInitialize();
    });
    ASSERT_TRUE(veltest::waitUntil([&] { return host.workDone(); }, 20s));
    ASSERT_TRUE(sim.start());
    ASSERT_TRUE(callback.waitForCall("onRcvMVELReady(true)", 30s));
    ASSERT_TRUE(sim.waitForLog("call registerMe (uint32 200", 20s));
    const std::thread::id mainLoopThread = defaultContextThread();
    EXPECT_NE(mainLoopThread, host.id());
    EXPECT_EQ(callback.readyThread(), mainLoopThread);

    ASSERT_TRUE(sim.emitSignal("noticeToCoreLinkLoss", g_variant_new("(s)", "lost")));
    ASSERT_TRUE(callback.waitForCall("onRcvInfoLinkLoss", 20s));
    EXPECT_EQ(callback.signalThread(), mainLoopThread);

    sim.kill9();
    ASSERT_TRUE(callback.waitForCall("onRcvMVELReady(false)", 20s));
    EXPECT_EQ(callback.notReadyThread(), mainLoopThread);
}

// The same host when the name is already known: onRcvMVELReady(true) comes on
// the calling thread, but what the connection subscribed is dispatched on the
// main-loop thread.
TEST_F(AClientProxyWithService, SubscribesOnTheMainLoopThreadWhenAHostWithItsOwnContextConnectsAtOnce)
{
    ASSERT_TRUE(sim.start());
    makeFacade().doInitialize();
    ASSERT_TRUE(waitForEvents(1));
    const std::thread::id mainLoopThread = defaultContextThread();

    ThreadNotingCoreCallback& callback = coreCallback();
    OwnContextHost host([&] {
        VelComProxyCoreEngine* core = VelComProxyCoreEngine::getInstance(kCoreKind, "core", &callback);
        core->doInitialize();
    });
    ASSERT_TRUE(callback.waitForCall("onRcvMVELReady(true)", 30s));
    EXPECT_EQ(callback.readyThread(), host.id());

    ASSERT_TRUE(sim.emitSignal("noticeToCoreLinkLoss", g_variant_new("(s)", "lost")));
    ASSERT_TRUE(callback.waitForCall("onRcvInfoLinkLoss", 20s));
    EXPECT_EQ(callback.signalThread(), mainLoopThread);
}

// A plain host leaves the default context to the library: no warning.
TEST_F(AClientProxyWithService, RunsTheDefaultContextWithoutAWarningInAPlainHost)
{
    makeFacade();
    ASSERT_TRUE(linktest::flushDefaultContext());
    EXPECT_EQ(linktest::countLinesAtSeverity("Another thread already runs the default main context",
                                             veltest::kSeverityWarn),
              0u);
}

// A host thread that took the default context for itself before the facade
// was made (Qt's GLib dispatcher does): the library says so, once, and names
// the set-ups that work.
TEST_F(AClientProxyWithService, WarnsOnceWhenAnotherThreadAlreadyRunsTheDefaultContext)
{
    std::atomic<bool> quit{false};
    std::atomic<bool> holding{false};
    std::thread owner([&] {
        g_main_context_push_thread_default(g_main_context_default());
        holding.store(true);
        while (!quit.load()) {
            g_main_context_iteration(nullptr, FALSE);
            std::this_thread::sleep_for(1ms);
        }
        g_main_context_pop_thread_default(g_main_context_default());
    });
    ASSERT_TRUE(veltest::waitUntil([&] { return holding.load(); }));
    makeFacade();
    makeFacade(linktest::kCoreKind, "second");
    ASSERT_TRUE(linktest::flushDefaultContext());
    quit.store(true);
    owner.join();
    const std::string warning = linktest::proxyLine(
        "client", "runMainLoop",
        "@@@ WARN. Another thread already runs the default main context: every callback of the library runs on "
        "that thread, not on the library's own. Safe hosts: Qt with QT_NO_GLIB=1, Qt's GLib dispatcher with the "
        "application object created before the facade, GLib programs that leave the default context to the "
        "library (docs/hosting.md)");
    EXPECT_EQ(veltest::LogCapture::count(warning, veltest::kSeverityWarn), 1u);
    EXPECT_EQ(linktest::countLinesAtSeverity("Another thread already runs the default main context",
                                             veltest::kSeverityWarn),
              1u);
}
