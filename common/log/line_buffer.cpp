// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "line_buffer.h"

#include <algorithm>
#include <cstring>

namespace vel_log {

namespace {

constexpr std::size_t kInitialCapacity = 256;

} // namespace

LineBuffer::LineBuffer() : mStorage(kInitialCapacity)
{
    // One byte stays outside the put area for the terminator.
    setp(mStorage.data(), mStorage.data() + mStorage.size() - 1);
}

const char* LineBuffer::text()
{
    *pptr() = '\0';
    return pbase();
}

void LineBuffer::reset()
{
    setp(pbase(), epptr());
}

void LineBuffer::grow(std::size_t more)
{
    const std::size_t used = static_cast<std::size_t>(pptr() - pbase());
    mStorage.resize(std::max(mStorage.size() * 2, used + more + 1));
    setp(mStorage.data(), mStorage.data() + mStorage.size() - 1);
    advance(used);
}

void LineBuffer::advance(std::size_t count)
{
    // pbump takes an int; a line that long does not occur, but the position
    // moves in steps all the same.
    while (count > 0) {
        const int step = static_cast<int>(std::min<std::size_t>(count, 1u << 30));
        pbump(step);
        count -= static_cast<std::size_t>(step);
    }
}

LineBuffer::int_type LineBuffer::overflow(int_type ch)
{
    if (traits_type::eq_int_type(ch, traits_type::eof())) {
        return traits_type::not_eof(ch);
    }
    reserve(1);
    *pptr() = traits_type::to_char_type(ch);
    pbump(1);
    return ch;
}

std::streamsize LineBuffer::xsputn(const char* text, std::streamsize count)
{
    if (count <= 0) {
        return 0;
    }
    const auto length = static_cast<std::size_t>(count);
    reserve(length);
    std::memcpy(pptr(), text, length);
    advance(length);
    return count;
}

} // namespace vel_log
