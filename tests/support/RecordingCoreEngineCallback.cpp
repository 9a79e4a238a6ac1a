// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "RecordingCoreEngineCallback.h"

#include "LibraryLockCheck.h"

#include <sstream>

#include "WaitUntil.h"

namespace veltest {

namespace {

// Joins the pieces with ", " inside "name(...)".
class Call {
public:
    explicit Call(const char* name) { mOut << name << "("; }
    template <typename T>
    Call& operator<<(const T& value)
    {
        mOut << (mFirst ? "" : ", ") << value;
        mFirst = false;
        return *this;
    }
    std::string str() const { return mOut.str() + ")"; }

private:
    std::ostringstream mOut;
    bool mFirst = true;
};

unsigned int n(uint32_t value)
{
    return value;
}

} // namespace

std::string RecordingCoreEngineCallback::describe(const WIFI_CREDENTIALS_s& c)
{
    std::ostringstream out;
    out << "{" << c.ssid << "/" << c.password << "/" << static_cast<unsigned int>(c.channel) << "/"
        << n(c.securityType) << "/" << c.port << "/" << c.ip << "/" << c.bssid << "}";
    return out.str();
}

void RecordingCoreEngineCallback::record(const std::string& call)
{
    expectNoLibraryLockHeld(call);
    std::lock_guard<std::mutex> lock(mMutex);
    mCalls.push_back(call);
}

void RecordingCoreEngineCallback::clear()
{
    std::lock_guard<std::mutex> lock(mMutex);
    mCalls.clear();
}

std::vector<std::string> RecordingCoreEngineCallback::calls() const
{
    std::lock_guard<std::mutex> lock(mMutex);
    return mCalls;
}

std::size_t RecordingCoreEngineCallback::count(const std::string& prefix) const
{
    std::size_t matches = 0;
    for (const std::string& call : calls()) {
        matches += call.compare(0, prefix.size(), prefix) == 0 ? 1 : 0;
    }
    return matches;
}

bool RecordingCoreEngineCallback::waitForCall(const std::string& prefix, std::chrono::milliseconds timeout,
                                              std::size_t times) const
{
    return veltest::waitUntil([&] { return count(prefix) >= times; }, timeout);
}

void RecordingCoreEngineCallback::onRcvMVELReady(bool ready)
{
    record((Call("onRcvMVELReady") << (ready ? "true" : "false")).str());
}

void RecordingCoreEngineCallback::onRcvFindTechnology(const unsigned int& vendorId, const unsigned int& productId,
                                                      const unsigned int& portNum, const std::string& serial,
                                                      const std::string& devpath)
{
    record((Call("onRcvFindTechnology") << vendorId << productId << portNum << serial << devpath).str());
}

void RecordingCoreEngineCallback::onRcvReqConnect(const TECHNOLOGY_e& technology, const std::string& deviceId,
                                                  const unsigned int& vendorId, const unsigned int& productId,
                                                  const unsigned int& portNum, const std::string& serial,
                                                  const std::string& devpath, const std::string& macAddress,
                                                  const CONNECT_CONDITION_e& cond)
{
    record((Call("onRcvReqConnect") << n(technology) << deviceId << vendorId << productId << portNum << serial
                                    << devpath << macAddress << n(cond))
               .str());
}

void RecordingCoreEngineCallback::onRcvReqConnectWireless(const std::string& deviceId,
                                                          const TECHNOLOGY_e& technology,
                                                          const std::string& deviceSppNodePath,
                                                          const std::string& information,
                                                          const CONNECT_CONDITION_e& cond)
{
    record((Call("onRcvReqConnectWireless") << deviceId << n(technology) << deviceSppNodePath << information
                                            << n(cond))
               .str());
}

void RecordingCoreEngineCallback::onRcvReqDisconnect(const TECHNOLOGY_e& technology, const std::string& deviceId,
                                                     const unsigned int& vendorId, const unsigned int& productId,
                                                     const unsigned int& portNum, const std::string& serial,
                                                     const std::string& devpath, const ORNA_DISCONN_REASON_e& reason)
{
    record((Call("onRcvReqDisconnect") << n(technology) << deviceId << vendorId << productId << portNum << serial
                                       << devpath << n(reason))
               .str());
}

void RecordingCoreEngineCallback::onRcvReqDisconnectWireless(const TECHNOLOGY_e& technology,
                                                             const std::string& deviceId, const std::string& info,
                                                             const ORNA_DISCONN_REASON_e& reason)
{
    record((Call("onRcvReqDisconnectWireless") << n(technology) << deviceId << info << n(reason)).str());
}

void RecordingCoreEngineCallback::onRcvReqDone(const CORE_REQUEST_e& coreRequest, const ORNA_RESULT_e& result,
                                               const std::string& coreInfo)
{
    record((Call("onRcvReqDone") << n(coreRequest) << n(result) << coreInfo).str());
}

void RecordingCoreEngineCallback::onRcvReqCheckCapability(const TECHNOLOGY_e& technology,
                                                          const std::string& deviceId, const unsigned int& vendorId,
                                                          const unsigned int& productId)
{
    record((Call("onRcvReqCheckCapability") << n(technology) << deviceId << vendorId << productId).str());
}

void RecordingCoreEngineCallback::onRcvReqCheckCapabilityWireless(const std::string& deviceId,
                                                                  const TECHNOLOGY_e& technology,
                                                                  const std::string& deviceSppNodePath,
                                                                  const std::string& BTMacAddress,
                                                                  const WIFI_CREDENTIALS_s& credentials)
{
    record((Call("onRcvReqCheckCapabilityWireless") << deviceId << n(technology) << deviceSppNodePath
                                                    << BTMacAddress << describe(credentials))
               .str());
}

void RecordingCoreEngineCallback::onRcvReqCheckCapabilityWirelessEx(
    const std::string& deviceId, const TECHNOLOGY_e& technology, const std::string& deviceSppNodePath,
    const std::string& BTMacAddress, const std::list<WIFI_CREDENTIALS_s>& credentialsList)
{
    std::string list = "[";
    for (const WIFI_CREDENTIALS_s& credentials : credentialsList) {
        list += (list.size() > 1 ? " " : "") + describe(credentials);
    }
    list += "]";
    record((Call("onRcvReqCheckCapabilityWirelessEx") << deviceId << n(technology) << deviceSppNodePath
                                                      << BTMacAddress << list)
               .str());
}

void RecordingCoreEngineCallback::onRcvInfoLinkLoss(const std::string& information)
{
    record((Call("onRcvInfoLinkLoss") << information).str());
}

void RecordingCoreEngineCallback::onRcvInfoLinkLossIP(const std::string& information)
{
    record((Call("onRcvInfoLinkLossIP") << information).str());
}

void RecordingCoreEngineCallback::onRcvChangedDeviceID(const std::string& information1,
                                                       const std::string& information2)
{
    record((Call("onRcvChangedDeviceID") << information1 << information2).str());
}

void RecordingCoreEngineCallback::onRcvOriginalDeviceInfo(const std::string& deviceId, const TECHNOLOGY_e& technology,
                                                          const unsigned int& value1, const unsigned int& value2)
{
    record((Call("onRcvOriginalDeviceInfo") << deviceId << n(technology) << value1 << value2).str());
}

void RecordingCoreEngineCallback::onRcvDeviceStatusChanged(const DEVICE_STATE_e& state,
                                                           const std::string& information1)
{
    record((Call("onRcvDeviceStatusChanged") << n(state) << information1).str());
}

} // namespace veltest
