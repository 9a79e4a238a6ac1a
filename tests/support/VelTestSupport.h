// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

// Everything a libvel test builds on, in one include.
#include "ChildProcess.h"
#include "LogCapture.h"
#include "PrivateBus.h"
#include "RecordingCallBack.h"
#include "RecordingCoreEngineCallback.h"
#include "SimProcess.h"
#include "TimeScale.h"
#include "VtableSlot.h"
#include "WaitUntil.h"
