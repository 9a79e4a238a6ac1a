// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "RecordingCallBack.h"
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

void RecordingCallBack::record(Call call)
{
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
    Call call = makeCall(mTag, "onRcvResponseAbortDiscovery");
    call.result = result;
    record(call);
}

void RecordingCallBack::onRcvResponseConnectService(std::string deviceId, TECHNOLOGY_e technology, int result)
{
    Call call = makeCall(mTag, "onRcvResponseConnectService");
    call.deviceId = deviceId;
    call.technology = technology;
    call.result = result;
    record(call);
}

void RecordingCallBack::onRcvResponseDisconnectService(std::string deviceId, TECHNOLOGY_e technology, int result)
{
    Call call = makeCall(mTag, "onRcvResponseDisconnectService");
    call.deviceId = deviceId;
    call.technology = technology;
    call.result = result;
    record(call);
}

void RecordingCallBack::onRcvResponseEmergencyCallIndicator(int result)
{
    Call call = makeCall(mTag, "onRcvResponseEmergencyCallIndicator");
    call.result = result;
    record(call);
}

void RecordingCallBack::onRcvResponseReconnectSuspend(int result)
{
    Call call = makeCall(mTag, "onRcvResponseReconnectSuspend");
    call.result = result;
    record(call);
}

void RecordingCallBack::onRcvResponseRejectTechnologySelection(std::string deviceId, int result)
{
    Call call = makeCall(mTag, "onRcvResponseRejectTechnologySelection");
    call.deviceId = deviceId;
    call.result = result;
    record(call);
}

void RecordingCallBack::onRcvResponseRemoveDevice(std::string deviceId, int result)
{
    Call call = makeCall(mTag, "onRcvResponseRemoveDevice");
    call.deviceId = deviceId;
    call.result = result;
    record(call);
}

void RecordingCallBack::onRcvResponseRestoreFactorySettings(int result)
{
    Call call = makeCall(mTag, "onRcvResponseRestoreFactorySettings");
    call.result = result;
    record(call);
}

void RecordingCallBack::onRcvResponseSetPrioritizedDevice(int result)
{
    Call call = makeCall(mTag, "onRcvResponseSetPrioritizedDevice");
    call.result = result;
    record(call);
}

void RecordingCallBack::onRcvResponseStartReconnect(int result)
{
    Call call = makeCall(mTag, "onRcvResponseStartReconnect");
    call.result = result;
    record(call);
}

void RecordingCallBack::onRcvResponseStartDiscovery(int result)
{
    Call call = makeCall(mTag, "onRcvResponseStartDiscovery");
    call.result = result;
    record(call);
}

void RecordingCallBack::onRcvUpdateDeviceDisconnectionInfo(std::string deviceId, TECHNOLOGY_e technology, int,
                                                           int result)
{
    Call call = makeCall(mTag, "onRcvUpdateDeviceDisconnectionInfo");
    call.deviceId = deviceId;
    call.technology = technology;
    call.result = result;
    record(call);
}

void RecordingCallBack::onRcvUpdateDiscoveredDevices(std::list<DEVICE>& devices, int result)
{
    Call call = makeCall(mTag, "onRcvUpdateDiscoveredDevices");
    call.devices.assign(devices.begin(), devices.end());
    call.result = result;
    record(call);
}

void RecordingCallBack::onRcvUpdateEmergencyCallIndicator(bool active, int result)
{
    Call call = makeCall(mTag, "onRcvUpdateEmergencyCallIndicator");
    call.flag = active;
    call.result = result;
    record(call);
}

void RecordingCallBack::onRcvUpdateGetTechnologySelection(std::string deviceId, int result)
{
    Call call = makeCall(mTag, "onRcvUpdateGetTechnologySelection");
    call.deviceId = deviceId;
    call.result = result;
    record(call);
}

void RecordingCallBack::onRcvUpdateIncomingServiceRequestLimitExceeded(std::string deviceId,
                                                                       TECHNOLOGY_e technology, int result)
{
    Call call = makeCall(mTag, "onRcvUpdateIncomingServiceRequestLimitExceeded");
    call.deviceId = deviceId;
    call.technology = technology;
    call.result = result;
    record(call);
}

void RecordingCallBack::onRcvNoticeLinkLossToApp(std::string deviceId, TECHNOLOGY_e technology, int result)
{
    Call call = makeCall(mTag, "onRcvNoticeLinkLossToApp");
    call.deviceId = deviceId;
    call.technology = technology;
    call.result = result;
    record(call);
}

void RecordingCallBack::onRcvUpdateKnownDevices(std::list<DEVICE>& devices, int result)
{
    Call call = makeCall(mTag, "onRcvUpdateKnownDevices");
    call.devices.assign(devices.begin(), devices.end());
    call.result = result;
    record(call);
}

void RecordingCallBack::onRcvUpdateSingleDeviceCoexMode(bool coexMode, int result)
{
    Call call = makeCall(mTag, "onRcvUpdateSingleDeviceCoexMode");
    call.flag = coexMode;
    call.result = result;
    record(call);
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
