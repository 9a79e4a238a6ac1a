// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

// libvel-qt exports only what its public headers declare; everything else is
// hidden, so the library's ABI is exactly these classes.
#if defined(VEL_QT_BUILDING_LIBRARY)
#define VEL_QT_EXPORT __attribute__((visibility("default")))
#else
#define VEL_QT_EXPORT
#endif
