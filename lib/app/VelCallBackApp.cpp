// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "vel/VelCallBackApp.h"

#include "log_contexts.h"
#include "vel/OrnaLogWrapper.h"

// Room to grow without changing the layout of VelCallBackApp, which compiled
// applications derive from.
class VelCallBackApp::ImplVelCallBackApp {
public:
    virtual ~ImplVelCallBackApp() = default;
};

namespace {

void warnNotImplemented(const char* operation)
{
    orna::log(&VELCBCAPP, DLT_LOG_WARN, "[CBAPP] @@@ WARN. ", operation, " not implemented");
}

} // namespace

VelCallBackApp::VelCallBackApp() : VelCallBackAgent(), mImpl(new ImplVelCallBackApp())
{
    try {
        orna::OrnaLogWrapper::instance(true)->registerContext(VELCBCAPP, "CB_A", "vel_callback_app");
    } catch (...) {
        delete mImpl;
        mImpl = nullptr;
        throw;
    }
    orna::log(&VELCBCAPP, DLT_LOG_INFO, "[CBAPP] VelCallBackApp() constructor");
}

// Implicitly noexcept: a failure to unregister ends the process.
VelCallBackApp::~VelCallBackApp()
{
    orna::OrnaLogWrapper::instance(true)->unregisterContext(VELCBCAPP);
    delete mImpl;
}

void VelCallBackApp::onRcvResponseAbortDiscovery(int)
{
    warnNotImplemented("onRcvResponseAbortDiscovery");
}

void VelCallBackApp::onRcvResponseConnectService(std::string, TECHNOLOGY_e, int)
{
    warnNotImplemented("onRcvResponseConnectService");
}

void VelCallBackApp::onRcvResponseDisconnectService(std::string, TECHNOLOGY_e, int)
{
    warnNotImplemented("onRcvResponseDisconnectService");
}

void VelCallBackApp::onRcvResponseEmergencyCallIndicator(int)
{
    warnNotImplemented("onRcvResponseEmergencyCallIndicator");
}

void VelCallBackApp::onRcvResponseReconnectSuspend(int)
{
    warnNotImplemented("onRcvResponseReconnectSuspend");
}

void VelCallBackApp::onRcvResponseRejectTechnologySelection(std::string, int)
{
    warnNotImplemented("onRcvResponseRejectTechnologySelection");
}

void VelCallBackApp::onRcvResponseRemoveDevice(std::string, int)
{
    warnNotImplemented("onRcvResponseRemoveDevice");
}

void VelCallBackApp::onRcvResponseRestoreFactorySettings(int)
{
    warnNotImplemented("onRcvResponseRestoreFactorySettings");
}

void VelCallBackApp::onRcvResponseSetPrioritizedDevice(int)
{
    warnNotImplemented("onRcvResponseSetPrioritizedDevice");
}

void VelCallBackApp::onRcvResponseStartReconnect(int)
{
    warnNotImplemented("onRcvResponseStartReconnect");
}

void VelCallBackApp::onRcvResponseStartDiscovery(int)
{
    warnNotImplemented("onRcvResponseStartDiscovery");
}

void VelCallBackApp::onRcvUpdateDeviceDisconnectionInfo(std::string, TECHNOLOGY_e, int, int)
{
    warnNotImplemented("onRcvUpdateDeviceDisconnectionInfo");
}

void VelCallBackApp::onRcvUpdateDiscoveredDevices(std::list<DEVICE>&, int)
{
    // Established text: it names the neighbouring operation, and log
    // consumers already match on it.
    warnNotImplemented("onRcvUpdateDeviceDisconnectionInfo");
}

void VelCallBackApp::onRcvUpdateEmergencyCallIndicator(bool, int)
{
    warnNotImplemented("onRcvUpdateEmergencyCallIndicator");
}

void VelCallBackApp::onRcvUpdateGetTechnologySelection(std::string, int)
{
    warnNotImplemented("onRcvUpdateGetTechnologySelection");
}

void VelCallBackApp::onRcvUpdateIncomingServiceRequestLimitExceeded(std::string, TECHNOLOGY_e, int)
{
    warnNotImplemented("onRcvUpdateIncomingServiceRequestLimitExceeded");
}

void VelCallBackApp::onRcvNoticeLinkLossToApp(std::string, TECHNOLOGY_e, int)
{
    warnNotImplemented("onRcvNoticeLinkLossToApp");
}

void VelCallBackApp::onRcvUpdateKnownDevices(std::list<DEVICE>&, int)
{
    warnNotImplemented("onRcvUpdateKnownDevices");
}

void VelCallBackApp::onRcvUpdateSingleDeviceCoexMode(bool, int)
{
    warnNotImplemented("onRcvUpdateSingleDeviceCoexMode");
}

bool VelCallBackApp::onRcvTechActiveInfo(std::vector<TECH_ACTIVE_INFO_s>)
{
    warnNotImplemented("onRcvTechActiveInfo");
    return true;
}
