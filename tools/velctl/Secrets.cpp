// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "Secrets.h"

#include <atomic>

namespace velctl {

namespace {

std::atomic<bool> gShowSecrets{false};

// A secret field in a library line: its label, and the text that follows its
// value (the line's end when absent). A new secret field is one more row.
struct SecretField {
    const char* label;
    const char* next;
};

const SecretField kSecretFields[] = {
    {", password:", ", channel:"},
};

} // namespace

void setShowSecrets(bool show)
{
    gShowSecrets = show;
}

std::string secret(const std::string& value)
{
    return gShowSecrets || value.empty() ? value : kMaskedSecret;
}

std::string maskSecretFields(const std::string& line)
{
    if (gShowSecrets) {
        return line;
    }
    std::string masked = line;
    for (const SecretField& field : kSecretFields) {
        const std::string label = field.label;
        for (std::size_t at = masked.find(label); at != std::string::npos; at = masked.find(label, at + 1)) {
            const std::size_t start = at + label.size();
            // The last follower: a passphrase may itself hold the follower's text.
            std::size_t end = masked.rfind(field.next);
            if (end == std::string::npos || end < start) {
                end = masked.size();
            }
            masked.replace(start, end - start, secret(masked.substr(start, end - start)));
        }
    }
    return masked;
}

} // namespace velctl
