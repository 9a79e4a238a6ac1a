#include "InspectingCallBacks.h"

#include <cstring>

namespace velfuzz {

void InspectingAppCallBack::touch(const std::string& text)
{
    for (unsigned char c : text) {
        mChecksum += c;
    }
    ++mCalls;
}

void InspectingAppCallBack::touch(const std::list<DEVICE>& devices)
{
    for (const DEVICE& device : devices) {
        // Every record is read whole; a missing terminator must stay inside it.
        mChecksum += strnlen(device.deviceId, sizeof(device.deviceId));
        for (uint8_t byte : device.serviceFieldsHead) {
            mChecksum += byte;
        }
        for (uint8_t byte : device.serviceFieldsTail) {
            mChecksum += byte;
        }
        ++mDevices;
    }
    ++mCalls;
}

void InspectingCoreCallBack::touch(const std::string& text)
{
    for (unsigned char c : text) {
        mChecksum += c;
    }
    ++mCalls;
}

void InspectingCoreCallBack::touch(const WIFI_CREDENTIALS_s& credentials)
{
    touch(credentials.ssid);
    touch(credentials.password);
    touch(credentials.ip);
    touch(credentials.bssid);
    mChecksum += credentials.channel + credentials.port + static_cast<unsigned>(credentials.securityType);
}

void InspectingCoreCallBack::onRcvFindTechnology(const unsigned int& vendorId, const unsigned int& productId,
                                                 const unsigned int& portNum, const std::string& serial,
                                                 const std::string& devpath)
{
    mChecksum += vendorId + productId + portNum;
    touch(serial);
    touch(devpath);
}

void InspectingCoreCallBack::onRcvReqConnect(const TECHNOLOGY_e& technology, const std::string& deviceId,
                                             const unsigned int& vendorId, const unsigned int& productId,
                                             const unsigned int& portNum, const std::string& serial,
                                             const std::string& devpath, const std::string& macAddress,
                                             const CONNECT_CONDITION_e& cond)
{
    mChecksum += static_cast<unsigned>(technology) + vendorId + productId + portNum + static_cast<unsigned>(cond);
    touch(deviceId);
    touch(serial);
    touch(devpath);
    touch(macAddress);
}

void InspectingCoreCallBack::onRcvReqConnectWireless(const std::string& deviceId, const TECHNOLOGY_e& technology,
                                                     const std::string& deviceSppNodePath,
                                                     const std::string& information, const CONNECT_CONDITION_e& cond)
{
    mChecksum += static_cast<unsigned>(technology) + static_cast<unsigned>(cond);
    touch(deviceId);
    touch(deviceSppNodePath);
    touch(information);
}

void InspectingCoreCallBack::onRcvReqDisconnect(const TECHNOLOGY_e& technology, const std::string& deviceId,
                                                const unsigned int& vendorId, const unsigned int& productId,
                                                const unsigned int& portNum, const std::string& serial,
                                                const std::string& devpath, const ORNA_DISCONN_REASON_e& reason)
{
    mChecksum += static_cast<unsigned>(technology) + vendorId + productId + portNum + static_cast<unsigned>(reason);
    touch(deviceId);
    touch(serial);
    touch(devpath);
}

void InspectingCoreCallBack::onRcvReqDisconnectWireless(const TECHNOLOGY_e& technology, const std::string& deviceId,
                                                        const std::string& info, const ORNA_DISCONN_REASON_e& reason)
{
    mChecksum += static_cast<unsigned>(technology) + static_cast<unsigned>(reason);
    touch(deviceId);
    touch(info);
}

void InspectingCoreCallBack::onRcvReqDone(const CORE_REQUEST_e& coreRequest, const ORNA_RESULT_e& result,
                                          const std::string& coreInfo)
{
    mChecksum += static_cast<unsigned>(coreRequest) + static_cast<unsigned>(result);
    touch(coreInfo);
}

void InspectingCoreCallBack::onRcvReqCheckCapability(const TECHNOLOGY_e& technology, const std::string& deviceId,
                                                     const unsigned int& vendorId, const unsigned int& productId)
{
    mChecksum += static_cast<unsigned>(technology) + vendorId + productId;
    touch(deviceId);
}

void InspectingCoreCallBack::onRcvReqCheckCapabilityWireless(const std::string& deviceId,
                                                             const TECHNOLOGY_e& technology,
                                                             const std::string& deviceSppNodePath,
                                                             const std::string& BTMacAddress,
                                                             const WIFI_CREDENTIALS_s& credentials)
{
    mChecksum += static_cast<unsigned>(technology);
    touch(deviceId);
    touch(deviceSppNodePath);
    touch(BTMacAddress);
    touch(credentials);
}

void InspectingCoreCallBack::onRcvReqCheckCapabilityWirelessEx(const std::string& deviceId,
                                                               const TECHNOLOGY_e& technology,
                                                               const std::string& deviceSppNodePath,
                                                               const std::string& BTMacAddress,
                                                               const std::list<WIFI_CREDENTIALS_s>& credentials)
{
    mChecksum += static_cast<unsigned>(technology);
    touch(deviceId);
    touch(deviceSppNodePath);
    touch(BTMacAddress);
    for (const WIFI_CREDENTIALS_s& record : credentials) {
        touch(record);
    }
}

} // namespace velfuzz
