// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "CoreEngineFixture.h"

namespace coretest {

RecordingCoreEngineCallback& processCallback()
{
    static auto* callback = new RecordingCoreEngineCallback();
    return *callback;
}

void ACoreEngineWithService::SetUp()
{
    ASSERT_TRUE(mBus.start());
    ASSERT_TRUE(mSim.start(simOptions()));
}

VelComProxyCoreEngine* ACoreEngineWithService::connectCore(VelCallBackCoreEngine* callback, CLIENT_TYPE_e clientType)
{
    VelComProxyCoreEngine* core = VelComProxyCoreEngine::getInstance(clientType, "coretest", callback);
    EXPECT_TRUE(core->doInitialize());
    EXPECT_TRUE(mSim.waitForLog("registerMe type=" + std::to_string(static_cast<unsigned int>(clientType)), kBusWait));
    // Registration is followed by the ready call on the same thread.
    if (callback == &processCallback()) {
        EXPECT_TRUE(processCallback().waitForCall("onRcvMVELReady(true)", kBusWait));
    } else if (callback != nullptr) {
        EXPECT_TRUE(veltest::LogCapture::waitFor("onRcvMVELReady not implemented", kBusWait));
    }
    return core;
}

std::vector<std::string> ACoreEngineWithService::simCalls(const std::string& method) const
{
    std::vector<std::string> calls;
    const std::string prefix = "call " + method + " ";
    for (const std::string& line : mSim.logLines()) {
        if (line.compare(0, prefix.size(), prefix) == 0) {
            calls.push_back(line);
        }
    }
    return calls;
}

bool ACoreEngineWithService::waitForSimCalls(const std::string& method, std::size_t times) const
{
    return mSim.waitForLog("call " + method + " ", kBusWait, times);
}

bool ACoreEngineWithService::control(const std::string& method, GVariant* parameters)
{
    GVariant* reply = mSim.control("com.qor.vel_sim.Core", method, parameters);
    if (reply == nullptr) {
        return false;
    }
    g_variant_unref(reply);
    return true;
}

GVariant* credentialsArray(const std::vector<WIFI_CREDENTIALS_s>& records)
{
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("a(ssyuuss)"));
    for (const WIFI_CREDENTIALS_s& r : records) {
        g_variant_builder_add(&builder, "(ssyuuss)", r.ssid.c_str(), r.password.c_str(), r.channel,
                              static_cast<guint32>(r.securityType), r.port, r.ip.c_str(), r.bssid.c_str());
    }
    return g_variant_builder_end(&builder);
}

} // namespace coretest
