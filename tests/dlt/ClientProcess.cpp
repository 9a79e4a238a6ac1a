// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "ClientProcess.h"

#include <cstdlib>
#include <fstream>
#include <string>

#include "WaitUntil.h"

namespace veltest {

bool ClientProcess::start(const std::string& pipeDir)
{
    std::ofstream(mDir.file("commands")).close();
    // The child inherits this process's environment; each test case runs in a
    // process of its own.
    ::setenv("DLT_PIPE_DIR", pipeDir.c_str(), 1);
#ifdef __SANITIZE_THREAD__
    // libdlt starts and ends threads of its own, in code ThreadSanitizer does
    // not see; ignoring that code makes their end at exit a report of its own.
    // The client does not run GLib's main loop, whose locks would be missed.
    const char* inherited = std::getenv("TSAN_OPTIONS");
    const std::string options = std::string(inherited != nullptr ? inherited : "") + ":ignore_noninstrumented_modules=0";
    ::setenv("TSAN_OPTIONS", options.c_str(), 1);
#endif
    if (!mProcess.start({VEL_DLT_CLIENT_PATH, mDir.file("commands")}, mDir.file("client.out"))) {
        return false;
    }
    return waitUntil([&] { return output().find("ready\n") != std::string::npos; }, std::chrono::seconds(20));
}

bool ClientProcess::run(const std::string& command, std::chrono::milliseconds timeout)
{
    {
        std::ofstream out(mDir.file("commands"), std::ios::app);
        out << command << '\n';
    }
    const std::string expected = "ok " + std::to_string(++mCommands) + "\n";
    return waitUntil([&] { return output().find(expected) != std::string::npos; }, timeout,
                     std::chrono::milliseconds(10));
}

} // namespace veltest
