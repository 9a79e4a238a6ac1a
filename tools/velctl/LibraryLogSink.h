// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <string>

namespace velctl {

// Where libvel's log lines go: "quiet" (nowhere, the default: they would drown
// the answers), "stderr" or "dlt" (libvel-dlt, to watch velctl in DLT with
// the rest of the head unit).
bool isLibraryLogMode(const std::string& mode);
void setLibraryLogMode(const std::string& mode);

} // namespace velctl
