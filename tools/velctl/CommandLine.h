// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <string>
#include <vector>

namespace velctl {

// What the user asked for, before anything talks to the bus.
struct CommandLine {
    bool help = false;
    // Where libvel's own lines go: quiet, stderr (also -v) or dlt.
    std::string log = "quiet";
    unsigned int timeoutSeconds = 10;
    // Print secrets (passphrases) instead of masking them.
    bool showSecrets = false;
    // record: keep personal identifiers; overwrite an existing file.
    bool includePersonalInfo = false;
    bool force = false;
    // 0 when not given: each kind has its own default.
    unsigned int clientType = 0;
    std::string kind;
    std::string command;
    std::vector<std::string> arguments;
};

// Fills `line` from argv. Options may stand anywhere; "--" ends them. On a
// malformed option, returns false with a one-line reason.
bool parseCommandLine(int argc, char** argv, CommandLine& line, std::string& reason);

// A decimal number without sign that fits 32 bits.
bool parseUnsigned(const std::string& text, unsigned int& value);

} // namespace velctl
