// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "vel/VelLibUtil.h"

#include <fstream>

std::string VelLibUtil::getClientName()
{
    std::string name;
    std::ifstream comm("/proc/self/comm");
    if (comm.is_open()) {
        std::getline(comm, name);
    }
    return name;
}

bool VelLibUtil::isServiceMatched(DEV_FILTER_TYPE_e filter, SERVICE_e service)
{
    // An explicit list, not a rule: values above 8 never match.
    const uint32_t value = static_cast<uint32_t>(service);
    switch (static_cast<uint32_t>(filter)) {
    case 0:
        return value == 1 || value == 4 || value == 7;
    case 1:
        return value == 2 || value == 5 || value == 8;
    default:
        return false;
    }
}
