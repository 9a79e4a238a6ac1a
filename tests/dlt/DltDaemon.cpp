// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "DltDaemon.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <dlt/dlt_version.h>

#include <chrono>
#include <cstdlib>
#include <fstream>

#include "WaitUntil.h"

namespace veltest {

std::vector<std::string> dltClientCommand(const std::string& tool, int port, std::vector<std::string> arguments)
{
    const int minor = std::atoi(_DLT_PACKAGE_MINOR_VERSION);
    const int patch = std::atoi(_DLT_PACKAGE_PATCH_LEVEL);
    const bool takesPortOption =
        std::atoi(_DLT_PACKAGE_MAJOR_VERSION) > 2 || minor > 18 || (minor == 18 && patch >= 8);
    std::vector<std::string> command;
    if (takesPortOption) {
        command = {tool, "-p", std::to_string(port)};
    } else {
        command = {"/usr/bin/env", "DLT_DAEMON_TCP_PORT=" + std::to_string(port), tool};
    }
    command.insert(command.end(), arguments.begin(), arguments.end());
    command.push_back("127.0.0.1");
    return command;
}

namespace {

// A port the kernel has just found free on 127.0.0.1.
int pickFreePort()
{
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    int port = 0;
    if (::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0 &&
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0) {
        port = ntohs(address.sin_port);
    }
    ::close(fd);
    return port;
}

bool accepts(int port)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<uint16_t>(port));
    const bool connected = ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
    ::close(fd);
    return connected;
}

bool isFifo(const std::string& path)
{
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && S_ISFIFO(info.st_mode);
}

} // namespace

DltDaemon::DltDaemon() = default;

DltDaemon::~DltDaemon()
{
    stop();
}

bool DltDaemon::start()
{
    mPort = pickFreePort();
    const std::string config = mDir.file("dlt.conf");
    {
        std::ofstream out(config);
        // The daemon's socket is IPv6 with IPv4 mapped: 127.0.0.1 is written so.
        out << "Verbose = 0\n"
               "ECUId = ECU1\n"
               "SendContextRegistration = 1\n"
               "BindAddress = ::ffff:127.0.0.1\n"
               "UDPConnectionSetup = 0\n"
               "ContextLogLevel = 4\n"
               "ContextTraceStatus = 0\n"
               "LoggingMode = 2\n"
               "LoggingLevel = 6\n"
               "LoggingFilename = "
            << mDir.file("daemon.log") << "\nPersistanceStoragePath = " << mDir.path()
            << "\nControlSocketPath = " << mDir.file("dlt-ctrl.sock") << "\n";
    }
    if (!mProcess.start({"/usr/bin/dlt-daemon", "-c", config, "-t", mDir.path(), "-p", std::to_string(mPort)},
                        mDir.file("daemon.out"))) {
        return false;
    }
    const std::string fifo = mDir.file("dlt");
    const int port = mPort;
    return waitUntil([&] { return isFifo(fifo) && accepts(port); }, std::chrono::seconds(10));
}

int DltDaemon::stop()
{
    return mProcess.stop();
}

bool DltDaemon::setLevel(const std::string& appId, const std::string& contextId, int level)
{
    ChildProcess control;
    if (!control.start(dltClientCommand("/usr/bin/dlt-control", mPort,
                                        {"-a", appId, "-c", contextId, "-l", std::to_string(level)}),
                       mDir.file("control.out"))) {
        return false;
    }
    const int status = control.waitExit(std::chrono::seconds(20));
    return status != -1 && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace veltest
