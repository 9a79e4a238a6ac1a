// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "DltReceiver.h"

#include <regex>
#include <sstream>

#include "DltDaemon.h"
#include "WaitUntil.h"

namespace veltest {

bool DltReceiver::start(int port, const std::string& outputPath)
{
    mOutput = outputPath;
    // stdbuf: dlt-receive prints through stdio, which would hold lines back
    // in a file until it exits.
    std::vector<std::string> command = {"/usr/bin/stdbuf", "-oL"};
    const std::vector<std::string> receive = dltClientCommand("/usr/bin/dlt-receive", port, {"-a"});
    command.insert(command.end(), receive.begin(), receive.end());
    return mProcess.start(command, outputPath);
}

std::vector<DltLine> DltReceiver::lines() const
{
    // "<date> <time> <timestamp> <counter> <ecu> <app> <ctx> log <level> V <args> [<text>]"
    static const std::regex kLogLine(
        R"(^\S+ \S+ +\d+ \d+ \S+ (\S+) (\S+) log (\S+) V \d+ \[(.*)\]$)");
    std::vector<DltLine> result;
    std::istringstream in(readFile(mOutput));
    std::string line;
    while (std::getline(in, line)) {
        std::smatch match;
        if (std::regex_match(line, match, kLogLine)) {
            result.push_back({match[1], match[2], match[3], match[4]});
        }
    }
    return result;
}

std::vector<DltLine> DltReceiver::linesOf(const std::string& appId) const
{
    std::vector<DltLine> result;
    for (const DltLine& line : lines()) {
        if (line.appId == appId) {
            result.push_back(line);
        }
    }
    return result;
}

bool DltReceiver::hasText(const std::string& appId, const std::string& text) const
{
    for (const DltLine& line : linesOf(appId)) {
        if (line.text == text) {
            return true;
        }
    }
    return false;
}

bool DltReceiver::waitForText(const std::string& appId, const std::string& text,
                              std::chrono::milliseconds timeout) const
{
    return waitUntil([&] { return hasText(appId, text); }, timeout, std::chrono::milliseconds(20));
}

} // namespace veltest
