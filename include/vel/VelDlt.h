// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

/// @file
/// libvel-dlt: libvel's log lines into DLT. A host that links libvel-dlt gets
/// every line in DLT under the application id "VELL", each under the DLT
/// context of the library module that wrote it, at the level of its severity
/// code; DLT's level for each context decides which lines are built at all.
/// Nothing needs to be called: linking is enough. The functions below are for
/// hosts that choose their sink at run time.

/// Marks the functions that libvel-dlt exports.
#define VELDLT_API __attribute__((visibility("default")))

/// libvel-dlt's run-time switches.
namespace veldlt {

/// On (the default once loaded): lines go to DLT and DLT's levels apply.
/// Off: nothing is registered with DLT, every line is built again and
/// vw_log_print hands it on to the next sink in the process (libvel's stderr
/// fallback, when libvel carries one).
VELDLT_API void setActive(bool active);

/// Whether lines currently go to DLT.
VELDLT_API bool isActive();

/// Sends one line to DLT as vw_log_print would, under the context of the line
/// being delivered on this thread. For a host whose own vw_log_print shadows
/// this library's and forwards to DLT only in some modes.
VELDLT_API void forward(int severity, const char* text);

} // namespace veldlt
