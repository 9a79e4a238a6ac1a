// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <string>
#include <vector>

namespace soak {

// The lines of a file that another process appends to, read incrementally:
// each refresh reads only what was added since the last one, so that long
// runs can poll large logs cheaply.
class LineLog {
public:
    explicit LineLog(std::string path = std::string()) : mPath(std::move(path)) {}

    void setPath(const std::string& path) { mPath = path; }
    const std::string& path() const { return mPath; }

    // Reads what was appended; returns the number of complete lines so far.
    std::size_t refresh();
    const std::vector<std::string>& lines() const { return mLines; }
    // Lines starting with the prefix (after a refresh), from line `from` on.
    std::size_t countPrefix(const std::string& prefix, std::size_t from = 0);
    // Lines containing the fragment (after a refresh), from line `from` on.
    std::size_t countContaining(const std::string& fragment, std::size_t from = 0);
    // The last line starting with the prefix, or "".
    std::string lastWithPrefix(const std::string& prefix);

private:
    std::string mPath;
    long mOffset = 0;
    std::string mPartial;
    std::vector<std::string> mLines;
};

} // namespace soak
