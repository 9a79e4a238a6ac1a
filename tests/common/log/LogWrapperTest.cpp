// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <regex>
#include <thread>
#include <vector>

#include "LogCapture.h"
#include "vel/OrnaLogWrapper.h"

using veltest::LogCapture;

namespace {

DltContext gTestContext;

class ALogWrapper : public ::testing::Test {
protected:
    void SetUp() override
    {
        orna::OrnaLogWrapper::instance(true);
        LogCapture::clear();
    }
};

} // namespace

TEST(ALogWrapperCreatedForTheFirstTime, WritesRunningWithTraceOnceStraightToTheSink)
{
    // Each test case runs in a process of its own, so this is the first use.
    orna::OrnaLogWrapper::instance(true);
    orna::OrnaLogWrapper::instance(true);

    const auto lines = LogCapture::matching("Running with TRACE");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].text, "Running with TRACE");
    EXPECT_EQ(lines[0].function, "OrnaLogWrapper");
    EXPECT_EQ(lines[0].line, 305);
    EXPECT_EQ(lines[0].severity, 128);
    EXPECT_EQ(lines[0].module, 2816);
    EXPECT_EQ(lines[0].option, 0);
    EXPECT_EQ(lines[0].format, "%s");
}

TEST_F(ALogWrapper, HandsEachLevelToTheSinkWithItsSeverityCodeAndLine)
{
    struct Expected {
        int level;
        int severity;
        int line;
    };
    const std::vector<Expected> table{{1, 224, 170}, {2, 192, 164}, {3, 160, 167}, {4, 128, 161},
                                      {5, 64, 158},  {6, 32, 173},  {0, 96, 177},  {7, 96, 177}};
    for (const auto& expected : table) {
        orna::log(&gTestContext, static_cast<DltLogLevelType>(expected.level), "level ", expected.level);
    }

    const auto lines = LogCapture::lines();
    ASSERT_EQ(lines.size(), table.size());
    for (std::size_t i = 0; i < table.size(); ++i) {
        SCOPED_TRACE(table[i].level);
        EXPECT_EQ(lines[i].text, "level " + std::to_string(table[i].level));
        EXPECT_EQ(lines[i].severity, table[i].severity);
        EXPECT_EQ(lines[i].line, table[i].line);
        EXPECT_EQ(lines[i].function, "send_trc");
        EXPECT_EQ(lines[i].file, "common/log/log_wrapper.cpp");
        EXPECT_EQ(lines[i].module, 2816);
        EXPECT_EQ(lines[i].option, 0);
        EXPECT_EQ(lines[i].format, "%s");
    }
}

TEST_F(ALogWrapper, JoinsPiecesWithoutAnySeparator)
{
    orna::log(&gTestContext, DLT_LOG_INFO, "count : ", 0);

    ASSERT_EQ(LogCapture::texts(), std::vector<std::string>{"count : 0"});
}

TEST_F(ALogWrapper, WritesEachPieceTypeWithTheStreamsDefaultFormatting)
{
    const signed char sc = 'a';
    const unsigned char uc = 'b';
    const short s = -3;
    const unsigned short us = 4;
    // long is 32 bits on armhf: the values beyond 32 bits go through long long.
    const long l = -2000000000L;
    const unsigned long ul = 4000000000UL;
    const long long ll = -5000000000LL;
    const unsigned long long ull = 6000000000ULL;
    orna::log(&gTestContext, DLT_LOG_INFO, sc, uc, s, us, -1, 2u, l, ul, ll, ull, true, false, std::string("|str"));

    ASSERT_EQ(LogCapture::texts(),
              std::vector<std::string>{"ab-34-12-20000000004000000000-5000000000600000000010|str"});
}

TEST_F(ALogWrapper, WritesACharAsItsCharacterAndADoubleInTheStreamsShortestForm)
{
    orna::log(&gTestContext, DLT_LOG_INFO, 'c', '=', 2.5, ",", 1e20, ",", -0.125);

    ASSERT_EQ(LogCapture::texts(), std::vector<std::string>{"c=2.5,1e+20,-0.125"});
}

TEST_F(ALogWrapper, HasNothingToUndoOnDeinit)
{
    EXPECT_EQ(orna::OrnaLogWrapper::instance(true)->deinit(), 0);
    orna::log(&gTestContext, DLT_LOG_INFO, "still logging");
    EXPECT_EQ(LogCapture::texts(), std::vector<std::string>{"still logging"});
}

TEST_F(ALogWrapper, WritesTheExtremesOfEveryIntegerTypeInDecimal)
{
    orna::log(&gTestContext, DLT_LOG_INFO, std::numeric_limits<short>::min(), " ",
              std::numeric_limits<unsigned short>::max(), " ", std::numeric_limits<int>::min(), " ",
              std::numeric_limits<unsigned int>::max(), " ", std::numeric_limits<long long>::min(), " ",
              std::numeric_limits<unsigned long long>::max(), " ", 0);

    ASSERT_EQ(LogCapture::texts(), std::vector<std::string>{"-32768 65535 -2147483648 4294967295 "
                                                            "-9223372036854775808 18446744073709551615 0"});
}

TEST_F(ALogWrapper, DeliversALineLongerThanAnyBeforeItWholeAndTheNextOneAlone)
{
    const std::string longPiece(5000, 'x');
    orna::log(&gTestContext, DLT_LOG_INFO, "head:", longPiece, ":", 42, ":tail");
    orna::log(&gTestContext, DLT_LOG_INFO, "short");

    ASSERT_EQ(LogCapture::texts(), (std::vector<std::string>{"head:" + longPiece + ":42:tail", "short"}));
}

TEST_F(ALogWrapper, KeepsWhatCameBeforeANullTextAndLeavesTheNextMessageUnaffected)
{
    const char* nothing = nullptr;
    orna::log(&gTestContext, DLT_LOG_INFO, "before:", nothing);
    orna::log(&gTestContext, DLT_LOG_INFO, "next ", 1, " message");

    ASSERT_EQ(LogCapture::texts(), (std::vector<std::string>{"before:", "next 1 message"}));
}

TEST_F(ALogWrapper, KeepsOneEntryAndWarnsAtDebugLevelWhenAContextIsRegisteredTwice)
{
    DltContext context{};
    auto* wrapper = orna::OrnaLogWrapper::instance(true);

    wrapper->registerContext(context, "TST1", "first registration");
    wrapper->registerContext(context, "TST1", "second registration");

    EXPECT_EQ(std::string(context.contextID, 4), "TST1");
    EXPECT_EQ(LogCapture::count("contextid:TST1"), 2u);
    EXPECT_TRUE(LogCapture::hasExact("[VELLOG][OrnaLogWrapper] @@@ WARN. Duplicated contextid:TST1",
                                     veltest::kSeverityDebug));

    // One entry: a single unregistration removes it, a second finds nothing.
    LogCapture::clear();
    wrapper->unregisterContext(context);
    wrapper->unregisterContext(context);
    EXPECT_EQ(LogCapture::count("Found. Earse this."), 1u);
}

TEST_F(ALogWrapper, AcceptsAContextIdAgainAfterItWasUnregistered)
{
    DltContext context{};
    auto* wrapper = orna::OrnaLogWrapper::instance(true);
    wrapper->registerContext(context, "TST2", "test");
    wrapper->unregisterContext(context);
    LogCapture::clear();

    wrapper->registerContext(context, "TST2", "test");

    EXPECT_EQ(LogCapture::count("Duplicated contextid:"), 0u);
    EXPECT_TRUE(LogCapture::hasExact("[VELLOG][OrnaLogWrapper] contextid:TST2", veltest::kSeverityDebug));
}

TEST_F(ALogWrapper, WarnsAtDebugLevelWhenAnApplicationIdIsRegisteredTwice)
{
    auto* wrapper = orna::OrnaLogWrapper::instance(true);

    wrapper->registerApp("APP1", "test application");
    wrapper->registerApp("APP1", "test application");

    EXPECT_EQ(LogCapture::count("Duplicated appid:"), 1u);
    EXPECT_TRUE(LogCapture::hasExact("[VELLOG][OrnaLogWrapper] @@@ WARN. Duplicated appid:APP1",
                                     veltest::kSeverityDebug));
}

TEST_F(ALogWrapper, DeliversNothingWhileTheNoDltFlagIsOff)
{
    auto* wrapper = orna::OrnaLogWrapper::instance(true);
    wrapper->enableNoDLTDebug(false);
    wrapper->init(DLT_LOG_ERROR, &gTestContext);
    wrapper->append("silent");
    wrapper->send();
    EXPECT_EQ(LogCapture::count("silent"), 0u);

    // instance(true) switches delivery back on, as every caller in the library passes true.
    orna::log(&gTestContext, DLT_LOG_ERROR, "heard");
    EXPECT_TRUE(LogCapture::hasExact("heard", veltest::kSeverityError));
}

TEST_F(ALogWrapper, NeverMixesPiecesOfMessagesLoggedFromSeveralThreads)
{
    constexpr int kThreads = 4;
    constexpr int kMessages = 2000;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < kMessages; ++i) {
                orna::log(&gTestContext, DLT_LOG_INFO, "[T", t, "]", "-", i, "-", "end");
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }

    const std::regex whole(R"(\[T(\d)\]-(\d+)-end)");
    std::map<int, int> nextExpected;
    const auto texts = LogCapture::texts();
    ASSERT_EQ(texts.size(), static_cast<std::size_t>(kThreads * kMessages));
    for (const auto& text : texts) {
        std::smatch match;
        ASSERT_TRUE(std::regex_match(text, match, whole)) << text;
        const int thread = std::stoi(match[1]);
        // Each thread's own messages arrive whole and in its order.
        EXPECT_EQ(std::stoi(match[2]), nextExpected[thread]++);
    }
}
