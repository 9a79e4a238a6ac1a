// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "CommandLine.h"

#include "LibraryLogSink.h"

#include <cerrno>
#include <cstdlib>

namespace velctl {

bool parseUnsigned(const std::string& text, unsigned int& value)
{
    if (text.empty() || text.size() > 10) {
        return false;
    }
    for (const char c : text) {
        if (c < '0' || c > '9') {
            return false;
        }
    }
    const unsigned long long parsed = std::strtoull(text.c_str(), nullptr, 10);
    if (parsed > 0xFFFFFFFFull) {
        return false;
    }
    value = static_cast<unsigned int>(parsed);
    return true;
}

namespace {

// "--name=value" or "--name value" / "-x value".
bool takeValue(const std::string& option, const std::string& name, const std::string& shortName, int argc,
               char** argv, int& index, std::string& value, bool& matched)
{
    matched = false;
    if (option == name || (!shortName.empty() && option == shortName)) {
        matched = true;
        if (index + 1 >= argc) {
            return false;
        }
        value = argv[++index];
        return true;
    }
    const std::string prefix = name + "=";
    if (option.compare(0, prefix.size(), prefix) == 0) {
        matched = true;
        value = option.substr(prefix.size());
        return true;
    }
    return true;
}

} // namespace

bool parseCommandLine(int argc, char** argv, CommandLine& line, std::string& reason)
{
    std::vector<std::string> positional;
    bool optionsEnded = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (optionsEnded || arg.size() < 2 || arg[0] != '-') {
            positional.push_back(arg);
            continue;
        }
        if (arg == "--") {
            optionsEnded = true;
            continue;
        }
        if (arg == "-h" || arg == "--help") {
            line.help = true;
            continue;
        }
        if (arg == "-v" || arg == "--verbose") {
            line.log = "stderr";
            continue;
        }
        if (arg == "--show-secrets") {
            line.showSecrets = true;
            continue;
        }
        if (arg == "--include-personal-info") {
            line.includePersonalInfo = true;
            continue;
        }
        if (arg == "--force") {
            line.force = true;
            continue;
        }
        std::string value;
        bool matched = false;
        if (!takeValue(arg, "--log", "", argc, argv, i, value, matched)) {
            reason = "option " + arg + " needs stderr, dlt or quiet";
            return false;
        }
        if (matched) {
            if (!isLibraryLogMode(value)) {
                reason = "invalid log destination '" + value + "' (stderr, dlt or quiet)";
                return false;
            }
            line.log = value;
            continue;
        }
        if (!takeValue(arg, "--timeout", "-t", argc, argv, i, value, matched)) {
            reason = "option " + arg + " needs a number of seconds";
            return false;
        }
        if (matched) {
            if (!parseUnsigned(value, line.timeoutSeconds) || line.timeoutSeconds == 0 ||
                line.timeoutSeconds > 3600) {
                reason = "invalid timeout '" + value + "' (seconds, 1 to 3600)";
                return false;
            }
            continue;
        }
        if (!takeValue(arg, "--client-type", "-c", argc, argv, i, value, matched)) {
            reason = "option " + arg + " needs a client kind";
            return false;
        }
        if (matched) {
            if (!parseUnsigned(value, line.clientType)) {
                reason = "invalid client kind '" + value + "'";
                return false;
            }
            continue;
        }
        reason = "unknown option " + arg;
        return false;
    }
    if (!positional.empty()) {
        line.kind = positional[0];
    }
    if (positional.size() > 1) {
        line.command = positional[1];
    }
    if (positional.size() > 2) {
        line.arguments.assign(positional.begin() + 2, positional.end());
    }
    return true;
}

} // namespace velctl
