// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <gio/gio.h>

namespace velbench {

// appRequestDone(APPREQ_CONNECT_SERVICE, result 0, deviceId = send time, technology 2):
// the simulator writes its emission time into the device id.
inline GVariant* completionParams()
{
    return g_variant_new("(uusu)", 0u, 0u, "@now", 2u);
}

// noticeToApp(NOTICE_KNOWN_DEVICES_UPDATED, "10", 0): the library then reads
// the whole known list, ten records, out of the store.
inline GVariant* knownListNotice()
{
    return g_variant_new("(usi)", 0u, "10", 0);
}

} // namespace velbench
