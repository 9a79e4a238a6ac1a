// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "vel/VelCallBackCoreEngine.h"

#include "log_contexts.h"
#include "vel/OrnaLogWrapper.h"

// Holds nothing today; keeps the layout of the public class stable if the
// callback interface ever needs private state.
class VelCallBackCoreEngine::ImplVelCallBackCoreEngine {
public:
    virtual ~ImplVelCallBackCoreEngine() = default;
};

namespace {

void warnNotImplemented(const char* method)
{
    orna::log(&VELCBCORE, DLT_LOG_WARN, "[CBCORE] @@@ WARN. ", method, " not implemented");
}

} // namespace

VelCallBackCoreEngine::VelCallBackCoreEngine() : VelCallBackAgent(), mImpl(new ImplVelCallBackCoreEngine())
{
    try {
        orna::OrnaLogWrapper::instance(true)->registerContext(VELCBCORE, "CB_C", "vel_callback_coreengine");
        orna::log(&VELCBCORE, DLT_LOG_INFO, "[CBCORE] VelCallBackCoreEngine() constructor");
    } catch (...) {
        delete mImpl;
        throw;
    }
}

VelCallBackCoreEngine::~VelCallBackCoreEngine()
{
    orna::OrnaLogWrapper::instance(true)->unregisterContext(VELCBCORE);
    delete mImpl;
}

void VelCallBackCoreEngine::onRcvFindTechnology(const unsigned int&, const unsigned int&, const unsigned int&,
                                                const std::string&, const std::string&)
{
    warnNotImplemented("onRcvFindTechnology");
}

void VelCallBackCoreEngine::onRcvReqConnect(const TECHNOLOGY_e&, const std::string&, const unsigned int&,
                                            const unsigned int&, const unsigned int&, const std::string&,
                                            const std::string&, const std::string&, const CONNECT_CONDITION_e&)
{
    warnNotImplemented("onRcvReqConnect");
}

void VelCallBackCoreEngine::onRcvReqConnectWireless(const std::string&, const TECHNOLOGY_e&, const std::string&,
                                                    const std::string&, const CONNECT_CONDITION_e&)
{
    warnNotImplemented("onRcvReqConnectWireless");
}

void VelCallBackCoreEngine::onRcvReqDisconnect(const TECHNOLOGY_e&, const std::string&, const unsigned int&,
                                               const unsigned int&, const unsigned int&, const std::string&,
                                               const std::string&, const ORNA_DISCONN_REASON_e&)
{
    warnNotImplemented("onRcvReqDisconnect");
}

void VelCallBackCoreEngine::onRcvReqDisconnectWireless(const TECHNOLOGY_e&, const std::string&, const std::string&,
                                                       const ORNA_DISCONN_REASON_e&)
{
    warnNotImplemented("onRcvReqDisconnectWireless");
}

void VelCallBackCoreEngine::onRcvReqDone(const CORE_REQUEST_e&, const ORNA_RESULT_e&, const std::string&)
{
    warnNotImplemented("onRcvReqDone");
}

void VelCallBackCoreEngine::onRcvReqCheckCapability(const TECHNOLOGY_e&, const std::string&, const unsigned int&,
                                                    const unsigned int&)
{
    warnNotImplemented("onRcvReqCheckCapability");
}

void VelCallBackCoreEngine::onRcvReqCheckCapabilityWireless(const std::string&, const TECHNOLOGY_e&,
                                                            const std::string&, const std::string&,
                                                            const WIFI_CREDENTIALS_s&)
{
    warnNotImplemented("onRcvReqCheckCapabilityWireless");
}

void VelCallBackCoreEngine::onRcvReqCheckCapabilityWirelessEx(const std::string&, const TECHNOLOGY_e&,
                                                              const std::string&, const std::string&,
                                                              const std::list<WIFI_CREDENTIALS_s>&)
{
    warnNotImplemented("onRcvReqCheckCapabilityWirelessEx");
}

void VelCallBackCoreEngine::onRcvInfoLinkLoss(const std::string&)
{
    warnNotImplemented("onRcvInfoLinkLoss");
}

void VelCallBackCoreEngine::onRcvInfoLinkLossIP(const std::string&)
{
    warnNotImplemented("onRcvInfoLinkLossIP");
}

void VelCallBackCoreEngine::onRcvChangedDeviceID(const std::string&, const std::string&)
{
    warnNotImplemented("onRcvChangedDeviceID");
}

void VelCallBackCoreEngine::onRcvOriginalDeviceInfo(const std::string&, const TECHNOLOGY_e&, const unsigned int&,
                                                    const unsigned int&)
{
    warnNotImplemented("onRcvOriginalDeviceInfo");
}

void VelCallBackCoreEngine::onRcvDeviceStatusChanged(const DEVICE_STATE_e&, const std::string&)
{
    warnNotImplemented("onRcvDeviceStatusChanged");
}
