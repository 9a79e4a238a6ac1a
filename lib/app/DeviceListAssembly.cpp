// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <cstring>

#include "AppLog.h"
#include "DeviceRecordBuffer.h"
#include "ImplVelComProxyApp.h"
#include "vel/VelCallBackApp.h"
#include "vel/VelLibShm.h"

bool VelComProxyApp::ImplVelComProxyApp::handleUpdatedDeviceInfo_l(DEVICE_LIST_TYPE _listType,
                                                                   unsigned _deviceCount, unsigned _result,
                                                                   VelCallBackApp* _pCb)
{
    if (!processReceivedDeviceList_l(_listType, static_cast<int>(_deviceCount))) {
        VEL_APP_LOG(DLT_LOG_ERROR, mName, "@@@ ERR. processReceivedDeviceList_l() failed!");
        return false;
    }
    switch (static_cast<unsigned>(_listType)) {
    case KNOWN_DEVICE_LIST:
        VEL_APP_LOG(DLT_LOG_INFO, mName, "calling.. _pCb->onRcvUpdateKnownDevices() size:", mKnownDeviceList.size());
        vellDisplayDeviceList_l(mKnownDeviceList);
        _pCb->onRcvUpdateKnownDevices(mKnownDeviceList, static_cast<int>(_result));
        break;
    case DISCOVERED_DEVICE_LIST:
        VEL_APP_LOG(DLT_LOG_INFO, mName, "calling.. _pCb->onRcvUpdateDiscoveredDevices() size:",
                    mDiscoveredDeviceList.size());
        vellDisplayDeviceList_l(mDiscoveredDeviceList);
        _pCb->onRcvUpdateDiscoveredDevices(mDiscoveredDeviceList, static_cast<int>(_result));
        break;
    default: // GCOVR_EXCL_LINE: processReceivedDeviceList_l() refused every other type above
        VEL_APP_LOG(DLT_LOG_ERROR, mName, "@@@ ERR. Unexpected device list type! Return!"); // GCOVR_EXCL_LINE
        return false;                                                                       // GCOVR_EXCL_LINE
    }
    releaseDeviceListResource_l(_listType);
    return true;
}

bool VelComProxyApp::ImplVelComProxyApp::processReceivedDeviceList_l(DEVICE_LIST_TYPE _listType, int _count)
{
    VEL_APP_LOG(DLT_LOG_INFO, mName, "_listType:", static_cast<unsigned>(_listType), ", _count:", _count);
    return composeDeviceList_l(_listType, _count);
}

bool VelComProxyApp::ImplVelComProxyApp::composeDeviceList_l(DEVICE_LIST_TYPE _listType, int _count)
{
    std::size_t readSize = 0;
    unsigned recordCount = 0;
    switch (static_cast<unsigned>(_listType)) {
    case KNOWN_DEVICE_LIST:
        // The known list is always read whole, whatever the notice said.
        resetDeviceList_l(_listType);
        readSize = VEL_DEVICE_LIST_BYTES;
        recordCount = VEL_MAX_DEVICE_COUNT;
        break;
    case DISCOVERED_DEVICE_LIST:
        resetDeviceList_l(_listType);
        if (_count == 0) {
            VEL_APP_LOG(DLT_LOG_WARN, mName, "@@@ WARN. (deviceCount == 0) is true! Do nothing! Return!");
            return true;
        }
        // The dispatch refuses such counts already; this keeps the size
        // computation below from ever overflowing the int the reader takes.
        if (_count < 0 || static_cast<unsigned>(_count) > VEL_MAX_DEVICE_COUNT) {
            VEL_APP_LOG(DLT_LOG_ERROR, mName, "@@@ ERR. Discovered device count:", _count,
                        " is above the limit of ", VEL_MAX_DEVICE_COUNT, "! Return!");
            return false;
        }
        recordCount = static_cast<unsigned>(_count);
        readSize = recordCount * sizeof(DEVICE);
        break;
    default:
        VEL_APP_LOG(DLT_LOG_ERROR, mName, "@@@ ERR. Unknown device list type. Return !");
        return false;
    }
    if (mpVellShm == nullptr) {
        VEL_APP_LOG(DLT_LOG_ERROR, mName, "@@@ ERR. mpVellShm is NULL! Return!");
        return false;
    }

    freeDeviceRecords(mpDeviceArray);
    mpDeviceArray = allocateDeviceRecords(readSize);
    if (mpDeviceArray == nullptr) {
        VEL_APP_LOG(DLT_LOG_ERROR, mName, "@@@ ERR. No memory for ", readSize, " bytes of device records! Return!");
        return false;
    }
    const bool read = mpVellShm->readData(mpDeviceArray, _listType, static_cast<int>(readSize));
    if (read) {
        changeArrayToList_l(_listType, recordCount);
        if (_listType == KNOWN_DEVICE_LIST) {
            composeDeviceListToIncludeValidItemOnly_l();
        }
    }
    freeDeviceRecords(mpDeviceArray);
    return read;
}

bool VelComProxyApp::ImplVelComProxyApp::changeArrayToList_l(DEVICE_LIST_TYPE _listType, unsigned _count)
{
    std::list<DEVICE>* pDevList = nullptr;
    switch (static_cast<unsigned>(_listType)) {
    case KNOWN_DEVICE_LIST:
        pDevList = &mKnownDeviceList;
        break;
    case DISCOVERED_DEVICE_LIST:
        pDevList = &mDiscoveredDeviceList;
        break;
    default:
        VEL_APP_LOG(DLT_LOG_ERROR, mName, "@@@ ERR. Unknown device list type! Return!");
        return false;
    }
    if (mpDeviceArray == nullptr) {
        VEL_APP_LOG(DLT_LOG_ERROR, mName, "@@@ ERR. (mpDeviceArray == NULL) is true! Return!");
        return false;
    }
    // An empty record is skipped, not taken as the end: records after it
    // still reach the application.
    for (unsigned index = 0; index < _count; ++index) {
        const DEVICE& record = mpDeviceArray[index];
        if (record.deviceId[0] != '\0') {
            pDevList->push_back(record);
        } else {
            VEL_APP_LOG(DLT_LOG_WARN, mName, "@@@ WARN. mpDeviceArray[", index, "]'s deviceId is empty!");
        }
    }
    VEL_APP_LOG(DLT_LOG_WARN, mName, "@@@ WARN. pDevList.size:", pDevList->size());
    return true;
}

void VelComProxyApp::ImplVelComProxyApp::resetDeviceList_l(DEVICE_LIST_TYPE _listType)
{
    switch (static_cast<unsigned>(_listType)) {
    case KNOWN_DEVICE_LIST:
        mKnownDeviceList.clear();
        break;
    case DISCOVERED_DEVICE_LIST:
        mDiscoveredDeviceList.clear();
        break;
    default:
        VEL_APP_LOG(DLT_LOG_ERROR, mName, "@@@ ERR. Unknown device list type.");
        break;
    }
}

void VelComProxyApp::ImplVelComProxyApp::releaseDeviceListResource_l(DEVICE_LIST_TYPE _listType)
{
    // The lists stay: the callbacks were handed references to them, which
    // hold until the next reading of the same list.
    switch (static_cast<unsigned>(_listType)) {
    case KNOWN_DEVICE_LIST:
        freeDeviceRecords(mpValidKnownDeviceArray);
        mValidKnownDeviceCount = 0;
        break;
    case DISCOVERED_DEVICE_LIST:
        freeDeviceRecords(mpDeviceArray);
        break;
    default:
        VEL_APP_LOG(DLT_LOG_ERROR, mName, "@@@ ERR. Unknown listType. (_listType:", static_cast<unsigned>(_listType));
        break;
    }
}

bool VelComProxyApp::ImplVelComProxyApp::composeDeviceListToIncludeValidItemOnly_l()
{
    if (mpDeviceArray == nullptr) {
        VEL_APP_LOG(DLT_LOG_ERROR, mName, "@@@ ERR. (mpDeviceArray == NULL) is true! Return!");
        return false;
    }
    // In the known list the first empty record marks the end of the valid ones.
    unsigned validCount = 0;
    while (validCount < VEL_MAX_DEVICE_COUNT) {
        if (mpDeviceArray[validCount].deviceId[0] == '\0') {
            VEL_APP_LOG(DLT_LOG_INFO, mName, "found last item in KnownDevie list. index:", validCount);
            break;
        }
        ++validCount;
    }
    freeDeviceRecords(mpValidKnownDeviceArray);
    mValidKnownDeviceCount = 0;
    if (validCount == 0) {
        return true;
    }
    // Every byte is copied over right below; zeroing it first would be a
    // second pass over up to a whole list for nothing.
    mpValidKnownDeviceArray = allocateUninitialisedDeviceRecords(validCount * sizeof(DEVICE));
    if (mpValidKnownDeviceArray == nullptr) {
        VEL_APP_LOG(DLT_LOG_ERROR, mName, "@@@ ERR. No memory for ", validCount, " valid device records! Return!");
        return false;
    }
    std::memcpy(mpValidKnownDeviceArray, mpDeviceArray, validCount * sizeof(DEVICE));
    mValidKnownDeviceCount = validCount;
    return true;
}

void VelComProxyApp::ImplVelComProxyApp::vellDisplayDeviceList_l(std::list<DEVICE>& _list)
{
    unsigned position = 0;
    for (const DEVICE& device : _list) {
        VEL_APP_LOG(DLT_LOG_INFO, mName, "[", position, "] deviceId:",
                    std::string(device.deviceId, deviceIdLength(device)));
        ++position;
    }
}
