// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// One subscribed signal of the core-engine side, with any parameters; see
// fuzz_app_signal.cpp.

#include <cstdlib>

#include "FuzzSupport.h"
#include "RecordingCoreEngineCallback.h"
#include "VariantFromBytes.h"
#include "vel/VelComProxyCoreEngine.h"

#ifndef VEL_FUZZ_SIGNAL
#error "VEL_FUZZ_SIGNAL names the signal to feed"
#endif

namespace {

VelComProxyCoreEngine* gFacade = nullptr;
// Recording copies every byte the callback is handed, so the sanitizers see
// all of it.
veltest::RecordingCoreEngineCallback gCallBack;

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    velfuzz::abortOnGLibWarnings();
    setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/vel-fuzz-bus", 1);
    gFacade = VelComProxyCoreEngine::getInstance(static_cast<CLIENT_TYPE_e>(200), "velfuzz", &gCallBack);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    gCallBack.clear();
    FuzzedDataProvider input(data, size);
    GVariant* parameters = velfuzz::variantFromBytes(input, VEL_FUZZ_TYPE);
    VelComProxyCoreEngine::onVelLibraryCoreengineCallBack(nullptr, ":1.7", "/com/qor/vel_communicator",
                                                          "com.qor.vel_communicator", VEL_FUZZ_SIGNAL, parameters,
                                                          gFacade);
    if (parameters != nullptr) {
        g_variant_unref(parameters);
    }
    return 0;
}
