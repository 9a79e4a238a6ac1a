// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <gio/gio.h>

#include <cstdint>
#include <string>
#include <vector>

namespace velbench {

// The simulator's control interfaces, called over the given connection.
// Failures are printed on stderr and reported as false / empty results.
class SimControl {
public:
    explicit SimControl(GDBusConnection* connection);
    ~SimControl();

    SimControl(const SimControl&) = delete;
    SimControl& operator=(const SimControl&) = delete;

    // `count` copies of a service signal at `ratePerSecond` (0: a flood). Any
    // string field "@now" carries the emission time (CLOCK_MONOTONIC ns).
    bool emitMany(const char* signal, GVariant* params, unsigned count, unsigned ratePerSecond);
    // Emission times of the last stream, in order.
    std::vector<std::uint64_t> emitTimes();
    // Waits until `count` calls of `member` arrived since resetCalls(); the
    // number seen when it returns.
    unsigned waitCalls(const char* member, unsigned count, unsigned timeoutMs);
    bool resetCalls();

    bool setPaired(const std::vector<std::string>& deviceIds);
    // `count` distinct credential records for the core engine's query.
    bool setWifiCredentials(unsigned count);
    bool publishKnown(const std::vector<std::string>& deviceIds);

private:
    GVariant* call(const char* interface, const char* method, GVariant* params, int timeoutMs);

    GDBusConnection* mpConnection;
};

} // namespace velbench
