// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// Writes the seed inputs under <directory>/<target>/: for each signal target
// a few well-formed parameter sets in the form the targets read back
// unchanged; for the store and log targets a few plain byte patterns.
//   vel_fuzz_seeds <directory>

#include <glib.h>
#include <glib/gstdio.h>

#include <cstdio>
#include <string>
#include <vector>

#include "VariantFromBytes.h"

namespace {

bool writeSeed(const std::string& directory, const std::string& target, int index, GBytes* bytes)
{
    const std::string folder = directory + "/" + target;
    g_mkdir_with_parents(folder.c_str(), 0755);
    const std::string path = folder + "/seed-" + std::to_string(index);
    gsize size = 0;
    const gchar* data = static_cast<const gchar*>(g_bytes_get_data(bytes, &size));
    GError* error = nullptr;
    const bool written = g_file_set_contents(path.c_str(), data, static_cast<gssize>(size), &error);
    if (!written) {
        std::fprintf(stderr, "vel_fuzz_seeds: %s\n", error->message);
        g_error_free(error);
    }
    return written;
}

bool writeValues(const std::string& directory, const std::string& target, const std::vector<const char*>& texts,
                 const char* type)
{
    int index = 0;
    for (const char* text : texts) {
        GError* error = nullptr;
        GVariant* value = g_variant_parse(G_VARIANT_TYPE(type), text, nullptr, nullptr, &error);
        if (value == nullptr) {
            std::fprintf(stderr, "vel_fuzz_seeds: %s: %s\n", text, error->message);
            g_error_free(error);
            return false;
        }
        g_variant_ref_sink(value);
        GBytes* bytes = velfuzz::seedFor(value);
        const bool written = writeSeed(directory, target, index++, bytes);
        g_bytes_unref(bytes);
        g_variant_unref(value);
        if (!written) {
            return false;
        }
    }
    return true;
}

bool writePatterns(const std::string& directory, const std::string& target)
{
    const gsize lengths[] = {16, 256, 2048};
    int index = 0;
    for (gsize length : lengths) {
        std::vector<guint8> pattern(length);
        for (gsize i = 0; i < length; ++i) {
            pattern[i] = static_cast<guint8>((i * 37 + length) & 0xff);
        }
        GBytes* bytes = g_bytes_new(pattern.data(), pattern.size());
        const bool written = writeSeed(directory, target, index++, bytes);
        g_bytes_unref(bytes);
        if (!written) {
            return false;
        }
    }
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: vel_fuzz_seeds <directory>\n");
        return 2;
    }
    const std::string directory = argv[1];
    bool ok = true;
    ok = ok && writeValues(directory, "fuzz_app_appRequestDone",
                           {"(0, 0, 'AA:BB:CC:DD:EE:FF', 1)", "(7, 1, '', 0)", "(3, 0, 'dev', 2)", "(6, 0, '', 0)"},
                           "(uusu)");
    ok = ok && writeValues(directory, "fuzz_app_checkFuncOpModeDone", {"(2, 0)", "(1, 0)", "(9, 1)"}, "(uu)");
    ok = ok && writeValues(directory, "fuzz_app_noticeToApp",
                           {"(0, '2', 0)", "(1, '3', 0)", "(1, '-1', 0)", "(3, 'dev', 0)", "(4, 'dev', 3)",
                            "(7, 'dev', 1)", "(5, 'x', 0)"},
                           "(usi)");
    ok = ok && writeValues(directory, "fuzz_app_noticeTechActiveInfo", {"([(1, true), (2, false)],)", "([],)"},
                           "(a(ub))");
    ok = ok && writeValues(directory, "fuzz_core_actionToCore",
                           {"(0, 1, 'dev', 1, 2, 3, 'serial', '/dev/bus/usb/1', 'AA:BB', 0, 0)",
                            "(1, 2, 'dev', 1, 2, 3, 'serial', '/dev/x', 'AA:BB', 1, 0)",
                            "(3, 2, 'dev', 1, 2, 3, 'serial', '/dev/x', 'AA:BB', 0, 2)",
                            "(6, 2, 'dev', 1, 2, 3, '', '', '', 0, 0)", "(2, 0, '', 0, 0, 0, '', '', '', 0, 0)"},
                           "(uusuuusssuu)");
    ok = ok && writeValues(directory, "fuzz_core_actionToCoreWireless",
                           {"(1, 2, 'dev', '/spp/0', 'info', 0, 0)", "(3, 6, 'dev', '/spp/0', 'info', 0, 1)",
                            "(3, 2, 'dev', '/spp/0', 'info', 0, 1)", "(3, 9, 'dev', '', '', 0, 0)"},
                           "(uusssuu)");
    ok = ok && writeValues(directory, "fuzz_core_checkCapability",
                           {"('dev', 2, '/spp/0', 'AA:BB', [('ssid', 'pass', 36, 3, 7236, '192.168.49.1', "
                            "'02:00:00:00:00:01')])",
                            "('dev', 2, '', '', @a(ssyuuss) [])"},
                           "(sussa(ssyuuss))");
    ok = ok && writeValues(directory, "fuzz_core_coreRequestDone", {"(1, 0, 'info')", "(7, 3, '')"}, "(uus)");
    ok = ok && writeValues(directory, "fuzz_core_noticeToCoreLinkLoss", {"('info',)", "('',)"}, "(s)");
    ok = ok && writeValues(directory, "fuzz_core_noticeToCore",
                           {"(6, 'old', 'new')", "(8, 'dev', '')", "(9, 'dev', '')", "(7, 'x', 'y')"}, "(uss)");
    for (const char* target : {"fuzz_store_reader", "fuzz_store_lists", "fuzz_log"}) {
        ok = ok && writePatterns(directory, target);
    }
    return ok ? 0 : 1;
}
