// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "LinkTestSupport.h"
#include "LogCapture.h"
#include "PrivateBus.h"
#include "SimProcess.h"
#include "TestFacade.h"
#include "WaitUntil.h"

namespace linktest {

constexpr CLIENT_TYPE_e kAppKind = static_cast<CLIENT_TYPE_e>(100);
constexpr CLIENT_TYPE_e kCoreKind = static_cast<CLIENT_TYPE_e>(200);

// A private bus with the simulator as a separate process. Facades are declared
// last, so they are gone before the simulator and the bus stop.
class AClientProxyWithService : public ::testing::Test {
protected:
    void SetUp() override
    {
        VelComProxy::mIsAppearedMVELService = false;
        VelComProxy::mSignalNoForAgent = -1;
        ASSERT_TRUE(bus.start());
        veltest::LogCapture::clear();
    }

    TestFacade& makeFacade(CLIENT_TYPE_e kind = kAppKind, const std::string& clientName = "client")
    {
        facades.push_back(std::make_unique<TestFacade>(kind, clientName, &agent));
        return *facades.back();
    }

    bool waitForEvents(std::size_t count, std::chrono::milliseconds timeout = std::chrono::seconds(30))
    {
        return veltest::waitUntil([&] { return agent.size() >= count; }, timeout);
    }

    // The line the simulator prints for a registerMe call from this process.
    static std::string registerCall(int kind, const std::string& clientName)
    {
        return "call registerMe (uint32 " + std::to_string(kind) + ", '[" + processName() + "." + clientName + "]')";
    }

    veltest::PrivateBus bus;
    veltest::SimProcess sim{bus};
    RecordingAgent agent;
    std::vector<std::unique_ptr<TestFacade>> facades;
};

} // namespace linktest
