// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <chrono>
#include <cstdlib>
#include <cstring>

namespace veltest {

// Factor by which every wait of the test support is widened. Emulated runs
// (make cross-test: target binaries under qemu-user) are several times slower
// than native ones and set VEL_TEST_TIME_SCALE; native runs leave it unset (1).
inline long timeScale()
{
    static const long scale = [] {
        const char* text = std::getenv("VEL_TEST_TIME_SCALE");
        const long value = text ? std::strtol(text, nullptr, 10) : 1;
        return value > 1 ? value : 1L;
    }();
    return scale;
}

// Whether the test binaries run under an emulator (qemu-user in make
// cross-test, which sets VEL_TEST_EMULATED=1): resident memory then includes
// the emulator's translation cache.
inline bool emulated()
{
    const char* text = std::getenv("VEL_TEST_EMULATED");
    return text != nullptr && std::strcmp(text, "1") == 0;
}

// A timeout widened for the run's speed.
inline std::chrono::milliseconds scaled(std::chrono::milliseconds timeout)
{
    return timeout * timeScale();
}

} // namespace veltest
