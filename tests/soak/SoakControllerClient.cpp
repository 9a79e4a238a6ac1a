// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// Soak client holding the controller facade (kind 400), which has no
// callback: the service's log shows its registrations and requests.
// "request" sends a control-mode change.
#include <cstdio>

#include "SoakClient.h"
#include "vel/VelComProxyController.h"

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: vel_soak_controller <command fifo>\n");
        return 2;
    }
    VelComProxyController* controller = VelComProxyController::getInstance();
    controller->doInitialize();
    soak::say("started");
    return soak::runCommands(argv[1], {{"request", [controller] {
                                             const long long start = soak::nowMs();
                                             const bool sent = controller->sendControlMode(
                                                 7, 2, static_cast<ORNA_FUNC_ITEM_e>(1));
                                             soak::say("request ok=%d ms=%lld", sent ? 1 : 0,
                                                       soak::nowMs() - start);
                                         }}});
}
