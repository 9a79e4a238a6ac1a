// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "RecordingCallBack.h"
#include "LibraryLockCheck.h"
#include "TimeScale.h"

#include <utility>

namespace veltest {

namespace {

std::mutex gMutex;
std::condition_variable gChanged;
std::vector<Call> gCalls;

Call makeCall(const std::string& tag, const char* name)
{
    Call call;
    call.callback = tag;
    call.name = name;
    return call;
}

} // namespace

RecordingCallBack::RecordingCallBack(std::string tag) : mTag(std::move(tag)) {}

void RecordingCallBack::recordFields(const char* name, const Fields& fields)
{
    Call call = makeCall(mTag, name);
    call.result = fields.result;
    call.deviceId = fields.deviceId;
    call.technology = fields.technology;
    call.flag = fields.flag;
    if (fields.devices != nullptr) {
        call.devices.assign(fields.devices->begin(), fields.devices->end());
    }
    record(call);
}

void RecordingCallBack::record(Call call)
{
    expectNoLibraryLockHeld(call.name);
    {
        std::lock_guard<std::mutex> lock(gMutex);
        gCalls.push_back(std::move(call));
    }
    gChanged.notify_all();
}

void RecordingCallBack::setTechActiveInfoAnswer(bool answer)
{
    std::lock_guard<std::mutex> lock(gMutex);
    mTechActiveInfoAnswer = answer;
}

std::vector<Call> RecordingCallBack::calls(const std::string& name) const
{
    std::lock_guard<std::mutex> lock(gMutex);
    std::vector<Call> result;
    for (const Call& call : gCalls) {
        if (call.callback == mTag && (name.empty() || call.name == name)) {
            result.push_back(call);
        }
    }
    return result;
}

std::size_t RecordingCallBack::count(const std::string& name) const
{
    return calls(name).size();
}

bool RecordingCallBack::waitFor(const std::string& name, std::size_t times, std::chrono::milliseconds timeout) const
{
    std::unique_lock<std::mutex> lock(gMutex);
    return gChanged.wait_for(lock, veltest::scaled(timeout), [&] {
        std::size_t n = 0;
        for (const Call& call : gCalls) {
            n += (call.callback == mTag && call.name == name) ? 1 : 0;
        }
        return n >= times;
    });
}

std::vector<Call> RecordingCallBack::allCalls()
{
    std::lock_guard<std::mutex> lock(gMutex);
    return gCalls;
}

std::size_t RecordingCallBack::dispatchedCount()
{
    std::lock_guard<std::mutex> lock(gMutex);
    std::size_t n = 0;
    for (const Call& call : gCalls) {
        n += call.name.rfind("onRcvMVELReady", 0) == 0 ? 0 : 1;
    }
    return n;
}

void RecordingCallBack::clearAll()
{
    std::lock_guard<std::mutex> lock(gMutex);
    gCalls.clear();
}

void RecordingCallBack::onRcvMVELReady(bool ready)
{
    Call call = makeCall(mTag, ready ? "onRcvMVELReady(true)" : "onRcvMVELReady(false)");
    call.flag = ready;
    record(call);
}

void RecordingCallBack::onRcvResponseAbortDiscovery(int result)
{
    recordFields("onRcvResponseAbortDiscovery", Fields{result});
}

void RecordingCallBack::onRcvResponseConnectService(std::string deviceId, TECHNOLOGY_e technology, int result)
{
    recordFields("onRcvResponseConnectService", Fields{result, deviceId, technology});
}

void RecordingCallBack::onRcvResponseDisconnectService(std::string deviceId, TECHNOLOGY_e technology, int result)
{
    recordFields("onRcvResponseDisconnectService", Fields{result, deviceId, technology});
}

void RecordingCallBack::onRcvResponseEmergencyCallIndicator(int result)
{
    recordFields("onRcvResponseEmergencyCallIndicator", Fields{result});
}

void RecordingCallBack::onRcvResponseReconnectSuspend(int result)
{
    recordFields("onRcvResponseReconnectSuspend", Fields{result});
}

void RecordingCallBack::onRcvResponseRejectTechnologySelection(std::string deviceId, int result)
{
    recordFields("onRcvResponseRejectTechnologySelection", Fields{result, deviceId});
}

void RecordingCallBack::onRcvResponseRemoveDevice(std::string deviceId, int result)
{
    recordFields("onRcvResponseRemoveDevice", Fields{result, deviceId});
}

void RecordingCallBack::onRcvResponseRestoreFactorySettings(int result)
{
    recordFields("onRcvResponseRestoreFactorySettings", Fields{result});
}

void RecordingCallBack::onRcvResponseSetPrioritizedDevice(int result)
{
    recordFields("onRcvResponseSetPrioritizedDevice", Fields{result});
}

void RecordingCallBack::onRcvResponseStartReconnect(int result)
{
    recordFields("onRcvResponseStartReconnect", Fields{result});
}

void RecordingCallBack::onRcvResponseStartDiscovery(int result)
{
    recordFields("onRcvResponseStartDiscovery", Fields{result});
}

void RecordingCallBack::onRcvUpdateDeviceDisconnectionInfo(std::string deviceId, TECHNOLOGY_e technology, int,
                                                           int result)
{
    recordFields("onRcvUpdateDeviceDisconnectionInfo", Fields{result, deviceId, technology});
}

void RecordingCallBack::onRcvUpdateDiscoveredDevices(std::list<DEVICE>& devices, int result)
{
    recordFields("onRcvUpdateDiscoveredDevices", Fields{result, {}, {}, false, &devices});
}

void RecordingCallBack::onRcvUpdateEmergencyCallIndicator(bool active, int result)
{
    recordFields("onRcvUpdateEmergencyCallIndicator", Fields{result, {}, {}, active});
}

void RecordingCallBack::onRcvUpdateGetTechnologySelection(std::string deviceId, int result)
{
    recordFields("onRcvUpdateGetTechnologySelection", Fields{result, deviceId});
}

void RecordingCallBack::onRcvUpdateIncomingServiceRequestLimitExceeded(std::string deviceId,
                                                                       TECHNOLOGY_e technology, int result)
{
    recordFields("onRcvUpdateIncomingServiceRequestLimitExceeded", Fields{result, deviceId, technology});
}

void RecordingCallBack::onRcvNoticeLinkLossToApp(std::string deviceId, TECHNOLOGY_e technology, int result)
{
    recordFields("onRcvNoticeLinkLossToApp", Fields{result, deviceId, technology});
}

void RecordingCallBack::onRcvUpdateKnownDevices(std::list<DEVICE>& devices, int result)
{
    recordFields("onRcvUpdateKnownDevices", Fields{result, {}, {}, false, &devices});
}

void RecordingCallBack::onRcvUpdateSingleDeviceCoexMode(bool coexMode, int result)
{
    recordFields("onRcvUpdateSingleDeviceCoexMode", Fields{result, {}, {}, coexMode});
}

bool RecordingCallBack::onRcvTechActiveInfo(std::vector<TECH_ACTIVE_INFO_s> infos)
{
    Call call = makeCall(mTag, "onRcvTechActiveInfo");
    call.infos = infos;
    bool answer = true;
    {
        std::lock_guard<std::mutex> lock(gMutex);
        answer = mTechActiveInfoAnswer;
    }
    record(call);
    return answer;
}

} // namespace veltest
