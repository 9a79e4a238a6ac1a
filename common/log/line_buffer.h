// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <cstddef>
#include <streambuf>
#include <vector>

namespace vel_log {

// The storage behind the wrapper's message stream. A string stream gives its
// text back as a fresh copy and frees its storage when emptied, so each line
// cost a few allocations; this buffer keeps its storage from line to line and
// hands out the text in place.
class LineBuffer : public std::streambuf {
public:
    LineBuffer();

    // The line written since the last reset, terminated; valid until the
    // next write.
    const char* text();
    void reset();

protected:
    int_type overflow(int_type ch) override;
    std::streamsize xsputn(const char* text, std::streamsize count) override;

private:
    // Makes room for `more` further characters and the terminator; inline,
    // as a line almost always fits.
    void reserve(std::size_t more)
    {
        if (static_cast<std::size_t>(epptr() - pptr()) < more) {
            grow(more);
        }
    }
    void grow(std::size_t more);
    // Moves the write position on by `count` characters.
    void advance(std::size_t count);

    std::vector<char> mStorage;
};

} // namespace vel_log
