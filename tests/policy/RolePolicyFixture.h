// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <gio/gio.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include "ChildProcess.h"
#include "SoakRig.h"
#include "StockSystemBus.h"

namespace policytest {

// Who a test process runs as, and its part of the role table of
// docs/security.md.
struct Identity {
    std::string name;
    std::vector<std::string> wrapper;
    std::set<std::string> methods;
    std::set<std::string> signals;
};

// root, nobody without groups, and a user of each role group, in that order.
std::vector<Identity> identities();

std::vector<std::string> lines(const std::string& text);

// The stock system bus of the test's kind with the shipped policy, and the
// simulator as the service, run by root as the service's account.
class RolePolicyFixture : public ::testing::TestWithParam<veltest::SystemBusKind> {
protected:
    void SetUp() override;
    void TearDown() override;

    // Starts a program as the identity; its stdout and stderr go to the
    // returned file.
    std::string start(veltest::ChildProcess& process, const Identity& identity, const std::vector<std::string>& argv);
    // Runs it to its end (up to 60 s) and returns what it printed.
    std::string run(const Identity& identity, const std::vector<std::string>& argv, int* status = nullptr);

    veltest::StockSystemBus mBus{GetParam(), VEL_POLICY_FILE};
    soak::BusConnectionSource mConnection = [this] { return mBus.testConnection(); };
    soak::Service mService{mConnection};
    veltest::TempDir mDir;
    int mOutputs = 0;
};

std::string busName(const ::testing::TestParamInfo<veltest::SystemBusKind>& info);

} // namespace policytest
