// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "vel/VelTypes.h"

class VelAgent;
class VelCallBackAgent;
class VelComProxy;

// Private part of VelComProxy: what is sent to the service and the steps that
// talk to the bus on the owner's behalf.
class ImplVelComProxy {
public:
    ImplVelComProxy(CLIENT_TYPE_e clientType, VelComProxy* owner);
    virtual ~ImplVelComProxy();

    void setName(std::string name);
    bool openProxy();
    void registerMe();
    bool checkDbusServiceRegistered(bool useSessionBus, std::string serviceName);

    std::string mName;
    uint32_t mClientType;
    std::shared_ptr<VelAgent> mAgent;
    VelComProxy* mOwner;
    VelCallBackAgent* mCallBackAgent;
    bool mLazyInitialized;
    // Held for the whole of agentCallback; recursive because a callback may
    // initialise its facade again from inside onRcvMVELReady.
    std::recursive_mutex mAgentCallbackMutex;
};
