// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// Soak client holding a core-engine facade (kind 200). "request" asks
// synchronously for the head unit's Bluetooth address.
#include <csignal>
#include <cstdio>
#include <string>

#include "SoakClient.h"
#include "vel/VelCallBackCoreEngine.h"
#include "vel/VelComProxyCoreEngine.h"

namespace {

class SoakCoreCallBack : public VelCallBackCoreEngine {
public:
    void onRcvMVELReady(bool ready) override { soak::say("ready %d", ready ? 1 : 0); }
};

// The library calls it until the process ends, from its own thread even
// while exit handlers run: it is never destroyed.
SoakCoreCallBack* const gCallBack = new SoakCoreCallBack();

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: vel_soak_core <command fifo>\n");
        return 2;
    }
    VelComProxyCoreEngine* core =
        VelComProxyCoreEngine::getInstance(static_cast<CLIENT_TYPE_e>(200), "soakcore", gCallBack);
    core->setSignalNoForRecovery(SIGUSR2);
    core->doInitialize();
    soak::say("started");
    return soak::runCommands(argv[1], {{"request", [core] {
                                             const long long start = soak::nowMs();
                                             std::string mac;
                                             const bool answered = core->sendReqGetHUBTMacAddressSync(
                                                 static_cast<CLIENT_TYPE_e>(200), COREREQ_GET_HU_BT_MAC, mac);
                                             soak::say("request ok=%d ms=%lld %s", answered ? 1 : 0,
                                                       soak::nowMs() - start, mac.c_str());
                                         }}});
}
