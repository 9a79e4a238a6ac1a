// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <string>

namespace velqt {

// Why starting libvel's link from the calling thread would crash or hang the
// process in this host set-up, or an empty text when it is safe. libvel's
// thread runs GLib's default main context; Qt's GLib event dispatcher runs
// the same context, and only one of them can own it:
// - an application object exists, its dispatcher is the GLib one and another
//   thread already owns the default context (a facade was made before it);
// - no application object exists yet and Qt would choose the GLib dispatcher
//   for it (QT_NO_GLIB not set): libvel's thread would own the context first.
std::string hostSetUpProblem();

} // namespace velqt
