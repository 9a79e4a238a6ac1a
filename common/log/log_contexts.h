// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <dlt/dlt_user.h>

// One DLT context per module of the library; each module registers its own.
extern DltContext VELLIB;
extern DltContext VELLIBAPP;
extern DltContext VELLIBCORE;
extern DltContext VELLIBCONTROLLER;
extern DltContext VELCBCAPP;
extern DltContext VELCBCORE;
extern DltContext VELCBCAGENT;
extern DltContext VELSIGNAL;
extern DltContext VEL_TIMER;
extern DltContext VELLIBSHM;
extern DltContext ORNA_SHM;
