// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// Boot check of the stored known-device list: a list written under another
// record layout, or with a size that is not the nominal one, is removed before
// the store is opened, and the version file is brought up to date.

#include "vel/VelSharedMemory.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "VshmLog.h"

using vshm::logError;
using vshm::logLine;

namespace {

// Layout version of the DEVICE record; four bytes, stored without terminator.
constexpr const char kDeviceStructureVersion[] = "0018";
constexpr size_t kVersionLength = 4;

} // namespace

void VelSharedMemory::checkAvailabilityOnStoredFile_l(DevShmInfo& _info, DevShmInfo& _versionInfo)
{
    if (!isInvalidVersionInfo_l(_versionInfo) && !isInvalidDeviceInfo_l(_info)) {
        return;
    }
    if (_versionInfo.fd > 0) {
        logLine(DLT_LOG_INFO, __func__, "Try to write version file");
        if (!writeDeviceStructureVersion_l(_versionInfo)) {
            logError(__func__, "writeDeviceStructureVersion_l() failed!");
        }
        // The version file's descriptor was closed above, whatever the outcome.
        _versionInfo.fd = -1;
        logLine(DLT_LOG_INFO, __func__, "Try to check and delete old file");
        if (!removeKnownDeviceListFile_l(_info)) {
            logError(__func__, "removeKnownDeviceListFile_l() failed!");
        }
    }
}

bool VelSharedMemory::isInvalidVersionInfo_l(DevShmInfo& _versionInfo)
{
    int errnum = 0;
    if (sys_open_l(_versionInfo, O_CREAT | O_EXCL | O_RDWR, 0666, errnum) > 0) {
        logLine(DLT_LOG_INFO, __func__, "Created a new version file. There was none before.");
        return true;
    }
    if (errnum != EEXIST) {
        logError(__func__, " Error happened during open()! (errno:", errnum);
        // The stored version cannot be known; the list is not to be trusted.
        return true;
    }

    logLine(DLT_LOG_INFO, __func__, "(errnum == EEXIST) is true. Open again.. without O_EXCL");
    if (sys_open_l(_versionInfo, O_CREAT | O_RDWR, 0666, errnum) < 0) {
        logError(__func__, "(_versionInfo.fd < 0) is true! Return!");
        return true;
    }

    // An unreadable or short file leaves the buffer different from the version.
    char stored[kVersionLength + 1] = {0, 0, 0, 0, 0};
    if (read(_versionInfo.fd, stored, kVersionLength) < 0) {
        const int err = errno;
        logError(__func__, "read(version_file) failed! errno:", err);
    }

    if (std::strcmp(stored, kDeviceStructureVersion) == 0) {
        logLine(DLT_LOG_INFO, __func__, "Same version. OK ~ (ver:", static_cast<const char*>(stored), ")");
        return false;
    }
    logLine(DLT_LOG_INFO, __func__, "DEVICE version NOT Same!", " old:", static_cast<const char*>(stored),
            ", new:", kDeviceStructureVersion);
    logLine(DLT_LOG_INFO, __func__, "Remove old device list if it exist!");
    return true;
}

bool VelSharedMemory::isInvalidDeviceInfo_l(DevShmInfo& _info)
{
    if (_info.kind != DEV_SHM_KIND_KNOWN_DEVICE_FILE) {
        logLine(DLT_LOG_INFO, __func__, "Device info is not known device list");
        return false;
    }

    // Opened on a descriptor of its own: _info is composed afterwards.
    const int fd = open(_info.name.c_str(), O_RDWR, 0666);
    if (fd < 0) {
        // No stored list: nothing that could be invalid.
        logError(__func__, "File open failed! Return!");
        return false;
    }

    bool invalid = false;
    struct stat st;
    if (fstat(fd, &st) != 0) {
        const int err = errno;
        logError(__func__, "fstat() failed!. errno:", err);
    } else if (static_cast<uint32_t>(st.st_size) != static_cast<uint32_t>(_info.size)) {
        // Exact nominal size only: the writer always stores a whole list.
        logLine(DLT_LOG_WARN, __func__, "@@@ WARN. ", "Device List's size is not valid!", " Corrupted file size : ",
                static_cast<long>(st.st_size));
        invalid = true;
    }
    close(fd);
    return invalid;
}

bool VelSharedMemory::writeDeviceStructureVersion_l(const DevShmInfo& _versionInfo)
{
    bool written = true;
    if (pwrite(_versionInfo.fd, kDeviceStructureVersion, kVersionLength, 0) != static_cast<ssize_t>(kVersionLength)) {
        const int err = errno;
        logError(__func__, "pwrite() failed! errno:", err);
        written = false;
    } else {
        logLine(DLT_LOG_INFO, __func__, "New version file was created. version:", kDeviceStructureVersion);
    }
    if (close(_versionInfo.fd) != 0) {
        const int err = errno;
        logError(__func__, "close() failed! errno:", err);
        written = false;
    }
    return written;
}

bool VelSharedMemory::removeKnownDeviceListFile_l(DevShmInfo& _info)
{
    int errnum = 0;
    const int fd = sys_open_l(_info, O_CREAT | O_EXCL | O_RDWR, 0666, errnum);
    if (fd >= 0) {
        logLine(DLT_LOG_INFO, __func__, "There was none before. New one was created now. Close this to use later.");
        bool closed = true;
        if (close(fd) != 0) {
            const int err = errno;
            logError(__func__, "close(knownDevListFd) failed! errno:", err);
            closed = false;
        }
        _info.fd = -1;
        return closed;
    }
    if (errnum == EEXIST) {
        logLine(DLT_LOG_INFO, __func__, "Found it! Remove!");
        if (unlink(_info.name.c_str()) != 0) {
            const int err = errno;
            logError(__func__, "unlink() failed! errno:", err);
            return false;
        }
        logLine(DLT_LOG_INFO, __func__, "unlink() succeeded.");
        return true;
    }
    logError(__func__, "Error happened in sys_open_l() errno:", errnum);
    return false;
}
