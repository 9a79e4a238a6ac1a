// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

/// @file
/// Everything a libvel client needs: the facades, their callback interfaces,
/// the shared vocabulary, logging, timers, the device store and the generated
/// bus binding.

#include "vel/mvel_interface.h"
#include "vel/OrnaLogWrapper.h"
#include "vel/VelTypes.h"
#include "vel/VelCallBackAgent.h"
#include "vel/VelComProxy.h"
#include "vel/VelAgent.h"
#include "vel/VelTimer.h"
#include "vel/VelLibUtil.h"
#include "vel/VelSharedMemory.h"
#include "vel/VelLibShm.h"
#include "vel/VelCallBackApp.h"
#include "vel/VelComProxyApp.h"
#include "vel/VelCoreEngineTypes.h"
#include "vel/VelCallBackCoreEngine.h"
#include "vel/VelComProxyCoreEngine.h"
#include "vel/VelComProxyController.h"
