// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "RecordingWriter.h"

#include <fcntl.h>
#include <sys/stat.h>
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

bool RecordingWriter::open(const std::string& path, bool replace, std::string& error)
{
    // Never through a symbolic link: a recording may hold what a planted
    // link would carry elsewhere.
    const int flags = O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | (replace ? O_TRUNC : O_EXCL);
    mFd = ::open(path.c_str(), flags, 0600);
    if (mFd < 0 && errno == EEXIST) {
        error = path + " exists; give --force to overwrite it";
        return false;
    }
    // A replaced file keeps its old mode, and the umask may have taken more.
    if (mFd < 0 || fchmod(mFd, 0600) != 0) {
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
