// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// One subscribed signal of the application side, with any parameters: the
// handler the bus calls must log and drop what it cannot use, never crash,
// leak or trip a GLib check. The signal is chosen at build time
// (VEL_FUZZ_SIGNAL, with its proper type VEL_FUZZ_TYPE).

#include <cstdlib>

#include "FuzzSupport.h"
#include "RecordingCallBack.h"
#include "VariantFromBytes.h"
#include "vel/VelComProxyApp.h"

#ifndef VEL_FUZZ_SIGNAL
#error "VEL_FUZZ_SIGNAL names the signal to feed"
#endif

namespace {

VelComProxyApp* gFacade = nullptr;
// Recording copies every byte the callbacks are handed, so the sanitizers
// see all of it.
veltest::RecordingCallBack gFirst("first");
veltest::RecordingCallBack gSecond("second");

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    velfuzz::abortOnGLibWarnings();
    // No bus: the facade must never reach one while the fuzzer runs.
    setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/vel-fuzz-bus", 1);
    gFacade = VelComProxyApp::getInstance(static_cast<CLIENT_TYPE_e>(100), "velfuzz", &gFirst);
    VelComProxyApp::getInstance(static_cast<CLIENT_TYPE_e>(100), "velfuzz", &gSecond);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    veltest::RecordingCallBack::clearAll();
    FuzzedDataProvider input(data, size);
    GVariant* parameters = velfuzz::variantFromBytes(input, VEL_FUZZ_TYPE);
    VelComProxyApp::onVelLibraryAppCallBack(nullptr, ":1.7", "/com/qor/vel_communicator", "com.qor.vel_communicator",
                                            VEL_FUZZ_SIGNAL, parameters, gFacade);
    if (parameters != nullptr) {
        g_variant_unref(parameters);
    }
    return 0;
}
