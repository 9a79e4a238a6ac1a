// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// The device model's diffing: every new list becomes row removals, moves,
// insertions and changes matched by deviceId, checked by Qt's own model
// tester after every step.

#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QRandomGenerator>
#include <QSignalSpy>

#include <memory>
#include <string>
#include <vector>

#include "LogCapture.h"
#include "QtTestSupport.h"
#include "velqt/VelDeviceListModel.h"

namespace {

using veltest::deviceRecord;
using veltest::deviceRecords;
using veltest::modelDeviceIds;

// What the model told its views, one text per signal.
class ModelEvents {
public:
    explicit ModelEvents(VelDeviceListModel& model)
    {
        QObject::connect(&model, &QAbstractItemModel::rowsInserted, [this](const QModelIndex&, int first, int last) {
            mEvents.push_back("insert " + std::to_string(first) + "-" + std::to_string(last));
        });
        QObject::connect(&model, &QAbstractItemModel::rowsRemoved, [this](const QModelIndex&, int first, int last) {
            mEvents.push_back("remove " + std::to_string(first) + "-" + std::to_string(last));
        });
        QObject::connect(&model, &QAbstractItemModel::rowsMoved,
                         [this](const QModelIndex&, int first, int last, const QModelIndex&, int row) {
                             mEvents.push_back("move " + std::to_string(first) + "-" + std::to_string(last) +
                                               " before " + std::to_string(row));
                         });
        QObject::connect(&model, &QAbstractItemModel::dataChanged,
                         [this](const QModelIndex& topLeft, const QModelIndex& bottomRight) {
                             mEvents.push_back("change " + std::to_string(topLeft.row()) + "-" +
                                               std::to_string(bottomRight.row()));
                         });
        QObject::connect(&model, &QAbstractItemModel::modelReset, [this] { mEvents.push_back("reset"); });
    }

    std::vector<std::string> take()
    {
        std::vector<std::string> events;
        events.swap(mEvents);
        return events;
    }

private:
    std::vector<std::string> mEvents;
};

class ADeviceListModel : public ::testing::Test {
protected:
    void SetUp() override
    {
        veltest::LogCapture::clear();
        mTester = std::make_unique<QAbstractItemModelTester>(
            &mModel, QAbstractItemModelTester::FailureReportingMode::Warning);
    }

    void TearDown() override
    {
        mTester.reset();
        EXPECT_EQ(mWarnings.warnings(), std::vector<std::string>()) << "the model tester reported these";
    }

    void apply(const QStringList& ids) { mModel.applyRecords(deviceRecords(ids)); }

    veltest::QtWarningCollector mWarnings;
    VelDeviceListModel mModel;
    std::unique_ptr<QAbstractItemModelTester> mTester;
    ModelEvents mEvents{mModel};
};

using Events = std::vector<std::string>;

TEST_F(ADeviceListModel, InsertsTheFirstListAsOneRunOfRows)
{
    apply({"A", "B", "C"});
    EXPECT_EQ(mEvents.take(), Events({"insert 0-2"}));
    EXPECT_EQ(modelDeviceIds(mModel), QStringList({"A", "B", "C"}));
    EXPECT_EQ(mModel.count(), 3);
}

TEST_F(ADeviceListModel, InsertsNewDevicesWhereTheServicePutsThem)
{
    apply({"A", "C"});
    mEvents.take();
    apply({"X", "A", "B", "C", "Y", "Z"});
    EXPECT_EQ(mEvents.take(), Events({"insert 0-0", "insert 2-2", "insert 4-5"}));
    EXPECT_EQ(modelDeviceIds(mModel), QStringList({"X", "A", "B", "C", "Y", "Z"}));
}

TEST_F(ADeviceListModel, RemovesTheRowsOfDevicesThatAreGone)
{
    apply({"A", "B", "C", "D", "E"});
    mEvents.take();
    apply({"B", "E"});
    EXPECT_EQ(mEvents.take(), Events({"remove 2-3", "remove 0-0"}));
    EXPECT_EQ(modelDeviceIds(mModel), QStringList({"B", "E"}));
}

TEST_F(ADeviceListModel, MovesOneRowWhenOneDeviceChangesPlace)
{
    apply({"A", "B", "C", "D"});
    mEvents.take();
    apply({"B", "C", "D", "A"});
    EXPECT_EQ(mEvents.take(), Events({"move 0-0 before 4"}));
    EXPECT_EQ(modelDeviceIds(mModel), QStringList({"B", "C", "D", "A"}));

    apply({"A", "B", "C", "D"});
    EXPECT_EQ(mEvents.take(), Events({"move 3-3 before 0"}));
    EXPECT_EQ(modelDeviceIds(mModel), QStringList({"A", "B", "C", "D"}));
}

TEST_F(ADeviceListModel, ReversesAListWithMovesOnly)
{
    apply({"A", "B", "C", "D"});
    mEvents.take();
    apply({"D", "C", "B", "A"});
    const Events events = mEvents.take();
    EXPECT_EQ(events.size(), 3u);
    for (const std::string& event : events) {
        EXPECT_EQ(event.rfind("move ", 0), 0u) << event;
    }
    EXPECT_EQ(modelDeviceIds(mModel), QStringList({"D", "C", "B", "A"}));
}

TEST_F(ADeviceListModel, ChangesOnlyTheRowsWhoseRecordChanged)
{
    mModel.applyRecords({deviceRecord("A", "Pixel"), deviceRecord("B", "iPhone"), deviceRecord("C", "Tab")});
    mEvents.take();
    mModel.applyRecords({deviceRecord("A", "Pixel"), deviceRecord("B", "iPhone of Dana"), deviceRecord("C", "Tab")});
    EXPECT_EQ(mEvents.take(), Events({"change 1-1"}));
    EXPECT_EQ(mModel.data(mModel.index(1), VelDeviceListModel::RecordRole).toByteArray(),
              deviceRecord("B", "iPhone of Dana"));
}

TEST_F(ADeviceListModel, LeavesTheViewsAloneWhenTheSameListComesAgain)
{
    apply({"A", "B"});
    mEvents.take();
    apply({"A", "B"});
    EXPECT_EQ(mEvents.take(), Events());
}

TEST_F(ADeviceListModel, AppliesRemovalsMovesInsertionsAndChangesInOneList)
{
    mModel.applyRecords({deviceRecord("A", "a"), deviceRecord("B", "b"), deviceRecord("C", "c"), deviceRecord("D", "d")});
    mEvents.take();
    mModel.applyRecords({deviceRecord("D", "d"), deviceRecord("N", "n"), deviceRecord("A", "a2"), deviceRecord("C", "c")});
    EXPECT_EQ(mEvents.take(), Events({"remove 1-1", "move 2-2 before 0", "insert 1-1", "change 2-2"}));
    EXPECT_EQ(modelDeviceIds(mModel), QStringList({"D", "N", "A", "C"}));
}

TEST_F(ADeviceListModel, EmptiesWithRemovalsNotAReset)
{
    apply({"A", "B", "C"});
    mEvents.take();
    apply({});
    EXPECT_EQ(mEvents.take(), Events({"remove 0-2"}));
    EXPECT_EQ(mModel.rowCount(), 0);
}

TEST_F(ADeviceListModel, KeepsADeviceIdThatComesTwiceAsTwoRows)
{
    apply({"A", "B", "A"});
    mEvents.take();
    apply({"A", "A"});
    EXPECT_EQ(mEvents.take(), Events({"remove 1-1"}));
    EXPECT_EQ(modelDeviceIds(mModel), QStringList({"A", "A"}));
}

TEST_F(ADeviceListModel, FollowsRandomListsToTheirOrderWithoutAReset)
{
    const QStringList pool = {"A", "B", "C", "D", "E", "F", "G", "H", "I", "J"};
    QRandomGenerator random(27);
    for (int round = 0; round < 300; ++round) {
        QStringList ids = pool;
        for (int i = ids.size() - 1; i > 0; --i) {
            ids.swapItemsAt(i, static_cast<int>(random.bounded(i + 1)));
        }
        ids = ids.mid(0, static_cast<int>(random.bounded(pool.size() + 1)));
        QList<QByteArray> records;
        for (const QString& id : ids) {
            records.append(deviceRecord(id, QString::number(random.bounded(3))));
        }
        mModel.applyRecords(records);
        ASSERT_EQ(modelDeviceIds(mModel), ids) << "round " << round;
        for (int row = 0; row < ids.size(); ++row) {
            ASSERT_EQ(mModel.data(mModel.index(row), VelDeviceListModel::RecordRole).toByteArray(), records[row]);
        }
        for (const std::string& event : mEvents.take()) {
            ASSERT_NE(event, "reset");
        }
    }
}

TEST_F(ADeviceListModel, DropsARecordOfAnotherSizeWithOneErrorLine)
{
    mModel.applyRecords({deviceRecord("A"), QByteArray(100, 'x'), deviceRecord("B")});
    EXPECT_EQ(modelDeviceIds(mModel), QStringList({"A", "B"}));
    EXPECT_TRUE(veltest::LogCapture::hasExact(
        "[VELQT][VelDeviceListModel][keyedRows] @@@ ERR. A record of 100 bytes instead of 12492! Dropped!",
        veltest::kSeverityError));
    EXPECT_EQ(veltest::LogCapture::count("@@@ ERR."), 1u);
}

TEST_F(ADeviceListModel, NamesItsRolesForQml)
{
    const QHash<int, QByteArray> roles = mModel.roleNames();
    EXPECT_EQ(roles.value(VelDeviceListModel::DeviceIdRole), QByteArray("deviceId"));
    EXPECT_EQ(roles.value(VelDeviceListModel::RecordRole), QByteArray("record"));
    apply({"A", "B"});
    EXPECT_EQ(mModel.indexOf("B"), 1);
    EXPECT_EQ(mModel.indexOf("Z"), -1);
    EXPECT_EQ(mModel.deviceIdAt(0), QString("A"));
    EXPECT_EQ(mModel.get(1).value("deviceId").toString(), QString("B"));
    EXPECT_EQ(mModel.get(1).value("record").toByteArray().size(), 12492);
}

} // namespace
