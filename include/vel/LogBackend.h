// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <dlt/dlt_user.h>

/// @file
/// The seam between the log wrapper and a log system with levels of its own
/// per context (libvel-dlt is one). vw_log_print carries no context, so the
/// wrapper publishes the context of the line it is delivering on the
/// delivering thread; and a back-end may answer, before a line is built,
/// whether anybody wants it.

namespace orna {

/// A log back-end's answers to the log wrapper.
struct LogBackend {
    /// Whether a line of `level` written in `context` (nullptr for the
    /// wrapper's own lines) would be kept. Called from any thread, before the
    /// line is built and without the wrapper's mutex; it must be cheap and
    /// must not log.
    bool (*isLevelEnabled)(const DltContext* context, DltLogLevelType level);
};

/// Installs the back-end (nullptr removes it). The object must outlive every
/// logging thread. Without a back-end every line is built and delivered.
void setLogBackend(const LogBackend* backend);

/// What the back-end says about a line of `level` in `context`; true without one.
bool isLogLevelEnabled(const DltContext* context, DltLogLevelType level);

/// The context of the line this thread is handing to vw_log_print at this
/// moment; nullptr outside a delivery and for the wrapper's own lines.
const DltContext* currentLogContext();

} // namespace orna
