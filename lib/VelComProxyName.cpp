// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <exception>
#include <fstream>

#include "VelComProxyLog.h"
#include "vel/VelComProxy.h"

std::string VelComProxy::getAdjustedName_l(const std::string& clientName)
{
    proxyLog(DLT_LOG_INFO, mName, __func__, "_clientName:", clientName);
    // Shared by every caller and overwritten on each call.
    static std::string adjustedName;
    std::string processName;
    try {
        std::ifstream comm;
        comm.exceptions(std::ifstream::badbit);
        comm.open("/proc/self/comm");
        if (comm.is_open()) {
            std::getline(comm, processName);
        }
    } catch (const std::exception& ex) {
        proxyLog(DLT_LOG_ERROR, mName, __func__, "@@@ ERR. Exception occurred! ex:", ex.what());
    }
    // The kernel keeps at most 15 characters; the client name is simply searched
    // for what was read.
    if (!processName.empty() && clientName.find(processName) == std::string::npos) {
        proxyLog(DLT_LOG_INFO, mName, __func__, "_clientName does not contain processName!");
        adjustedName = "[" + processName + "." + clientName + "]";
    } else {
        adjustedName = "[" + clientName + "]";
    }
    proxyLog(DLT_LOG_INFO, mName, __func__, "adjustedName:", adjustedName);
    return adjustedName;
}
