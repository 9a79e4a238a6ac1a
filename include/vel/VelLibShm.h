// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <string>

#include "vel/VelTypes.h"

/// @file
/// Reader of the device lists the service publishes.

class ImplVelLibShm;

/// Read access to the device lists the service publishes: the known devices in
/// a regular file, the discovered devices in a POSIX shared-memory object. Each
/// read is guarded by the service's named semaphore, which this side only opens.
///
/// The application facade keeps one reader and hands the lists to
/// VelCallBackApp; applications normally do not use it directly.
class VelLibShm {
public:
    /// Opens the service's semaphore "/vel.semaphore"; without it every read fails.
    VelLibShm();
    /// Closes the semaphore and removes its name, then closes both stores.
    virtual ~VelLibShm();

    /// Maps both lists read-only ("/data/qor/vel/vel.known_devices" and the
    /// shared-memory object "/vel.discovered_devices").
    /// @param _name only labels the log line
    /// @return false when a list cannot be opened or mapped
    bool initialize(std::string _name);
    /// Copies the first _size bytes (records times sizeof(DEVICE)) of the list
    /// into _dest, holding the semaphore. Not to be called on one reader from
    /// two threads at once.
    /// @param _dest     room for at least _size bytes
    /// @param _listType KNOWN_DEVICE_LIST or DISCOVERED_DEVICE_LIST
    /// @param _size     number of bytes, at most VEL_DEVICE_LIST_BYTES
    /// @return false when the list is not mapped, the semaphore cannot be
    ///         taken or the list is shorter
    bool readData(DEVICE* _dest, DEVICE_LIST_TYPE _listType, int _size);

    /// Not copyable: the reader owns its mappings and semaphore.
    VelLibShm(const VelLibShm&) = delete;
    /// Not copyable: the reader owns its mappings and semaphore.
    VelLibShm& operator=(const VelLibShm&) = delete;

private:
    // Lets go of a reader without removing the service's names.
    friend class VelLibShmRelease;

    ImplVelLibShm* mpImpl;
};
