// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "log_contexts.h"

DltContext VELLIB;
DltContext VELLIBAPP;
DltContext VELLIBCORE;
DltContext VELLIBCONTROLLER;
DltContext VELCBCAPP;
DltContext VELCBCORE;
DltContext VELCBCAGENT;
DltContext VELSIGNAL;
DltContext VEL_TIMER;
DltContext VELLIBSHM;
DltContext ORNA_SHM;
