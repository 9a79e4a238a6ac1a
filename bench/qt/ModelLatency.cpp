// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// vel-qt-bench: how long a new known-device list takes from the service's
// notice to a Qt model's rowsInserted on the GUI thread, against plain
// VelCallBackApp callbacks in the same process and the same run. Runs against
// the simulator on the bus named by DBUS_SYSTEM_BUS_ADDRESS (scripts/bench
// sets both up).
//
// libvel calls its callbacks one after the other on its main-loop thread and
// reads the list afresh for each. Registered in this order:
//   1. a plain callback (A): the time a plain client sees the list;
//   2. a second plain callback (B): B - A is what one more consumer costs
//      (libvel's second reading and the call);
//   3. libvel-qt's relay, whose copy lands in the model on the GUI thread (Q).
// Q - B is what the Qt consumer costs in the same place; (Q - B) - (B - A) is
// what the adapter adds on top of a plain consumer: one copy of the list, one
// hop to the GUI thread and the model's diff.
//
//   vel-qt-bench [Google Benchmark flags]

#include <benchmark/benchmark.h>
#include <gio/gio.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <list>
#include <string>
#include <vector>

#include "vel/VelCallBackApp.h"
#include "vel/VelComProxyApp.h"

#include <QAbstractItemModel>
#include <QCoreApplication>
#include <QElapsedTimer>

#include "velqt/VelDeviceListModel.h"
#include "velqt/VelQtApplicationClient.h"

namespace {

constexpr int kClientType = 100;
constexpr int kDevices = 10;

std::int64_t nowNs()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// Notes when it is handed a non-empty known list.
class StampingCallback : public VelCallBackApp {
public:
    void onRcvMVELReady(bool ready) override { mReady = ready; }
    void onRcvUpdateKnownDevices(std::list<DEVICE>& devices, int) override
    {
        if (!devices.empty()) {
            mStamp = nowNs();
        }
    }
    void onRcvUpdateDiscoveredDevices(std::list<DEVICE>&, int) override {}

    std::atomic<bool> mReady{false};
    std::atomic<std::int64_t> mStamp{0};
};

struct World {
    GDBusConnection* control = nullptr;
    StampingCallback* first = nullptr;
    StampingCallback* second = nullptr;
    VelQtApplicationClient* client = nullptr;
    std::int64_t rowsInserted = 0;
};

World gWorld;

// Sends PublishDevices without waiting for its reply, so that the GUI thread
// is idle in its event loop when the notice comes, as an HMI's is.
void publishKnown(int devices)
{
    GVariantBuilder ids;
    g_variant_builder_init(&ids, G_VARIANT_TYPE("as"));
    for (int i = 0; i < devices; ++i) {
        g_variant_builder_add(&ids, "s", ("bench-qt-" + std::to_string(i)).c_str());
    }
    g_dbus_connection_call(gWorld.control, "com.qor.vel_communicator", "/com/qor/vel_sim", "com.qor.vel_sim.App",
                           "PublishDevices", g_variant_new("(uasb)", 0u, &ids, TRUE), nullptr,
                           G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr, nullptr);
}

// Runs the GUI thread's event loop until `done` or 10 s.
template <typename Done>
bool spinUntil(Done done)
{
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > 10000) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    }
    return true;
}

double median(std::vector<double> values)
{
    if (values.empty()) {
        return 0;
    }
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void NoticeToRowsInserted(benchmark::State& state)
{
    VelDeviceListModel* model = gWorld.client->knownDevices();
    std::vector<double> plain;
    std::vector<double> secondConsumer;
    std::vector<double> qtConsumer;
    std::vector<double> toRows;
    for (auto _ : state) {
        // An empty list first, so that the measured one is inserted.
        publishKnown(0);
        if (!spinUntil([&] { return model->rowCount() == 0; })) {
            state.SkipWithError("the model did not empty");
            break;
        }
        gWorld.first->mStamp = 0;
        gWorld.second->mStamp = 0;
        gWorld.rowsInserted = 0;
        const std::int64_t notice = nowNs();
        publishKnown(kDevices);
        if (!spinUntil([&] { return gWorld.rowsInserted != 0 && gWorld.second->mStamp != 0; })) {
            state.SkipWithError("no rowsInserted");
            break;
        }
        const double a = static_cast<double>(gWorld.first->mStamp - notice) / 1000.0;
        const double b = static_cast<double>(gWorld.second->mStamp - notice) / 1000.0;
        const double q = static_cast<double>(gWorld.rowsInserted - notice) / 1000.0;
        plain.push_back(a);
        secondConsumer.push_back(b - a);
        qtConsumer.push_back(q - b);
        toRows.push_back(q);
        state.SetIterationTime(q / 1e6);
    }
    state.counters["plain_callback_us"] = median(plain);
    state.counters["second_callback_after_us"] = median(secondConsumer);
    state.counters["rows_inserted_after_us"] = median(qtConsumer);
    state.counters["adapter_adds_us"] = median(qtConsumer) - median(secondConsumer);
    state.counters["notice_to_rows_inserted_us"] = median(toRows);
}

// The parts of the adapter's cost on their own: the copy of a ten-record list
// that the relay makes on libvel's thread...
void CopyTenRecords(benchmark::State& state)
{
    std::list<DEVICE> devices(kDevices);
    for (auto _ : state) {
        QList<QByteArray> records;
        records.reserve(kDevices);
        for (const DEVICE& device : devices) {
            records.append(QByteArray(reinterpret_cast<const char*>(&device), static_cast<qsizetype>(sizeof(DEVICE))));
        }
        benchmark::DoNotOptimize(records);
    }
}

QList<QByteArray> tenRecords(int seed)
{
    QList<QByteArray> records;
    for (int i = 0; i < kDevices; ++i) {
        DEVICE device{};
        std::snprintf(device.deviceId, sizeof(device.deviceId), "bench-qt-%d", (i + seed) % kDevices);
        records.append(QByteArray(reinterpret_cast<const char*>(&device), static_cast<qsizetype>(sizeof(DEVICE))));
    }
    return records;
}

// ...and the model's diff on the GUI thread: ten rows into an empty model...
void InsertTenRows(benchmark::State& state)
{
    const QList<QByteArray> records = tenRecords(0);
    VelDeviceListModel model;
    for (auto _ : state) {
        model.applyRecords(records);
        state.PauseTiming();
        model.applyRecords({});
        state.ResumeTiming();
    }
}

// ...and the same ten devices rotated by three places with every record changed.
void ReorderTenRows(benchmark::State& state)
{
    const QList<QByteArray> first = tenRecords(0);
    const QList<QByteArray> second = tenRecords(3);
    VelDeviceListModel model;
    bool flip = false;
    for (auto _ : state) {
        model.applyRecords(flip ? first : second);
        flip = !flip;
    }
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_NO_GLIB", "1");
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);

    const char* address = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
    GError* error = nullptr;
    gWorld.control = address == nullptr ? nullptr
                                        : g_dbus_connection_new_for_address_sync(
                                              address,
                                              static_cast<GDBusConnectionFlags>(
                                                  G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                  G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
                                              nullptr, nullptr, &error);
    if (gWorld.control == nullptr) {
        std::fprintf(stderr, "vel-qt-bench: no bus at DBUS_SYSTEM_BUS_ADDRESS: %s\n",
                     error != nullptr ? error->message : "unset");
        return 1;
    }

    // libvel keeps its callback objects until the process ends.
    gWorld.first = new StampingCallback();
    gWorld.second = new StampingCallback();
    VelComProxyApp::getInstance(static_cast<CLIENT_TYPE_e>(kClientType), "bench-qt", gWorld.first);
    VelComProxyApp::getInstance(static_cast<CLIENT_TYPE_e>(kClientType), "bench-qt", gWorld.second);
    gWorld.client = new VelQtApplicationClient();
    gWorld.client->setClientType(kClientType);
    gWorld.client->setClientName("bench-qt");
    QObject::connect(gWorld.client->knownDevices(), &QAbstractItemModel::rowsInserted,
                     [] { gWorld.rowsInserted = nowNs(); });
    // libvel tells readiness to the callback the facade was made with (the
    // first plain one); the client's relay is in the list all the same.
    if (!gWorld.client->start() || !spinUntil([] { return gWorld.first->mReady.load(); })) {
        std::fprintf(stderr, "vel-qt-bench: the service did not register the client\n");
        return 1;
    }

    benchmark::RegisterBenchmark("qt/notice_to_rows_inserted", NoticeToRowsInserted)
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("qt/copy_ten_records", CopyTenRecords)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("qt/model_insert_ten_rows", InsertTenRows)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("qt/model_reorder_ten_rows", ReorderTenRows)->Unit(benchmark::kMicrosecond);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
