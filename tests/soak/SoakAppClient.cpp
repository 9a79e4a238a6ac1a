// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// Soak client holding an application facade (kind 100). "request" sends a
// connect request, "query" asks synchronously whether the most devices are
// paired. Completions and link-loss notices are printed as they arrive:
//   completed connect <deviceId> <result>
//   linkloss <deviceId> <technology>
#include <csignal>
#include <cstdio>

#include "SoakClient.h"
#include "vel/VelCallBackApp.h"
#include "vel/VelComProxyApp.h"

namespace {

class SoakAppCallBack : public VelCallBackApp {
public:
    void onRcvMVELReady(bool ready) override { soak::say("ready %d", ready ? 1 : 0); }
    void onRcvResponseConnectService(std::string deviceId, TECHNOLOGY_e, int result) override
    {
        soak::say("completed connect %s %d", deviceId.c_str(), result);
    }
    void onRcvNoticeLinkLossToApp(std::string deviceId, TECHNOLOGY_e technology, int) override
    {
        soak::say("linkloss %s %u", deviceId.c_str(), static_cast<unsigned>(technology));
    }
};

// The library calls it until the process ends, from its own thread even
// while exit handlers run: it is never destroyed.
SoakAppCallBack* const gCallBack = new SoakAppCallBack();

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: vel_soak_app <command fifo>\n");
        return 2;
    }
    VelComProxyApp* app = VelComProxyApp::getInstance(static_cast<CLIENT_TYPE_e>(100), "soakapp", gCallBack);
    // As head-unit applications do: retry 10 s after a vanish.
    app->setSignalNoForRecovery(SIGUSR2);
    app->doInitialize();
    soak::say("started");
    return soak::runCommands(argv[1], {{"request", [app] {
                                             const long long start = soak::nowMs();
                                             const bool sent = app->doServiceConnect("soak-device",
                                                                                     static_cast<TECHNOLOGY_e>(2), "");
                                             soak::say("request ok=%d ms=%lld", sent ? 1 : 0, soak::nowMs() - start);
                                         }},
                                        {"query", [app] {
                                             const long long start = soak::nowMs();
                                             const bool answered = app->checkMaxPaired();
                                             soak::say("query ok=%d ms=%lld", answered ? 1 : 0,
                                                       soak::nowMs() - start);
                                         }}});
}
