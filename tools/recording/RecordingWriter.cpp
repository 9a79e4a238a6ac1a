// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "RecordingWriter.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace velrec {

RecordingWriter::~RecordingWriter()
{
    if (mFd >= 0) {
        close(mFd);
    }
}

bool RecordingWriter::open(const std::string& path, std::string& error)
{
    mFd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (mFd < 0) {
        error = "cannot write " + path + ": " + std::strerror(errno);
        return false;
    }
    return true;
}

void RecordingWriter::append(const std::string& line)
{
    std::lock_guard<std::mutex> lock(mMutex);
    mPending += line;
    ++mPendingLines;
}

bool RecordingWriter::flush(std::string& error)
{
    std::lock_guard<std::mutex> lock(mMutex);
    std::size_t done = 0;
    while (done < mPending.size()) {
        const ssize_t written = write(mFd, mPending.data() + done, mPending.size() - done);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            error = std::string("writing the recording failed: ") + std::strerror(errno);
            mPending.erase(0, done);
            return false;
        }
        done += static_cast<std::size_t>(written);
    }
    mPending.clear();
    mWritten += mPendingLines;
    mPendingLines = 0;
    return true;
}

std::size_t RecordingWriter::linesWritten() const
{
    std::lock_guard<std::mutex> lock(mMutex);
    return mWritten;
}

} // namespace velrec
