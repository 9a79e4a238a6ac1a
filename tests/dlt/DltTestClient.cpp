// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// A libvel host that logs through libvel-dlt and nothing else: it has no
// vw_log_print of its own. It registers some of the library's contexts as the
// library's modules do, then follows the commands that the test appends to a
// file, one per line, and answers each on stdout with "ok <n>":
//   log <context id> <level> <text>   one line through orna::log
//   burst <count>                     count lines in each registered context
//   enabled <context id> <level>      prints "enabled" or "disabled" first
//   exit                              returns from main (status 0)
//   exit-while-logging                returns from main while another thread
//                                     keeps logging in every context
#include <chrono>
#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <thread>

#include "log_contexts.h"
#include "vel/OrnaLogWrapper.h"

namespace {

std::map<std::string, DltContext*> registerContexts()
{
    orna::OrnaLogWrapper* wrapper = orna::OrnaLogWrapper::instance(true);
    wrapper->registerApp("VELL", "vel_library");
    wrapper->registerContext(VELLIB, "VELL", "vel_library");
    wrapper->registerContext(VELLIBAPP, "LIBA", "vel_library_application");
    wrapper->registerContext(VELLIBCORE, "LIBC", "vel_library_coreengine");
    wrapper->registerContext(VELLIBSHM, "LIBS", "vel_library_semaphore");
    wrapper->registerContext(ORNA_SHM, "VSHM", "orna_sharedmemory");
    wrapper->registerContext(VEL_TIMER, "VELT", "VelTimer");
    wrapper->registerContext(VELCBCAGENT, "CBAG", "vel_callback_agent");
    return {{"VELL", &VELLIB},    {"LIBA", &VELLIBAPP}, {"LIBC", &VELLIBCORE},  {"LIBS", &VELLIBSHM},
            {"VSHM", &ORNA_SHM}, {"VELT", &VEL_TIMER}, {"CBAG", &VELCBCAGENT}};
}

// Logs until the process is gone, as a library thread may during exit.
void logForever()
{
    DltContext* const contexts[] = {&VELLIB, &VELLIBAPP, &VELLIBCORE, &VELLIBSHM, &ORNA_SHM, &VEL_TIMER, &VELCBCAGENT};
    for (unsigned long line = 0;; ++line) {
        for (DltContext* context : contexts) {
            orna::log(context, DLT_LOG_INFO, "[LATE] line ", line);
        }
    }
}

void answer(const std::string& text)
{
    std::printf("%s\n", text.c_str());
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s <command file>\n", argv[0]);
        return 2;
    }
    const std::map<std::string, DltContext*> contexts = registerContexts();
    answer("ready");

    std::streamoff done = 0;
    int count = 0;
    for (;;) {
        std::ifstream file(argv[1]);
        file.seekg(done);
        std::string line;
        bool progressed = false;
        while (file.good() && std::getline(file, line) && !file.eof()) {
            done = file.tellg();
            progressed = true;
            std::istringstream words(line);
            std::string verb;
            words >> verb;
            if (verb == "exit-while-logging") {
                std::thread(logForever).detach();
                std::this_thread::sleep_for(std::chrono::milliseconds(100));
                answer("ok " + std::to_string(++count));
                return 0;
            }
            if (verb == "exit") {
                answer("ok " + std::to_string(++count));
                return 0;
            }
            if (verb == "log" || verb == "enabled") {
                std::string id;
                int level = 0;
                words >> id >> level;
                words.get();
                std::string text;
                std::getline(words, text);
                auto found = contexts.find(id);
                DltContext* context = found != contexts.end() ? found->second : nullptr;
                if (verb == "log") {
                    orna::log(context, static_cast<DltLogLevelType>(level), text);
                } else {
                    answer(orna::isLogLevelEnabled(context, static_cast<DltLogLevelType>(level)) ? "enabled"
                                                                                                 : "disabled");
                }
            } else if (verb == "burst") {
                int lines = 0;
                words >> lines;
                for (int i = 0; i < lines; ++i) {
                    for (const auto& entry : contexts) {
                        orna::log(entry.second, DLT_LOG_INFO, "[BURST][", entry.first, "] line ", i);
                    }
                }
            }
            answer("ok " + std::to_string(++count));
        }
        if (!progressed) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }
}
