#pragma once

#include "vel/VelComProxy.h"
#include "vel/VelTypes.h"

// The controller process's link to the MVEL service; its one request is a
// control-mode change. It subscribes to no signal and has no callbacks.
class VelComProxyController : public VelComProxy {
public:
    static VelComProxyController* getInstance();

    ~VelComProxyController() override;
    bool doInitialize() override;
    bool doRelease() override;
    bool subscribe() override;

    // False, with nothing queued, while the service is not connected.
    bool sendControlMode(unsigned int mode, unsigned int technology, ORNA_FUNC_ITEM_e item);

private:
    explicit VelComProxyController(const std::string& clientName);

    class ImplVelComProxyController;
    ImplVelComProxyController* mImpl;
};
