// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "vel/VelTypes.h"

// The simulator's device store: the service side of the lists that libvel's
// reader copies out. Other modules publish through these functions (and then
// tell the clients with a notice of their own).
//
// Every write holds "/vel.semaphore". A reader removes the semaphore's name and
// the discovered object's name when it is destroyed; the store creates both
// again before its next write (and as soon as it sees them go), and keeps
// writing to the objects that readers still alive hold open.

namespace sim {

// Whole known-device list: the records, then zeroed records up to ten, so the
// stored file always has the nominal size. False when the store is not open or
// more than ten devices are given.
bool publishKnown(const std::vector<DEVICE>& _devices);
// Discovered list: exactly the records given (one zeroed record for none).
bool publishDiscovered(const std::vector<DEVICE>& _devices);
// Exact bytes, whatever their length; an empty buffer leaves one byte stored.
bool publishKnownRaw(const void* _bytes, std::size_t _length);
bool publishDiscoveredRaw(const void* _bytes, std::size_t _length);

// A zeroed record carrying the identifier and, at the start of its opaque
// bytes, an optional name text. Over-long texts are cut to fit.
DEVICE makeDevice(const std::string& _deviceId, const std::string& _name = std::string());

// Reads a device file: one device per line, its deviceId first, then optional
// name text; blank lines and lines starting with '#' are skipped. False when
// the file cannot be read.
bool loadDeviceFile(const std::string& _path, std::vector<DEVICE>& _devices, std::string& _error);

} // namespace sim
