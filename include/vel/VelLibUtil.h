// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <cstdint>
#include <string>

/// @file
/// Helpers for client processes.

/// Device filter of a service query. Only the two groups below select anything.
enum DEV_FILTER_TYPE_e : uint32_t {
    DEV_FILTER_TYPE_GROUP_A = 0, ///< services 1, 4 and 7
    DEV_FILTER_TYPE_GROUP_B = 1, ///< services 2, 5 and 8
};

/// Service kinds as numbered by the service.
enum SERVICE_e : uint32_t {
    SERVICE_NONE = 0, ///< no service
    SERVICE_1 = 1,    ///< service kind 1 (group A)
    SERVICE_2 = 2,    ///< service kind 2 (group B)
    SERVICE_3 = 3,    ///< service kind 3 (no group)
    SERVICE_4 = 4,    ///< service kind 4 (group A)
    SERVICE_5 = 5,    ///< service kind 5 (group B)
    SERVICE_6 = 6,    ///< service kind 6 (no group)
    SERVICE_7 = 7,    ///< service kind 7 (group A)
    SERVICE_8 = 8,    ///< service kind 8 (group B)
};

/// Stateless helpers for client processes.
class VelLibUtil {
public:
    /// The process name as the kernel keeps it (first line of /proc/self/comm),
    /// or an empty string when it cannot be read.
    static std::string getClientName();
    /// Whether a service belongs to a filter group.
    /// Group A matches services 1, 4 and 7; group B matches 2, 5 and 8; nothing
    /// else matches.
    /// @param filter  the group
    /// @param service the service kind
    /// @return true when service is in the group
    static bool isServiceMatched(DEV_FILTER_TYPE_e filter, SERVICE_e service);
};
