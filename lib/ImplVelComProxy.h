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
    // The owner's reaction to the service's name appearing or vanishing, up to
    // but not including the callback agent, which is told only when this
    // returns true. Logs under `function`, the name of the step the client
    // sees.
    bool followLink(bool appeared, const char* function);

    std::string mName;
    uint32_t mClientType;
    std::shared_ptr<VelAgent> mAgent;
    VelComProxy* mOwner;
    VelCallBackAgent* mCallBackAgent;
    bool mLazyInitialized;
    // Serialises the link's steps (followLink), never a client callback.
    // Recursive so that a step which reaches the link again (a facade's lazy
    // initialisation or subscription) cannot deadlock its own thread.
    std::recursive_mutex mAgentCallbackMutex;
};
