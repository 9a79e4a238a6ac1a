// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "AppWatchPrinter.h"

#include <cstdio>
#include <cstring>

namespace velctl {

namespace {

std::string number(unsigned int value)
{
    return std::to_string(value);
}

std::string deviceList(const char* name, std::list<DEVICE>& devices, int result)
{
    std::string line = std::string(name) + " (result " + std::to_string(result) + "):";
    const char* separator = " ";
    for (const DEVICE& device : devices) {
        // deviceId is the one field the library knows; it may fill all its bytes.
        line += separator + std::string(device.deviceId, strnlen(device.deviceId, sizeof(device.deviceId)));
        separator = ", ";
    }
    return devices.empty() ? line + " none" : line;
}

} // namespace

void AppWatchPrinter::print(const std::string& line)
{
    if (!mPrinting) {
        return;
    }
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

void AppWatchPrinter::complete(bool connect, const std::string& deviceId, TECHNOLOGY_e technology, int result)
{
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mCompletions.push_back({connect, Completion{deviceId, static_cast<unsigned int>(technology), result}});
    }
    mCompleted.notify_all();
}

bool AppWatchPrinter::waitCompletion(bool connect, const std::string& deviceId, std::chrono::milliseconds timeout,
                                     Completion& completion)
{
    std::unique_lock<std::mutex> lock(mMutex);
    return mCompleted.wait_for(lock, timeout, [&] {
        for (const auto& entry : mCompletions) {
            if (entry.first == connect && entry.second.deviceId == deviceId) {
                completion = entry.second;
                return true;
            }
        }
        return false;
    });
}

bool AppWatchPrinter::waitConnectDone(const std::string& deviceId, std::chrono::milliseconds timeout,
                                      Completion& completion)
{
    return waitCompletion(true, deviceId, timeout, completion);
}

bool AppWatchPrinter::waitDisconnectDone(const std::string& deviceId, std::chrono::milliseconds timeout,
                                         Completion& completion)
{
    return waitCompletion(false, deviceId, timeout, completion);
}

void AppWatchPrinter::onRcvMVELReady(bool ready)
{
    mGate.set(ready);
    print(ready ? "service ready" : "service lost");
}

void AppWatchPrinter::onRcvResponseAbortDiscovery(int result)
{
    print("abort discovery done: result " + std::to_string(result));
}

void AppWatchPrinter::onRcvResponseConnectService(std::string deviceId, TECHNOLOGY_e technology, int result)
{
    complete(true, deviceId, technology, result);
    print("connect done: device " + deviceId + ", technology " + number(technology) + ", result " +
          std::to_string(result));
}

void AppWatchPrinter::onRcvResponseDisconnectService(std::string deviceId, TECHNOLOGY_e technology, int result)
{
    complete(false, deviceId, technology, result);
    print("disconnect done: device " + deviceId + ", technology " + number(technology) + ", result " +
          std::to_string(result));
}

void AppWatchPrinter::onRcvResponseEmergencyCallIndicator(int result)
{
    print("emergency call indicator done: result " + std::to_string(result));
}

void AppWatchPrinter::onRcvResponseReconnectSuspend(int result)
{
    print("reconnect suspend done: result " + std::to_string(result));
}

void AppWatchPrinter::onRcvResponseRejectTechnologySelection(std::string deviceId, int result)
{
    print("reject technology selection done: device " + deviceId + ", result " + std::to_string(result));
}

void AppWatchPrinter::onRcvResponseRemoveDevice(std::string deviceId, int result)
{
    print("remove device done: device " + deviceId + ", result " + std::to_string(result));
}

void AppWatchPrinter::onRcvResponseRestoreFactorySettings(int result)
{
    print("restore factory settings done: result " + std::to_string(result));
}

void AppWatchPrinter::onRcvResponseSetPrioritizedDevice(int result)
{
    print("set prioritized device done: result " + std::to_string(result));
}

void AppWatchPrinter::onRcvResponseStartReconnect(int result)
{
    print("start reconnect done: result " + std::to_string(result));
}

void AppWatchPrinter::onRcvResponseStartDiscovery(int result)
{
    print("start discovery done: result " + std::to_string(result));
}

void AppWatchPrinter::onRcvUpdateDeviceDisconnectionInfo(std::string deviceId, TECHNOLOGY_e technology, int detail,
                                                         int result)
{
    print("device disconnection info: device " + deviceId + ", technology " + number(technology) + ", detail " +
          std::to_string(detail) + ", result " + std::to_string(result));
}

void AppWatchPrinter::onRcvUpdateDiscoveredDevices(std::list<DEVICE>& devices, int result)
{
    print(deviceList("discovered devices", devices, result));
}

void AppWatchPrinter::onRcvUpdateEmergencyCallIndicator(bool active, int result)
{
    print(std::string("emergency call indicator: ") + (active ? "active" : "inactive") + ", result " +
          std::to_string(result));
}

void AppWatchPrinter::onRcvUpdateGetTechnologySelection(std::string deviceId, int result)
{
    print("technology selection wanted: device " + deviceId + ", result " + std::to_string(result));
}

void AppWatchPrinter::onRcvUpdateIncomingServiceRequestLimitExceeded(std::string deviceId, TECHNOLOGY_e technology,
                                                                     int result)
{
    print("incoming service request limit exceeded: device " + deviceId + ", technology " + number(technology) +
          ", result " + std::to_string(result));
}

void AppWatchPrinter::onRcvNoticeLinkLossToApp(std::string deviceId, TECHNOLOGY_e technology, int result)
{
    print("link loss: device " + deviceId + ", technology " + number(technology) + ", result " +
          std::to_string(result));
}

void AppWatchPrinter::onRcvUpdateKnownDevices(std::list<DEVICE>& devices, int result)
{
    print(deviceList("known devices", devices, result));
}

void AppWatchPrinter::onRcvUpdateSingleDeviceCoexMode(bool coexMode, int result)
{
    print(std::string("single device coex mode: ") + (coexMode ? "on" : "off") + ", result " +
          std::to_string(result));
}

bool AppWatchPrinter::onRcvTechActiveInfo(std::vector<TECH_ACTIVE_INFO_s> infos)
{
    std::string line = "technology activity:";
    const char* separator = " ";
    for (const TECH_ACTIVE_INFO_s& info : infos) {
        line += separator + number(info.technology) + (info.active ? " active" : " inactive");
        separator = ", ";
    }
    if (infos.empty()) {
        line += " none";
    }
    print(line);
    return true;
}

} // namespace velctl
