// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <mutex>
#include <string>

#include "RecordingFormat.h"

namespace velrec {

// Appends lines to a recording file. Lines are collected in memory and written
// by flush() in one write() each time, whole lines only, so a recorder that is
// killed leaves every line complete or absent. Thread-safe.
class RecordingWriter {
public:
    RecordingWriter() = default;
    ~RecordingWriter();
    RecordingWriter(const RecordingWriter&) = delete;
    RecordingWriter& operator=(const RecordingWriter&) = delete;

    // Creates the file, readable by its owner only whatever the umask. An
    // existing file is refused unless `replace`. False with a reason.
    bool open(const std::string& path, bool replace, std::string& error);
    void append(const std::string& line);
    // Writes what was collected; false when the file refused it.
    bool flush(std::string& error);
    std::size_t linesWritten() const;

private:
    int mFd = -1;
    mutable std::mutex mMutex;
    std::string mPending;
    std::size_t mPendingLines = 0;
    std::size_t mWritten = 0;
};

} // namespace velrec
