// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// GLib's headers (through the test helpers) before Qt's: a GLib program that
// hosts Qt includes them in this order. The facades' headers themselves are
// checked after Qt's in QtHeadersFirst.cpp.
#include <gio/gio.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <atomic>
#include <chrono>
#include <iostream>
#include <memory>
#include <mutex>
#include <thread>

#include "LogCapture.h"
#include "PrivateBus.h"
#include "RecordingCallBack.h"
#include "SimProcess.h"
#include "TimeScale.h"
#include "vel/VelComProxyApp.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QObject>
#include <QTimer>

using namespace std::chrono_literals;

namespace {

constexpr CLIENT_TYPE_e kHmiKind = static_cast<CLIENT_TYPE_e>(100);
// The GUI thread's timer, and how many of its ticks must come in a second.
constexpr int kTickIntervalMs = 10;
constexpr int kTickWindowMs = 1000;
constexpr int kMinimumTicks = kTickWindowMs / kTickIntervalMs / 2;

// An HMI's callback: notes the thread of every call it cares about.
class HmiCallback : public veltest::RecordingCallBack {
public:
    HmiCallback() : RecordingCallBack("hmi") {}

    void onRcvMVELReady(bool ready) override
    {
        note(mReadyThread);
        RecordingCallBack::onRcvMVELReady(ready);
        if (ready && mOnReady) {
            mOnReady();
        }
    }

    bool onRcvTechActiveInfo(std::vector<TECH_ACTIVE_INFO_s> infos) override
    {
        note(mSignalThread);
        return RecordingCallBack::onRcvTechActiveInfo(std::move(infos));
    }

    std::thread::id readyThread() const { return get(mReadyThread); }
    std::thread::id signalThread() const { return get(mSignalThread); }

    // Runs on the callback's thread after onRcvMVELReady(true) is recorded.
    std::function<void()> mOnReady;

private:
    void note(std::thread::id& slot)
    {
        std::lock_guard<std::mutex> lock(mThreads);
        slot = std::this_thread::get_id();
    }
    std::thread::id get(const std::thread::id& slot) const
    {
        std::lock_guard<std::mutex> lock(mThreads);
        return slot;
    }

    mutable std::mutex mThreads;
    std::thread::id mReadyThread;
    std::thread::id mSignalThread;
};

// Never destroyed: the facade may call it until the process ends.
HmiCallback& hmiCallback()
{
    static auto* callback = new HmiCallback();
    return *callback;
}

std::atomic<int> gGlibComplaints{0};

void countGlibComplaint(const gchar* domain, GLogLevelFlags level, const gchar* message, gpointer)
{
    ++gGlibComplaints;
    std::cerr << (domain != nullptr ? domain : "") << " (" << level << "): " << message << std::endl;
}

enum class Application { Core, Gui };
enum class Dispatcher { Qt, GLib };
enum class Order { ApplicationFirst, FacadeFirst };

struct Outcome {
    int exitCode = -1;
    bool ready = false;
    std::thread::id guiThread;
    std::thread::id readyThread;
    std::thread::id signalThread;
    bool queuedCallReachedGuiObject = false;
    bool ticksOnGuiThread = true;
    int ticksInWindow = 0;
};

// One HMI process: the application object and the facade in the given
// order, then the facade's initialisation, a signal from the service, and a
// second of the GUI thread's timer.
class AQtHost : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(mBus.start());
        ASSERT_TRUE(mSim.start());
        veltest::LogCapture::clear();
        for (const char* domain : {"GLib", "GLib-GIO", "GLib-GObject"}) {
            g_log_set_handler(domain, static_cast<GLogLevelFlags>(G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING),
                              &countGlibComplaint, nullptr);
        }
    }

    Outcome run(Application kind, Dispatcher dispatcher, Order order)
    {
        if (dispatcher == Dispatcher::Qt) {
            setenv("QT_NO_GLIB", "1", 1);
        } else {
            unsetenv("QT_NO_GLIB");
        }
        setenv("QT_QPA_PLATFORM", "offscreen", 1);

        HmiCallback& callback = hmiCallback();
        VelComProxyApp* facade = nullptr;
        if (order == Order::FacadeFirst) {
            facade = VelComProxyApp::getInstance(kHmiKind, "hmi", &callback);
        }
        static int argc = 1;
        static char name[] = "qt-host";
        static char* argv[] = {name, nullptr};
        std::unique_ptr<QCoreApplication> application;
        if (kind == Application::Gui) {
            application = std::make_unique<QGuiApplication>(argc, argv);
        } else {
            application = std::make_unique<QCoreApplication>(argc, argv);
        }
        if (order == Order::ApplicationFirst) {
            facade = VelComProxyApp::getInstance(kHmiKind, "hmi", &callback);
        }

        Outcome outcome;
        outcome.guiThread = std::this_thread::get_id();
        QObject guiObject;
        std::atomic<bool> ready{false};
        std::atomic<bool> queuedArrived{false};
        callback.mOnReady = [&] {
            ready = true;
            // How an HMI hands a callback to its GUI objects.
            QMetaObject::invokeMethod(
                &guiObject,
                [&] {
                    outcome.queuedCallReachedGuiObject = std::this_thread::get_id() == outcome.guiThread;
                    queuedArrived = true;
                },
                Qt::QueuedConnection);
        };

        int ticks = 0;
        QTimer ticker;
        ticker.setInterval(kTickIntervalMs);
        QObject::connect(&ticker, &QTimer::timeout, [&] {
            ++ticks;
            if (std::this_thread::get_id() != outcome.guiThread) {
                outcome.ticksOnGuiThread = false;
            }
        });

        enum class Step { WaitForReady, WaitForSignal, CountTicks } step = Step::WaitForReady;
        int ticksAtWindowStart = 0;
        std::chrono::steady_clock::time_point windowStart;
        QTimer steps;
        steps.setInterval(5);
        QObject::connect(&steps, &QTimer::timeout, [&] {
            switch (step) {
            case Step::WaitForReady:
                if (ready && queuedArrived) {
                    EXPECT_TRUE(mSim.emitSignal("noticeTechActiveInfo", g_variant_new_parsed("([(uint32 1, true)],)")));
                    step = Step::WaitForSignal;
                }
                break;
            case Step::WaitForSignal:
                if (callback.count("onRcvTechActiveInfo") > 0) {
                    ticksAtWindowStart = ticks;
                    windowStart = std::chrono::steady_clock::now();
                    step = Step::CountTicks;
                }
                break;
            case Step::CountTicks:
                if (std::chrono::steady_clock::now() - windowStart >= std::chrono::milliseconds(kTickWindowMs)) {
                    outcome.ticksInWindow = ticks - ticksAtWindowStart;
                    QCoreApplication::exit(0);
                }
                break;
            }
        });
        // Gives up rather than hang; the expectations then say what is missing.
        QTimer::singleShot(static_cast<int>(veltest::scaled(30s).count()), [] { QCoreApplication::exit(3); });

        facade->doInitialize();
        ticker.start();
        steps.start();
        outcome.exitCode = QCoreApplication::exec();
        ticker.stop();
        steps.stop();
        callback.mOnReady = nullptr;
        application.reset();

        outcome.ready = ready;
        if (!outcome.ready) {
            for (const auto& text : veltest::LogCapture::texts()) {
                std::cerr << text << std::endl;
            }
        }
        outcome.readyThread = callback.readyThread();
        outcome.signalThread = callback.signalThread();
        std::cout << "ready on " << (outcome.readyThread == outcome.guiThread ? "GUI" : "library")
                  << " thread, signal on " << (outcome.signalThread == outcome.guiThread ? "GUI" : "library")
                  << " thread, " << outcome.ticksInWindow << " ticks in " << kTickWindowMs << " ms, exit "
                  << outcome.exitCode << std::endl;
        return outcome;
    }

    // Every callback on the library's own thread; the GUI thread's timers
    // and queued calls untouched.
    void expectLibraryThreadHost(const Outcome& outcome)
    {
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_TRUE(outcome.ready);
        EXPECT_NE(outcome.readyThread, outcome.guiThread);
        EXPECT_EQ(outcome.signalThread, outcome.readyThread);
        expectGuiThreadUnharmed(outcome);
        EXPECT_EQ(veltest::LogCapture::count("Another thread already runs the default main context"), 0u);
    }

    // Every callback on the GUI thread, which Qt's GLib dispatcher runs the
    // default context on; the library says so once.
    void expectGuiThreadHost(const Outcome& outcome)
    {
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_TRUE(outcome.ready);
        EXPECT_EQ(outcome.readyThread, outcome.guiThread);
        EXPECT_EQ(outcome.signalThread, outcome.guiThread);
        expectGuiThreadUnharmed(outcome);
        EXPECT_EQ(veltest::LogCapture::count("@@@ WARN. Another thread already runs the default main context",
                                             veltest::kSeverityWarn),
                  1u);
    }

    void expectGuiThreadUnharmed(const Outcome& outcome)
    {
        EXPECT_TRUE(outcome.queuedCallReachedGuiObject);
        EXPECT_TRUE(outcome.ticksOnGuiThread);
        EXPECT_GE(outcome.ticksInWindow, kMinimumTicks);
        EXPECT_EQ(gGlibComplaints.load(), 0);
    }

    veltest::PrivateBus mBus;
    veltest::SimProcess mSim{mBus};
};

// Named after the Qt major version the test is built with (AQt5Host, AQt6Host).
class VEL_QT_HOST : public AQtHost {
};

} // namespace

TEST_F(VEL_QT_HOST, WithoutGlibAndTheCoreApplicationFirstGetsCallbacksOnTheLibraryThread)
{
    expectLibraryThreadHost(run(Application::Core, Dispatcher::Qt, Order::ApplicationFirst));
}

TEST_F(VEL_QT_HOST, WithoutGlibAndTheFacadeFirstGetsCallbacksOnTheLibraryThread)
{
    expectLibraryThreadHost(run(Application::Core, Dispatcher::Qt, Order::FacadeFirst));
}

TEST_F(VEL_QT_HOST, WithoutGlibAndTheGuiApplicationFirstGetsCallbacksOnTheLibraryThread)
{
    expectLibraryThreadHost(run(Application::Gui, Dispatcher::Qt, Order::ApplicationFirst));
}

TEST_F(VEL_QT_HOST, WithoutGlibAndTheFacadeBeforeTheGuiApplicationGetsCallbacksOnTheLibraryThread)
{
    expectLibraryThreadHost(run(Application::Gui, Dispatcher::Qt, Order::FacadeFirst));
}

TEST_F(VEL_QT_HOST, WithTheGlibDispatcherAndTheCoreApplicationFirstGetsCallbacksOnTheGuiThread)
{
    expectGuiThreadHost(run(Application::Core, Dispatcher::GLib, Order::ApplicationFirst));
}

TEST_F(VEL_QT_HOST, WithTheGlibDispatcherAndTheGuiApplicationFirstGetsCallbacksOnTheGuiThread)
{
    expectGuiThreadHost(run(Application::Gui, Dispatcher::GLib, Order::ApplicationFirst));
}
