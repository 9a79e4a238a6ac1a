// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "LogCapture.h"
#include "vel/OrnaLogWrapper.h"

using veltest::LogCapture;

namespace {

DltContext gFirstContext;
DltContext gSecondContext;

// A back-end that keeps lines up to one level and records what it was asked.
struct LevelGate {
    static std::atomic<int> maxLevel;
    static std::atomic<int> questions;
    static std::atomic<const DltContext*> lastContext;

    static bool isLevelEnabled(const DltContext* context, DltLogLevelType level)
    {
        ++questions;
        lastContext = context;
        return static_cast<int>(level) <= maxLevel.load();
    }
};
std::atomic<int> LevelGate::maxLevel{DLT_LOG_INFO};
std::atomic<int> LevelGate::questions{0};
std::atomic<const DltContext*> LevelGate::lastContext{nullptr};

const orna::LogBackend kLevelGate{&LevelGate::isLevelEnabled};

class ALogWrapperWithABackEnd : public ::testing::Test {
protected:
    void SetUp() override
    {
        orna::OrnaLogWrapper::instance(true);
        LevelGate::maxLevel = DLT_LOG_INFO;
        LevelGate::questions = 0;
        orna::setLogBackend(&kLevelGate);
        LogCapture::clear();
    }
    void TearDown() override { orna::setLogBackend(nullptr); }
};

} // namespace

TEST(ALogWrapperWithoutABackEnd, DeliversEveryLevelAndNamesTheLinesContextDuringDelivery)
{
    orna::OrnaLogWrapper::instance(true);
    LogCapture::clear();

    orna::log(&gFirstContext, DLT_LOG_VERBOSE, "first ", 1);
    orna::log(&gSecondContext, DLT_LOG_ERROR, "second ", 2);

    const auto lines = LogCapture::lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].text, "first 1");
    EXPECT_EQ(lines[0].context, &gFirstContext);
    EXPECT_EQ(lines[1].text, "second 2");
    EXPECT_EQ(lines[1].context, &gSecondContext);
    EXPECT_EQ(orna::currentLogContext(), nullptr);
}

TEST(ALogWrapperWithoutABackEnd, NamesNoContextForItsOwnLines)
{
    DltContext context{};
    orna::OrnaLogWrapper::instance(true)->registerContext(context, "OWN1", "own lines");
    LogCapture::clear();
    orna::OrnaLogWrapper::instance(true)->registerContext(context, "OWN1", "own lines");

    const auto lines = LogCapture::lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].text, "[VELLOG][OrnaLogWrapper] @@@ WARN. Duplicated contextid:OWN1");
    EXPECT_EQ(lines[0].context, nullptr);
}

TEST(ALogWrapperWithoutABackEnd, KeepsEachThreadsContextToItself)
{
    orna::OrnaLogWrapper::instance(true);
    LogCapture::clear();
    auto writer = [](DltContext* context, const char* text) {
        for (int i = 0; i < 200; ++i) {
            orna::log(context, DLT_LOG_INFO, text);
        }
    };
    std::thread first(writer, &gFirstContext, "first");
    std::thread second(writer, &gSecondContext, "second");
    first.join();
    second.join();

    const auto lines = LogCapture::lines();
    ASSERT_EQ(lines.size(), 400u);
    for (const auto& line : lines) {
        EXPECT_EQ(line.context, line.text == "first" ? &gFirstContext : &gSecondContext) << line.text;
    }
}

TEST_F(ALogWrapperWithABackEnd, DropsALineTheBackEndDoesNotWantBeforeBuildingIt)
{
    orna::log(&gFirstContext, DLT_LOG_DEBUG, "hidden ", 5);
    orna::log(&gFirstContext, DLT_LOG_INFO, "shown ", 4);

    EXPECT_EQ(LogCapture::texts(), std::vector<std::string>{"shown 4"});
    EXPECT_EQ(LevelGate::questions.load(), 2);
}

TEST_F(ALogWrapperWithABackEnd, AsksAboutTheContextOfTheLine)
{
    orna::log(&gSecondContext, DLT_LOG_WARN, "warn");

    EXPECT_EQ(LevelGate::lastContext.load(), &gSecondContext);
    ASSERT_EQ(LogCapture::lines().size(), 1u);
    EXPECT_EQ(LogCapture::lines()[0].context, &gSecondContext);
}

TEST_F(ALogWrapperWithABackEnd, FollowsALevelChangeFromTheNextLineOn)
{
    orna::log(&gFirstContext, DLT_LOG_DEBUG, "before");
    LevelGate::maxLevel = DLT_LOG_DEBUG;
    orna::log(&gFirstContext, DLT_LOG_DEBUG, "after");

    EXPECT_EQ(LogCapture::texts(), std::vector<std::string>{"after"});
}

TEST_F(ALogWrapperWithABackEnd, AsksAboutItsOwnLinesWithoutAContext)
{
    DltContext context{};
    orna::OrnaLogWrapper::instance(true)->registerContext(context, "OWN2", "own lines");
    LogCapture::clear();
    LevelGate::maxLevel = DLT_LOG_INFO;
    orna::OrnaLogWrapper::instance(true)->registerContext(context, "OWN2", "own lines");
    EXPECT_TRUE(LogCapture::lines().empty());
    EXPECT_EQ(LevelGate::lastContext.load(), nullptr);

    LevelGate::maxLevel = DLT_LOG_DEBUG;
    orna::OrnaLogWrapper::instance(true)->registerContext(context, "OWN2", "own lines");
    EXPECT_EQ(LogCapture::texts(),
              std::vector<std::string>{"[VELLOG][OrnaLogWrapper] @@@ WARN. Duplicated contextid:OWN2"});
}
