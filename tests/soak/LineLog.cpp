// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "LineLog.h"

#include <cstdio>

namespace soak {

std::size_t LineLog::refresh()
{
    FILE* file = std::fopen(mPath.c_str(), "r");
    if (file == nullptr) {
        return mLines.size();
    }
    if (std::fseek(file, mOffset, SEEK_SET) == 0) {
        char buffer[8192];
        for (std::size_t n; (n = std::fread(buffer, 1, sizeof(buffer), file)) > 0;) {
            mOffset += static_cast<long>(n);
            mPartial.append(buffer, n);
        }
    }
    std::fclose(file);
    for (std::size_t end; (end = mPartial.find('\n')) != std::string::npos;) {
        mLines.push_back(mPartial.substr(0, end));
        mPartial.erase(0, end + 1);
    }
    return mLines.size();
}

std::size_t LineLog::countPrefix(const std::string& prefix, std::size_t from)
{
    refresh();
    std::size_t count = 0;
    for (std::size_t i = from; i < mLines.size(); ++i) {
        count += mLines[i].compare(0, prefix.size(), prefix) == 0 ? 1 : 0;
    }
    return count;
}

std::size_t LineLog::countContaining(const std::string& fragment, std::size_t from)
{
    refresh();
    std::size_t count = 0;
    for (std::size_t i = from; i < mLines.size(); ++i) {
        count += mLines[i].find(fragment) != std::string::npos ? 1 : 0;
    }
    return count;
}

std::string LineLog::lastWithPrefix(const std::string& prefix)
{
    refresh();
    for (auto line = mLines.rbegin(); line != mLines.rend(); ++line) {
        if (line->compare(0, prefix.size(), prefix) == 0) {
            return *line;
        }
    }
    return std::string();
}

} // namespace soak
