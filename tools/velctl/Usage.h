// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <string>

namespace velctl {

// Help texts: the general one, and one per kind ("app", "core", "controller").
const char* generalUsage();
// nullptr for an unknown kind.
const char* kindUsage(const std::string& kind);

} // namespace velctl
