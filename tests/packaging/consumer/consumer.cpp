// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// A program written the way a libvel user writes one: only the umbrella header.
#include <vel/vel.h>

#include <cstdio>

int main()
{
    DltContext context{};
    orna::OrnaLogWrapper::instance(true)->registerContext(context, "USER", "consumer");
    orna::log(&context, DLT_LOG_INFO, "[USER] linked, DEVICE is ", sizeof(DEVICE), " bytes");
    std::printf("%s\n", g_type_name(com_qor_vel_communicator_proxy_get_type()));
    return sizeof(DEVICE) == 12492 ? 0 : 1;
}
