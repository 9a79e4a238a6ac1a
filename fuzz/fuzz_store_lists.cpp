// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// Device-list assembly through the application facade: a known- or
// discovered-devices notice with any count, over any store contents. Every
// delivered list holds only records whose identifier is not empty, each
// read within its record, and the semaphore is given back.

#include <glib.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "FuzzSupport.h"
#include "RecordingCallBack.h"
#include "StoreFixture.h"
#include "vel/VelComProxyApp.h"

namespace {

VelComProxyApp* gFacade = nullptr;
// Recording copies every byte the callbacks are handed, so the sanitizers
// see all of it.
veltest::RecordingCallBack gFirst("first");
veltest::RecordingCallBack gSecond("second");

std::string countText(FuzzedDataProvider& input)
{
    switch (input.ConsumeIntegralInRange<int>(0, 3)) {
    case 0:
        return std::to_string(input.ConsumeIntegralInRange<int>(-2, 12));
    case 1:
        return std::to_string(input.ConsumeIntegral<long long>());
    case 2:
        return "99999999999999999999";
    default: {
        const std::string raw = input.ConsumeRandomLengthString(24);
        gchar* valid = g_utf8_make_valid(raw.data(), static_cast<gssize>(raw.size()));
        std::string text(valid);
        g_free(valid);
        return text;
    }
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    velfuzz::abortOnGLibWarnings();
    setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/vel-fuzz-bus", 1);
    velfuzz::StoreFixture::create();
    gFacade = VelComProxyApp::getInstance(static_cast<CLIENT_TYPE_e>(100), "velfuzz", &gFirst);
    VelComProxyApp::getInstance(static_cast<CLIENT_TYPE_e>(100), "velfuzz", &gSecond);
    // What the facade does when the service first appears: open the store.
    if (!gFacade->lazyInitialize()) {
        std::fprintf(stderr, "the facade could not open the store\n");
        std::abort();
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    veltest::RecordingCallBack::clearAll();
    FuzzedDataProvider input(data, size);
    velfuzz::StoreFixture::rewriteKnown(input);
    velfuzz::StoreFixture::rewriteDiscovered(input);

    const int notices = input.ConsumeIntegralInRange<int>(1, 2);
    for (int i = 0; i < notices; ++i) {
        const guint32 notice = input.ConsumeIntegralInRange<guint32>(0, 1);
        const std::string count = countText(input);
        GVariant* parameters =
            g_variant_ref_sink(g_variant_new("(usi)", notice, count.c_str(), input.ConsumeIntegral<gint32>()));
        VelComProxyApp::onVelLibraryAppCallBack(nullptr, ":1.7", "/com/qor/vel_communicator",
                                                "com.qor.vel_communicator", "noticeToApp", parameters, gFacade);
        g_variant_unref(parameters);
        if (velfuzz::StoreFixture::semaphoreValue() != 1) {
            std::fprintf(stderr, "a list notice left the semaphore at %d\n",
                         velfuzz::StoreFixture::semaphoreValue());
            std::abort();
        }
    }
    return 0;
}
