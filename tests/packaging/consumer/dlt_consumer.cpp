// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// A host that logs to DLT the way the documentation says: it links libvel-dlt
// and defines no vw_log_print. Prints where vw_log_print came from.
#include <dlfcn.h>
#include <vel/vel.h>

#include <cstdio>
#include <cstring>

int main()
{
    DltContext context{};
    orna::OrnaLogWrapper::instance(true)->registerContext(context, "USER", "consumer");
    orna::log(&context, DLT_LOG_INFO, "[USER] linked with libvel-dlt");
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&vw_log_print), &info) == 0 || info.dli_fname == nullptr) {
        return 1;
    }
    const char* slash = std::strrchr(info.dli_fname, '/');
    std::printf("vw_log_print from %s\n", slash != nullptr ? slash + 1 : info.dli_fname);
    return 0;
}
