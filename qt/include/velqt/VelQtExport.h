// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

// libvel-qt exports only what its public headers declare; everything else is
// hidden, so the library's ABI is exactly these classes.
#if defined(VEL_QT_BUILDING_LIBRARY)
#define VEL_QT_EXPORT __attribute__((visibility("default")))
// For the private classes nested in exported ones, which would otherwise be
// exported with them (and every template instance over them too).
#define VEL_QT_HIDDEN __attribute__((visibility("hidden")))
#else
#define VEL_QT_EXPORT
#define VEL_QT_HIDDEN
#endif
