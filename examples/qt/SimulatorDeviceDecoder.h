// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include "velqt/VelDeviceDecoder.h"

// The field layout of mvel-sim's DEVICE records: the device's name as text at
// the start of the service's bytes (the 4608 bytes before deviceId). A real
// service has a layout of its own; a product writes its decoder the same way.
inline VelDeviceDecoder simulatorDeviceDecoder()
{
    VelDeviceDecoder decoder;
    decoder.addTextField("name", 0, 4608);
    return decoder;
}
