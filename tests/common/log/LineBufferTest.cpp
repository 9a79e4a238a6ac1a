// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "line_buffer.h"

namespace {

// The buffer with the stream's entry points reachable from the test.
class OpenLineBuffer : public vel_log::LineBuffer {
public:
    using vel_log::LineBuffer::overflow;
    using vel_log::LineBuffer::xsputn;
};

} // namespace

TEST(ALineBuffer, GrowsCharacterByCharacterPastItsFirstStorage)
{
    OpenLineBuffer buffer;
    std::ostream stream(&buffer);
    const std::string expected(1000, 'z');
    for (char c : expected) {
        stream.put(c);
    }

    EXPECT_TRUE(stream.good());
    EXPECT_EQ(std::string(buffer.text()), expected);
}

TEST(ALineBuffer, AnswersEndOfFileWithoutWritingAnything)
{
    OpenLineBuffer buffer;
    buffer.sputn("ab", 2);

    const auto answer = buffer.overflow(std::char_traits<char>::eof());

    EXPECT_FALSE(std::char_traits<char>::eq_int_type(answer, std::char_traits<char>::eof()));
    EXPECT_EQ(std::string(buffer.text()), "ab");
}

TEST(ALineBuffer, TakesNothingFromAnEmptyOrNegativeWrite)
{
    OpenLineBuffer buffer;
    buffer.sputn("ab", 2);

    EXPECT_EQ(buffer.xsputn("cd", 0), 0);
    EXPECT_EQ(buffer.xsputn("cd", -1), 0);
    EXPECT_EQ(std::string(buffer.text()), "ab");
    buffer.reset();
    EXPECT_EQ(std::string(buffer.text()), "");
}
