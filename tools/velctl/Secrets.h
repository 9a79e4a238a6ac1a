// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <string>

// Secrets (a Wi-Fi passphrase, and any field of that kind to come) are not
// printed unless the user asked with --show-secrets: a terminal is read over
// shoulders, and its output is pasted into bug reports.

namespace velctl {

// What stands in for a secret.
constexpr const char* kMaskedSecret = "********";

void setShowSecrets(bool show);
// The secret itself with --show-secrets, else the mask. An empty secret
// stays empty: that there is none gives nothing away.
std::string secret(const std::string& value);
// One of libvel's log lines with the value of each secret field it names
// masked the same way.
std::string maskSecretFields(const std::string& line);

} // namespace velctl
