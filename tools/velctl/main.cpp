// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// velctl: command-line client of the MVEL device-connection service, built on
// libvel. See `velctl --help`.

#include <cstdio>
#include <string>

#include "CommandLine.h"
#include "Commands.h"
#include "Exit.h"
#include "LibraryLogSink.h"
#include "Secrets.h"
#include "Usage.h"

using namespace velctl;

int main(int argc, char** argv)
{
    CommandLine line;
    std::string reason;
    if (!parseCommandLine(argc, argv, line, reason)) {
        fail(kExitUsage, reason + " (see velctl --help)");
    }
    setLibraryLogMode(line.log);
    setShowSecrets(line.showSecrets);

    if (line.kind.empty()) {
        if (line.help) {
            std::fputs(generalUsage(), stdout);
            finish(kExitOk);
        }
        fail(kExitUsage, "no kind given: app, core or controller (see velctl --help)");
    }
    if (line.kind == "record" || line.kind == "replay-diff") {
        if (line.help) {
            std::fputs(generalUsage(), stdout);
            finish(kExitOk);
        }
        if (line.kind == "record") {
            runRecord(line);
        }
        runReplayDiff(line);
    }
    const char* usage = kindUsage(line.kind);
    if (usage == nullptr) {
        fail(kExitUsage, "unknown kind '" + line.kind + "' (app, core or controller)");
    }
    if (line.help) {
        std::fputs(usage, stdout);
        finish(kExitOk);
    }
    if (line.command.empty()) {
        fail(kExitUsage, "no command given for " + line.kind + " (see velctl " + line.kind + " --help)");
    }

    if (line.kind == "app") {
        runApp(line);
    }
    if (line.kind == "core") {
        runCore(line);
    }
    runController(line);
}
