// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// The Qt client against the simulator on a private bus: readiness, a request's
// completion as a signal on the GUI thread, the known-device model following
// the service's list, the asynchronous checks and the host set-up check.

#include <gio/gio.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "LogCapture.h"
#include "PrivateBus.h"
#include "QtTestSupport.h"
#include "SimProcess.h"
#include "TimeScale.h"

#include <QAbstractItemModelTester>
#include <QGuiApplication>
#include <QTest>

#include "velqt/VelDeviceListModel.h"
#include "velqt/VelQtApplicationClient.h"

using namespace std::chrono_literals;

namespace {

constexpr int kHmiKind = 100;
// Every wait is for something the simulator does at once; the bound only
// keeps a broken build from hanging.
constexpr auto kWait = 10s;

class AQtApplicationClient : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(mBus.start());
        ASSERT_TRUE(mSim.start());
        veltest::LogCapture::clear();
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
    }

    void TearDown() override
    {
        mClient.reset();
        mApplication.reset();
    }

    // The recommended host: Qt's own event dispatcher (QT_NO_GLIB=1).
    void startGuiApplication(bool withoutGlib = true)
    {
        if (withoutGlib) {
            setenv("QT_NO_GLIB", "1", 1);
        } else {
            unsetenv("QT_NO_GLIB");
        }
        static int argc = 1;
        static char name[] = "qt-client-test";
        static char* argv[] = {name, nullptr};
        mApplication = std::make_unique<QGuiApplication>(argc, argv);
        mGuiThread = std::this_thread::get_id();
    }

    void startReadyClient()
    {
        mClient = std::make_unique<VelQtApplicationClient>();
        mClient->setClientType(kHmiKind);
        mClient->setClientName("hmi");
        ASSERT_TRUE(mClient->start());
        ASSERT_TRUE(waitFor([&] { return mClient->isReady(); })) << "readyChanged(true) after registration";
    }

    static bool waitFor(const std::function<bool()>& condition)
    {
        return QTest::qWaitFor(condition, static_cast<int>(veltest::scaled(kWait).count()));
    }

    // Publishes the known list with its notice; returns the records written.
    QList<QByteArray> publishKnown(const QStringList& deviceIds)
    {
        GVariantBuilder builder;
        g_variant_builder_init(&builder, G_VARIANT_TYPE("as"));
        for (const QString& id : deviceIds) {
            g_variant_builder_add(&builder, "s", id.toUtf8().constData());
        }
        QList<QByteArray> records;
        GVariant* reply =
            mSim.control("com.qor.vel_sim.App", "PublishDevices", g_variant_new("(uasb)", 0u, &builder, TRUE));
        EXPECT_NE(reply, nullptr) << "PublishDevices";
        if (reply == nullptr) {
            return records;
        }
        GVariant* list = g_variant_get_child_value(reply, 0);
        for (gsize i = 0; i < g_variant_n_children(list) && records.size() < deviceIds.size(); ++i) {
            GVariant* bytes = g_variant_get_child_value(list, i);
            gsize length = 0;
            const void* data = g_variant_get_fixed_array(bytes, &length, 1);
            records.append(QByteArray(static_cast<const char*>(data), static_cast<int>(length)));
            g_variant_unref(bytes);
        }
        g_variant_unref(list);
        g_variant_unref(reply);
        return records;
    }

    veltest::PrivateBus mBus;
    veltest::SimProcess mSim{mBus};
    std::unique_ptr<QGuiApplication> mApplication;
    std::unique_ptr<VelQtApplicationClient> mClient;
    std::thread::id mGuiThread;
};

TEST_F(AQtApplicationClient, BecomesReadyOnTheGuiThreadWhenTheServiceRegistersIt)
{
    startGuiApplication();
    mClient = std::make_unique<VelQtApplicationClient>();
    mClient->setClientType(kHmiKind);
    mClient->setClientName("hmi");
    std::vector<bool> changes;
    std::thread::id readyThread;
    QObject::connect(mClient.get(), &VelQtApplicationClient::readyChanged, [&](bool ready) {
        changes.push_back(ready);
        readyThread = std::this_thread::get_id();
    });

    EXPECT_FALSE(mClient->isReady());
    ASSERT_TRUE(mClient->start());
    EXPECT_TRUE(mClient->isStarted());
    ASSERT_TRUE(waitFor([&] { return mClient->isReady(); }));
    EXPECT_EQ(changes, std::vector<bool>({true}));
    EXPECT_EQ(readyThread, mGuiThread);
    EXPECT_EQ(mSim.countLog("registerMe type=100 name="), 1u);
}

TEST_F(AQtApplicationClient, DeliversAConnectCompletionAsASignalOnTheGuiThread)
{
    startGuiApplication();
    startReadyClient();
    ASSERT_NE(mSim.control("com.qor.vel_sim.App", "SetCompletion", g_variant_new("(uu)", 4u, 0u)), nullptr);
    struct Completion {
        QString deviceId;
        uint technology;
        int result;
        std::thread::id thread;
    };
    std::vector<Completion> completions;
    QObject::connect(mClient.get(), &VelQtApplicationClient::connectServiceDone,
                     [&](const QString& deviceId, uint technology, int result) {
                         completions.push_back({deviceId, technology, result, std::this_thread::get_id()});
                     });

    ASSERT_TRUE(mClient->connectService("AC:37:43:9A:1F:02", 2));
    ASSERT_TRUE(waitFor([&] { return !completions.empty(); })) << "connectServiceDone";
    EXPECT_EQ(mSim.countLog("call actionFromApp (uint32 0, 'AC:37:43:9A:1F:02', uint32 2, '')"), 1u);
    EXPECT_EQ(completions.size(), 1u);
    EXPECT_EQ(completions[0].deviceId, QString("AC:37:43:9A:1F:02"));
    EXPECT_EQ(completions[0].technology, 2u);
    EXPECT_EQ(completions[0].result, 4);
    EXPECT_EQ(completions[0].thread, mGuiThread);
}

TEST_F(AQtApplicationClient, KeepsTheKnownDeviceModelInStepWithAListThatChangesThreeTimes)
{
    startGuiApplication();
    veltest::QtWarningCollector warnings;
    startReadyClient();
    VelDeviceListModel* model = mClient->knownDevices();
    QAbstractItemModelTester tester(model, QAbstractItemModelTester::FailureReportingMode::Warning);
    int inserted = 0;
    int removed = 0;
    int moved = 0;
    int resets = 0;
    bool offThread = false;
    auto note = [&](int& counter) {
        ++counter;
        offThread = offThread || std::this_thread::get_id() != mGuiThread;
    };
    QObject::connect(model, &QAbstractItemModel::rowsInserted, [&] { note(inserted); });
    QObject::connect(model, &QAbstractItemModel::rowsRemoved, [&] { note(removed); });
    QObject::connect(model, &QAbstractItemModel::rowsMoved, [&] { note(moved); });
    QObject::connect(model, &QAbstractItemModel::modelReset, [&] { note(resets); });

    const std::vector<QStringList> lists = {{"A", "B", "C"}, {"C", "A", "B", "D"}, {"C", "D"}, {"D", "C", "E"}};
    for (const QStringList& ids : lists) {
        const QList<QByteArray> records = publishKnown(ids);
        ASSERT_EQ(records.size(), ids.size());
        ASSERT_TRUE(waitFor([&] { return veltest::modelDeviceIds(*model) == ids; }))
            << "model at " << veltest::modelDeviceIds(*model).join(",").toStdString() << ", expected "
            << ids.join(",").toStdString();
        for (int row = 0; row < ids.size(); ++row) {
            EXPECT_EQ(model->data(model->index(row), VelDeviceListModel::RecordRole).toByteArray(), records[row])
                << "row " << row;
        }
    }
    EXPECT_GT(inserted, 0);
    EXPECT_GT(removed, 0);
    EXPECT_GT(moved, 0);
    EXPECT_EQ(resets, 0);
    EXPECT_FALSE(offThread);
    EXPECT_EQ(warnings.warnings(), std::vector<std::string>()) << "the model tester reported these";
}

TEST_F(AQtApplicationClient, AnswersTheChecksAsynchronouslyOnTheGuiThread)
{
    startGuiApplication();
    startReadyClient();
    GVariantBuilder paired;
    g_variant_builder_init(&paired, G_VARIANT_TYPE("as"));
    g_variant_builder_add(&paired, "s", "F0:99:B6:11:7C:5D");
    ASSERT_NE(mSim.control("com.qor.vel_sim.App", "SetPaired", g_variant_new("(as)", &paired)), nullptr);
    ASSERT_NE(mSim.control("com.qor.vel_sim.App", "SetMaxPaired", g_variant_new("(b)", TRUE)), nullptr);

    std::vector<std::pair<QString, bool>> pairedAnswers;
    std::vector<bool> maxAnswers;
    bool offThread = false;
    QObject::connect(mClient.get(), &VelQtApplicationClient::checkPairedDone, [&](const QString& id, bool answer) {
        pairedAnswers.emplace_back(id, answer);
        offThread = offThread || std::this_thread::get_id() != mGuiThread;
    });
    QObject::connect(mClient.get(), &VelQtApplicationClient::checkMaxPairedDone, [&](bool answer) {
        maxAnswers.push_back(answer);
        offThread = offThread || std::this_thread::get_id() != mGuiThread;
    });

    mClient->requestCheckPaired("F0:99:B6:11:7C:5D");
    mClient->requestCheckPaired("00:00:00:00:00:01");
    mClient->requestCheckMaxPaired();
    ASSERT_TRUE(waitFor([&] { return pairedAnswers.size() == 2 && maxAnswers.size() == 1; }));
    std::sort(pairedAnswers.begin(), pairedAnswers.end());
    EXPECT_EQ(pairedAnswers[0], std::make_pair(QString("00:00:00:00:00:01"), false));
    EXPECT_EQ(pairedAnswers[1], std::make_pair(QString("F0:99:B6:11:7C:5D"), true));
    EXPECT_TRUE(maxAnswers[0]);
    EXPECT_FALSE(offThread);
}

TEST_F(AQtApplicationClient, TurnsTheServicesNoticesIntoSignals)
{
    startGuiApplication();
    startReadyClient();
    std::vector<std::string> notices;
    QObject::connect(mClient.get(), &VelQtApplicationClient::linkLost, [&](const QString& id, uint technology, int) {
        notices.push_back("link lost " + id.toStdString() + " " + std::to_string(technology));
    });
    QObject::connect(mClient.get(), &VelQtApplicationClient::techActiveInfoChanged, [&](const QVariantList& infos) {
        for (const QVariant& info : infos) {
            const QVariantMap map = info.toMap();
            notices.push_back("tech " + std::to_string(map.value("technology").toUInt()) + " " +
                              (map.value("active").toBool() ? "active" : "inactive"));
        }
    });

    ASSERT_NE(mSim.control("com.qor.vel_sim.App", "Notice", g_variant_new("(usi)", 7u, "AC:37:43:9A:1F:02", 3)),
              nullptr);
    ASSERT_TRUE(mSim.emitSignal("noticeTechActiveInfo", g_variant_new_parsed("([(uint32 1, true), (uint32 2, false)],)")));
    ASSERT_TRUE(waitFor([&] { return notices.size() == 3; }));
    EXPECT_EQ(notices, std::vector<std::string>({"link lost AC:37:43:9A:1F:02 3", "tech 1 active", "tech 2 inactive"}));
}

TEST_F(AQtApplicationClient, WorksUnderQtsGlibDispatcherWhenTheApplicationCameFirst)
{
    startGuiApplication(false);
    std::thread::id readyThread;
    mClient = std::make_unique<VelQtApplicationClient>();
    mClient->setClientType(kHmiKind);
    QObject::connect(mClient.get(), &VelQtApplicationClient::readyChanged,
                     [&] { readyThread = std::this_thread::get_id(); });
    ASSERT_TRUE(mClient->start());
    ASSERT_TRUE(waitFor([&] { return mClient->isReady(); }));
    EXPECT_EQ(readyThread, mGuiThread);
    EXPECT_EQ(veltest::LogCapture::count("@@@ ERR."), 0u);
}

TEST_F(AQtApplicationClient, RefusesToStartBeforeTheApplicationWhenQtWouldRunGlib)
{
    unsetenv("QT_NO_GLIB");
    VelQtApplicationClient client;
    client.setClientType(kHmiKind);
    EXPECT_FALSE(client.start());
    EXPECT_FALSE(client.isStarted());
    EXPECT_TRUE(veltest::LogCapture::hasExact(
        "[VELQT][VelQtApplicationClient][start] @@@ ERR. No QCoreApplication yet, and Qt will give it the GLib event "
        "dispatcher, which cannot run once libvel's thread owns GLib's default main context: create the application "
        "object first, or set QT_NO_GLIB=1! Return!",
        veltest::kSeverityError));
    EXPECT_EQ(veltest::LogCapture::count("@@@ ERR."), 1u);
    // No facade was made, so libvel's thread never took GLib's default context.
    EXPECT_EQ(veltest::LogCapture::count("[VELLIBAPP]"), 0u);
    EXPECT_FALSE(client.connectService("A", 2));
    EXPECT_TRUE(veltest::LogCapture::hasExact(
        "[VELQT][VelQtApplicationClient][facadeFor] @@@ WARN. connectService before start()! Return!",
        veltest::kSeverityWarn));
}

TEST_F(AQtApplicationClient, StartsBeforeTheApplicationWithoutGlib)
{
    setenv("QT_NO_GLIB", "1", 1);
    auto client = std::make_unique<VelQtApplicationClient>();
    client->setClientType(kHmiKind);
    ASSERT_TRUE(client->start());
    startGuiApplication();
    mClient = std::move(client);
    ASSERT_TRUE(waitFor([&] { return mClient->isReady(); }));
}

TEST_F(AQtApplicationClient, RefusesAClientTypeThatIsNotAnApplications)
{
    startGuiApplication();
    VelQtApplicationClient client;
    client.setClientType(200);
    EXPECT_FALSE(client.start());
    EXPECT_TRUE(veltest::LogCapture::hasExact(
        "[VELQT][VelQtApplicationClient][start] @@@ ERR. Client type 200 is not an application's (100 to 105)! Return!",
        veltest::kSeverityError));
}

TEST_F(AQtApplicationClient, HandsALaterClientOfTheSameKindTheLinkAndItsReadiness)
{
    startGuiApplication();
    startReadyClient();
    mClient.reset();
    // Whatever libvel delivers meanwhile reaches no destroyed object.
    ASSERT_NE(mSim.control("com.qor.vel_sim.App", "Notice", g_variant_new("(usi)", 7u, "A", 3)), nullptr);
    QTest::qWait(50);
    startReadyClient();
    int linkLosses = 0;
    QObject::connect(mClient.get(), &VelQtApplicationClient::linkLost, [&] { ++linkLosses; });
    ASSERT_NE(mSim.control("com.qor.vel_sim.App", "Notice", g_variant_new("(usi)", 7u, "B", 3)), nullptr);
    ASSERT_TRUE(waitFor([&] { return linkLosses == 1; }));
    EXPECT_EQ(mSim.countLog("registerMe type=100 name="), 1u);
}

} // namespace

namespace {

// The set-up known to crash: another thread owns GLib's default context (as
// libvel's thread does once a facade is made) when an application object with
// Qt's GLib dispatcher is made. The stand-in owner here only holds the
// context, so that nothing of Qt runs on it and the process stays whole; the
// client refuses to start on top of it.
TEST_F(AQtApplicationClient, RefusesToStartUnderQtsGlibDispatcherWhenAnotherThreadOwnsGlibsContext)
{
    unsetenv("QT_NO_GLIB");
    std::mutex mutex;
    std::condition_variable changed;
    bool owned = false;
    bool release = false;
    std::thread owner([&] {
        GMainContext* context = g_main_context_default();
        const bool acquired = g_main_context_acquire(context);
        std::unique_lock<std::mutex> lock(mutex);
        owned = acquired;
        changed.notify_all();
        changed.wait(lock, [&] { return release; });
        if (acquired) {
            g_main_context_release(context);
        }
    });
    {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [&] { return owned; });
    }
    // Qt complains on stderr that it cannot take the context: the set-up is wrong.
    startGuiApplication(false);
    mClient = std::make_unique<VelQtApplicationClient>();
    mClient->setClientType(kHmiKind);
    EXPECT_FALSE(mClient->start());
    EXPECT_TRUE(veltest::LogCapture::hasExact(
        "[VELQT][VelQtApplicationClient][start] @@@ ERR. Qt's GLib event dispatcher runs on this thread, but another "
        "thread owns GLib's default main context (was a libvel facade made before the application object?): set "
        "QT_NO_GLIB=1! Return!",
        veltest::kSeverityError));
    EXPECT_EQ(veltest::LogCapture::count("[VELLIBAPP]"), 0u);
    {
        std::lock_guard<std::mutex> lock(mutex);
        release = true;
        changed.notify_all();
    }
    owner.join();
}

} // namespace
