// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <cstddef>

#include "vel/VelTypes.h"

// Buffers for DEVICE records read out of the device store, zeroed unless
// asked otherwise. They are page-aligned so that the copy out of the mapping
// stays on memcpy's fast path; the length is rounded up to whole pages.
// Freed buffers of up to a whole list may be kept for the next reading
// instead of going back to the system.
DEVICE* allocateDeviceRecords(std::size_t bytes);
// The same without the zeroing, for a buffer that is written whole at once.
DEVICE* allocateUninitialisedDeviceRecords(std::size_t bytes);
void freeDeviceRecords(DEVICE*& records);

// Length of the record's deviceId, never looking past its field.
std::size_t deviceIdLength(const DEVICE& record);
