// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// A product's decoder: named roles from the service's bytes, and a field that
// would read past its bytes refused with one line.

#include <gtest/gtest.h>

#include <cstring>

#include "LogCapture.h"
#include "QtTestSupport.h"
#include "velqt/VelDeviceDecoder.h"
#include "velqt/VelDeviceListModel.h"

namespace {

using veltest::deviceRecord;

class ADeviceDecoder : public ::testing::Test {
protected:
    void SetUp() override { veltest::LogCapture::clear(); }
};

TEST_F(ADeviceDecoder, AddsItsFieldsAsNamedRolesOfTheModel)
{
    VelDeviceDecoder decoder;
    ASSERT_TRUE(decoder.addTextField("name", 0, 64));
    ASSERT_TRUE(decoder.addUnsignedField("state", 100, 4));
    VelDeviceListModel model;
    model.setDecoder(decoder);

    QByteArray record = deviceRecord("AC:37:43:9A:1F:02", "Pixel 7");
    const quint32 state = 3;
    std::memcpy(record.data() + 100, &state, sizeof(state));
    model.applyRecords({record});

    const QHash<int, QByteArray> roles = model.roleNames();
    EXPECT_EQ(roles.value(VelDeviceListModel::FirstDecodedRole), QByteArray("name"));
    EXPECT_EQ(roles.value(VelDeviceListModel::FirstDecodedRole + 1), QByteArray("state"));
    EXPECT_EQ(model.data(model.index(0), VelDeviceListModel::FirstDecodedRole).toString(), QString("Pixel 7"));
    EXPECT_EQ(model.data(model.index(0), VelDeviceListModel::FirstDecodedRole + 1).toUInt(), 3u);
    EXPECT_EQ(model.get(0).value("name").toString(), QString("Pixel 7"));
    EXPECT_EQ(veltest::LogCapture::count("@@@ ERR."), 0u);
}

TEST_F(ADeviceDecoder, RefusesAFieldThatRunsPastTheRecord)
{
    VelDeviceDecoder decoder;
    EXPECT_FALSE(decoder.addTextField("tail", 12490, 4));
    EXPECT_EQ(decoder.fieldCount(), 0);
    EXPECT_TRUE(veltest::LogCapture::hasExact("[VELQT][VelDeviceDecoder][addField] @@@ ERR. Field 'tail' (offset 12490, "
                                              "size 4) reads past the record's 12492 bytes! Refused!",
                                              veltest::kSeverityError));
    EXPECT_EQ(veltest::LogCapture::count("@@@ ERR."), 1u);
    EXPECT_FALSE(decoder.addTextField("negative", -1, 4));
    EXPECT_FALSE(decoder.addTextField("empty", 10, 0));
    EXPECT_TRUE(decoder.addTextField("last", 12488, 4));
}

TEST_F(ADeviceDecoder, RefusesTheModelsOwnRoleNamesAndATakenOne)
{
    VelDeviceDecoder decoder;
    EXPECT_FALSE(decoder.addTextField("deviceId", 0, 4));
    EXPECT_FALSE(decoder.addTextField("record", 0, 4));
    EXPECT_TRUE(decoder.addTextField("name", 0, 4));
    EXPECT_FALSE(decoder.addTextField("name", 8, 4));
    EXPECT_FALSE(decoder.addUnsignedField("wide", 0, 8));
    EXPECT_EQ(decoder.fieldCount(), 1);
    EXPECT_TRUE(veltest::LogCapture::hasExact("[VELQT][VelDeviceDecoder][addField] @@@ ERR. Field 'name' is there "
                                              "already! Refused!",
                                              veltest::kSeverityError));
    EXPECT_EQ(veltest::LogCapture::count("@@@ ERR."), 4u);
}

TEST_F(ADeviceDecoder, RefusesADecodeFunctionThatReadsPastItsFieldFromThenOn)
{
    VelDeviceDecoder decoder;
    ASSERT_TRUE(decoder.addField("flags", 200, 4, [](const VelDeviceField& field) {
        return QVariant(static_cast<uint>(field.uint32At(2)));
    }));
    const QByteArray record = deviceRecord("A", QString(), 1);
    EXPECT_FALSE(decoder.decode(0, record).isValid());
    EXPECT_TRUE(decoder.refused(0));
    EXPECT_FALSE(decoder.decode(0, record).isValid());
    EXPECT_TRUE(veltest::LogCapture::hasExact("[VELQT][VelDeviceDecoder][decode] @@@ ERR. Field 'flags' (offset 200, "
                                              "size 4) read past its bytes! Refused from now on!",
                                              veltest::kSeverityError));
    EXPECT_EQ(veltest::LogCapture::count("@@@ ERR."), 1u);
}

TEST_F(ADeviceDecoder, EndsATextWithoutTerminatorAtItsFieldsEnd)
{
    VelDeviceDecoder decoder;
    ASSERT_TRUE(decoder.addTextField("name", 0, 5));
    const QByteArray record = deviceRecord("A", "Galaxy Tab S8");
    EXPECT_EQ(decoder.decode(0, record).toString(), QString("Galax"));
    EXPECT_FALSE(decoder.refused(0));
}

TEST_F(ADeviceDecoder, GivesNothingForARecordOfAnotherSize)
{
    VelDeviceDecoder decoder;
    ASSERT_TRUE(decoder.addTextField("name", 0, 5));
    EXPECT_FALSE(decoder.decode(0, QByteArray(5, 'a')).isValid());
    EXPECT_FALSE(decoder.decode(1, deviceRecord("A")).isValid());
}

TEST_F(ADeviceDecoder, RegisteredAsTheDefaultGivesItsRolesToModelsMadeAfterwards)
{
    VelDeviceListModel before;
    VelDeviceDecoder decoder;
    ASSERT_TRUE(decoder.addTextField("name", 0, 64));
    VelDeviceListModel::setDefaultDecoder(decoder);
    VelDeviceListModel after;
    EXPECT_EQ(before.roleNames().size(), 2);
    EXPECT_EQ(after.roleNames().value(VelDeviceListModel::FirstDecodedRole), QByteArray("name"));
    after.applyRecords({deviceRecord("A", "Pixel 7")});
    EXPECT_EQ(after.get(0).value("name").toString(), QString("Pixel 7"));
    VelDeviceListModel::setDefaultDecoder(VelDeviceDecoder());
}

} // namespace
