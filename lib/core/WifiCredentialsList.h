// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <glib.h>

#include <list>

#include "vel/VelCoreEngineTypes.h"

namespace vel_core {

// The bus type of one credentials list, "a(ssyuuss)".
const GVariantType* wifiCredentialsListType();

// Reads an "a(ssyuuss)" value into records, in bus order, logging each record
// at info level under the given function name. The caller checks the type.
std::list<WIFI_CREDENTIALS_s> readWifiCredentialsList(GVariant* array, const char* function);

} // namespace vel_core
