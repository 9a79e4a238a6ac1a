// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "VelQtLog.h"

namespace {

DltContext gVelQtContext;

} // namespace

DltContext& velQtLogContext()
{
    // The context stays registered until the process ends: Qt objects log
    // from their destructors during the application's teardown.
    static const bool registered = [] {
        orna::OrnaLogWrapper::instance(true)->registerContext(gVelQtContext, "LIBQ", "vel_library_qt");
        return true;
    }();
    (void)registered;
    return gVelQtContext;
}
