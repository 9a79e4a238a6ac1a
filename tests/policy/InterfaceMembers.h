// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <gio/gio.h>

#include <string>
#include <vector>

namespace policytest {

// One member of the service's object that a client can try to call, with a
// body of the right type.
struct MethodTry {
    const char* interface;
    const char* member;
    GVariant* (*body)();
};

// Every method of com.qor.vel_communicator in declaration order, then the
// standard interfaces the object answers on.
const std::vector<MethodTry>& everyMethod();

// One signal of com.qor.vel_communicator with a body of the right type.
struct SignalEmission {
    const char* member;
    GVariant* (*body)();
};

// Every signal of com.qor.vel_communicator in declaration order.
const std::vector<SignalEmission>& everySignal();

// The name a probe prints for a method: the member, qualified by its
// interface unless it is the service's own.
std::string printedName(const MethodTry& method);

} // namespace policytest
