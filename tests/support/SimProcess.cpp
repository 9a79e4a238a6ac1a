// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "SimProcess.h"

#include <sstream>

#include "WaitUntil.h"

namespace veltest {

std::string simulatorPath()
{
#ifdef VEL_SIM_PATH
    return VEL_SIM_PATH;
#else
    return std::string();
#endif
}

SimProcess::SimProcess(PrivateBus& bus) : mBus(bus), mLogPath(mDir.file("mvel-sim.log")) {}

SimProcess::~SimProcess()
{
    stop();
}

bool SimProcess::start(const std::vector<std::string>& options, bool waitForName)
{
    std::vector<std::string> argv{simulatorPath()};
    argv.insert(argv.end(), options.begin(), options.end());
    if (argv[0].empty() || !mProcess.start(argv, mLogPath)) {
        return false;
    }
    if (!waitForName) {
        return true;
    }
    return waitUntil([&] { return mBus.nameHasOwner("com.qor.vel_communicator") || !mProcess.running(); },
                     std::chrono::seconds(10)) &&
           mProcess.running();
}

int SimProcess::stop()
{
    return mProcess.stop();
}

void SimProcess::kill9()
{
    mProcess.kill9();
}

std::string SimProcess::log() const
{
    return readFile(mLogPath);
}

std::vector<std::string> SimProcess::logLines() const
{
    std::vector<std::string> lines;
    std::istringstream in(log());
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::size_t SimProcess::countLog(const std::string& fragment) const
{
    std::size_t n = 0;
    for (const auto& line : logLines()) {
        n += line.find(fragment) != std::string::npos ? 1 : 0;
    }
    return n;
}

bool SimProcess::waitForLog(const std::string& fragment, std::chrono::milliseconds timeout, std::size_t times) const
{
    return waitUntil([&] { return countLog(fragment) >= times; }, timeout);
}

GVariant* SimProcess::control(const std::string& interfaceName, const std::string& method, GVariant* parameters)
{
    GDBusConnection* connection = mBus.testConnection();
    if (connection == nullptr) {
        if (parameters != nullptr) {
            g_variant_unref(g_variant_ref_sink(parameters));
        }
        return nullptr;
    }
    GError* error = nullptr;
    GVariant* reply = g_dbus_connection_call_sync(connection, "com.qor.vel_communicator", "/com/qor/vel_sim",
                                                  interfaceName.c_str(), method.c_str(), parameters, nullptr,
                                                  G_DBUS_CALL_FLAGS_NONE, 10000, nullptr, &error);
    if (error != nullptr) {
        g_printerr("control %s.%s failed: %s\n", interfaceName.c_str(), method.c_str(), error->message);
        g_error_free(error);
    }
    return reply;
}

bool SimProcess::emitSignal(const std::string& signalName, GVariant* parameters)
{
    GVariant* reply = control("com.qor.vel_sim.Control", "Emit",
                              g_variant_new("(sv)", signalName.c_str(), parameters));
    if (reply == nullptr) {
        return false;
    }
    g_variant_unref(reply);
    return true;
}

} // namespace veltest
