// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "WifiCredentialsList.h"

#include "CoreEngineLog.h"

namespace vel_core {

const GVariantType* wifiCredentialsListType()
{
    return G_VARIANT_TYPE("a(ssyuuss)");
}

std::list<WIFI_CREDENTIALS_s> readWifiCredentialsList(GVariant* array, const char* function)
{
    std::list<WIFI_CREDENTIALS_s> records;
    GVariantIter iter;
    g_variant_iter_init(&iter, array);
    const gchar* ssid = nullptr;
    const gchar* password = nullptr;
    guchar channel = 0;
    guint32 securityType = 0;
    guint32 port = 0;
    const gchar* ip = nullptr;
    const gchar* bssid = nullptr;
    unsigned int index = 0;
    while (g_variant_iter_next(&iter, "(&s&syuu&s&s)", &ssid, &password, &channel, &securityType, &port, &ip,
                               &bssid)) {
        WIFI_CREDENTIALS_s record;
        record.ssid = ssid;
        record.password = password;
        record.channel = channel;
        record.securityType = static_cast<SECURITY_TYPE_e>(securityType);
        record.port = port;
        record.ip = ip;
        record.bssid = bssid;
        // The channel is a number to people reading the log, not a character.
        log(DLT_LOG_INFO, function, "wifiCredentialsList[", index, "]", "'s Info.", " ssid:", record.ssid,
            ", password:", record.password, ", channel:", static_cast<unsigned int>(record.channel),
            ", securityType:", static_cast<unsigned int>(record.securityType), ", port:", record.port,
            ", ip:", record.ip, ", bssid:", record.bssid);
        records.push_back(record);
        ++index;
    }
    return records;
}

} // namespace vel_core
