// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "vel/VelComProxyController.h"

#include "DispatchGate.h"
#include "ProxyReference.h"
#include "log_contexts.h"
#include "vel/OrnaLogWrapper.h"
#include "vel/VelLibUtil.h"

// Keeps the adjusted name for the log tag of the controller's own lines.
class VelComProxyController::ImplVelComProxyController {
public:
    explicit ImplVelComProxyController(const std::string& name) : mName(name) {}
    virtual ~ImplVelComProxyController() = default;

    // "[VELLIBCONT]<name>[<function>] <text>"
    template <typename... Pieces>
    void log(DltLogLevelType level, const char* function, const Pieces&... pieces) const
    {
        orna::log(&VELLIBCONTROLLER, level, "[VELLIBCONT]", mName, "[", function, "] ", pieces...);
    }

    const std::string mName;
};

namespace {

constexpr CLIENT_TYPE_e kControllerClientType = CLIENT_TYPE_CONTROLLER;

} // namespace

VelComProxyController* VelComProxyController::getInstance()
{
    orna::OrnaLogWrapper::instance(true)->registerContext(VELLIBCONTROLLER, "LIBL", "vel_library_controller");
    orna::log(&VELLIBCONTROLLER, DLT_LOG_INFO, "[VELLIBCONT][", __func__, "] ", "getInstance");
    // Formed on every call; only the first call's name is used.
    const std::string clientName = std::string("libvel.controller.") + VelLibUtil::getClientName();
    static VelComProxyController instance(clientName);
    return &instance;
}

VelComProxyController::VelComProxyController(const std::string& clientName)
    : VelComProxy(kControllerClientType, clientName, nullptr), mImpl(new ImplVelComProxyController(mName))
{
    mImpl->log(DLT_LOG_INFO, __func__, "constructor");
}

VelComProxyController::~VelComProxyController()
{
    mImpl->log(DLT_LOG_INFO, __func__, "destructor");
    // A link callback on the main-loop thread may still be in subscribe().
    DispatchGate* gate = DispatchGate::forOwner(static_cast<VelComProxy*>(this));
    if (gate != nullptr && !gate->closeAndDrain(DispatchGate::kDestructionWait)) {
        return;
    }
    delete mImpl;
}

bool VelComProxyController::doInitialize()
{
    mImpl->log(DLT_LOG_INFO, __func__, "doInitialize");
    return prepareToCommunicateWithStub();
}

bool VelComProxyController::doRelease()
{
    mImpl->log(DLT_LOG_INFO, __func__, "doRelease");
    return true;
}

bool VelComProxyController::subscribe()
{
    // The service sends the controller nothing to listen to.
    mImpl->log(DLT_LOG_INFO, __func__, "subscribe");
    return true;
}

bool VelComProxyController::sendControlMode(unsigned int mode, unsigned int technology, ORNA_FUNC_ITEM_e item)
{
    mImpl->log(DLT_LOG_INFO, __func__, "_mode: ", mode, " _technology: ", technology, " _item: ", item);
    // Held across the call: a vanish on the main-loop thread cannot free it.
    vel_link::ProxyReference proxy(mProxy);
    if (!checkProxyAvailable() || !proxy) {
        return false;
    }
    com_qor_vel_communicator_call_send_control_mode(proxy.get(), mode, technology, item, nullptr, nullptr,
                                                    nullptr);
    return true;
}
