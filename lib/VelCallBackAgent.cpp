// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "vel/VelCallBackAgent.h"

#include "log_contexts.h"
#include "vel/OrnaLogWrapper.h"

VelCallBackAgent::VelCallBackAgent()
{
    orna::OrnaLogWrapper::instance(true)->registerContext(VELCBCAGENT, "CBAG", "vel_callback_agent");
    orna::log(&VELCBCAGENT, DLT_LOG_INFO, "[CBAGENT] VelCallBackAgent() constructor");
}

VelCallBackAgent::~VelCallBackAgent() = default;

void VelCallBackAgent::onRcvMVELReady(bool ready)
{
    (void)ready;
    orna::log(&VELCBCAGENT, DLT_LOG_WARN, "[CBAG] @@@ WARN. onRcvMVELReady not implemented");
}
