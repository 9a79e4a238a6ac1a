// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "vel/VelAgent.h"

#include "ImplVelAgent.h"
#include "MainLoopHandoff.h"
#include "VelAgentExpiryRelay.h"
#include "log_contexts.h"
#include "vel/OrnaLogWrapper.h"

namespace {
constexpr const char* kWatchedName = "com.qor.vel_communicator";
}

VelAgent::VelAgent(std::function<void(bool)> callback)
    : mImpl(nullptr)
{
    try {
        mImpl = new ImplVelAgent(kWatchedName);
        mImpl->mJoinedAfterAppearance = ImplVelAgent::addCallback(callback);
        orna::OrnaLogWrapper::instance(true)->registerContext(VELSIGNAL, "LIBR", "vel_agent_recovery");
        orna::log(&VELSIGNAL, DLT_LOG_INFO, "[VelAgent] constructor");
        // The recovery timer's signal handler must not run library code; the
        // relay hands each expiry to the main-loop thread.
        VelAgentExpiryRelay::install(&ImplVelAgent::onRecoveryTimerExpired);
        // The watch's events belong to the main-loop thread, even when the
        // caller pushed a main context of its own.
        ImplVelAgent* impl = mImpl;
        vel_link::runAttachedToDefaultContext([impl] { impl->RegisterMVELService(); });
    } catch (...) {
        delete mImpl;
        mImpl = nullptr;
        throw;
    }
}

VelAgent::~VelAgent()
{
    orna::log(&VELSIGNAL, DLT_LOG_INFO, "[VelAgent] destructor");
    mImpl->UnregisterMVELService();
    orna::OrnaLogWrapper::instance(true)->unregisterContext(VELSIGNAL);
    // The callback stays in the process-wide list: entries are never removed.
    delete mImpl;
}

bool VelAgent::joinedAfterAppearance() const
{
    return mImpl->mJoinedAfterAppearance;
}

void VelAgent::timeOutCallback(int signum)
{
    VelAgentExpiryRelay::post(signum);
}
