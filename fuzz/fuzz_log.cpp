// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// Log lines built from arbitrary pieces: whatever the pieces, the line the
// sink receives is exactly their concatenation with the stream's default
// formatting (cut at a NUL, as the sink takes a C string), a null text ends
// what is written for that message only, and the severity follows the level.

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

#include "FuzzSupport.h"
#include "log_contexts.h"
#include "vel/OrnaLogWrapper.h"

namespace {

DltContext gFuzzContext;

int severityOf(int level)
{
    switch (level) {
    case DLT_LOG_FATAL: return 0xE0;
    case DLT_LOG_ERROR: return 0xC0;
    case DLT_LOG_WARN: return 0xA0;
    case DLT_LOG_INFO: return 0x80;
    case DLT_LOG_DEBUG: return 0x40;
    case DLT_LOG_VERBOSE: return 0x20;
    default: return 0x60;
    }
}

// The library's contexts and one of our own; any of them may tag a line.
DltContext* contextFor(FuzzedDataProvider& input)
{
    DltContext* const contexts[] = {&VELLIB, &VELLIBAPP, &VELLIBCORE, &VELLIBCONTROLLER, &VELCBCAPP,
                                    &VELCBCORE, &VELCBCAGENT, &VELSIGNAL, &VEL_TIMER, &VELLIBSHM,
                                    &ORNA_SHM, &gFuzzContext, nullptr};
    return contexts[input.ConsumeIntegralInRange<size_t>(0, sizeof(contexts) / sizeof(contexts[0]) - 1)];
}

// The values a DltLogLevelType can hold, named or not.
DltLogLevelType levelFor(FuzzedDataProvider& input)
{
    return static_cast<DltLogLevelType>(input.ConsumeIntegralInRange<int>(-8, 7));
}

// Appends one piece of a type chosen by the input, both to the message under
// construction and to the expected text. Returns false once a null text has
// made the stream stop writing.
struct Expected {
    std::ostringstream text;
    bool writing = true;

    template <typename T>
    void add(orna::OrnaLogWrapper* wrapper, const T& value)
    {
        wrapper->append(value);
        if (writing) {
            text << value;
        }
    }
};

void appendPiece(FuzzedDataProvider& input, orna::OrnaLogWrapper* wrapper, Expected& expected)
{
    switch (input.ConsumeIntegralInRange<int>(0, 15)) {
    case 0: expected.add(wrapper, input.ConsumeIntegral<signed char>()); break;
    case 1: expected.add(wrapper, input.ConsumeIntegral<unsigned char>()); break;
    case 2: expected.add(wrapper, input.ConsumeIntegral<char>()); break;
    case 3: expected.add(wrapper, input.ConsumeIntegral<short>()); break;
    case 4: expected.add(wrapper, input.ConsumeIntegral<unsigned short>()); break;
    case 5: expected.add(wrapper, input.ConsumeIntegral<int>()); break;
    case 6: expected.add(wrapper, input.ConsumeIntegral<unsigned int>()); break;
    case 7: expected.add(wrapper, input.ConsumeIntegral<long>()); break;
    case 8: expected.add(wrapper, input.ConsumeIntegral<unsigned long>()); break;
    case 9: expected.add(wrapper, input.ConsumeIntegral<long long>()); break;
    case 10: expected.add(wrapper, input.ConsumeBool()); break;
    case 11: expected.add(wrapper, input.ConsumeFloatingPoint<double>()); break;
    case 12: {
        const std::string text = input.ConsumeRandomLengthString(512);
        expected.add(wrapper, text);
        break;
    }
    case 13: {
        const std::string text = input.ConsumeRandomLengthString(512);
        expected.add(wrapper, text.c_str());
        break;
    }
    case 14: {
        const void* pointer = reinterpret_cast<const void*>(input.ConsumeIntegral<uintptr_t>());
        expected.add(wrapper, pointer);
        break;
    }
    default: {
        // A null text writes nothing, and nothing more is written until the
        // message is sent.
        const char* nothing = nullptr;
        wrapper->append(nothing);
        expected.writing = false;
        break;
    }
    }
}

std::string smallId(FuzzedDataProvider& input)
{
    static const char kAlphabet[] = {'V', 'L', '\0'};
    std::string id;
    const size_t length = input.ConsumeIntegralInRange<size_t>(0, 5);
    for (size_t i = 0; i < length; ++i) {
        id += kAlphabet[input.ConsumeIntegralInRange<size_t>(0, 2)];
    }
    return id;
}

void check(const std::string& expectedText, int expectedSeverity)
{
    const std::string cut = expectedText.substr(0, expectedText.find('\0'));
    if (velfuzz::lastLogText() != cut || velfuzz::lastLogSeverity() != expectedSeverity) {
        std::fprintf(stderr, "log line differs:\n  got      (%#x) [%s]\n  expected (%#x) [%s]\n",
                     velfuzz::lastLogSeverity(), velfuzz::lastLogText().c_str(), expectedSeverity, cut.c_str());
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    velfuzz::abortOnGLibWarnings();
    orna::OrnaLogWrapper::instance(true)->registerContext(gFuzzContext, "FUZZ", "vel_fuzz_log");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    orna::OrnaLogWrapper* wrapper = orna::OrnaLogWrapper::instance(true);

    while (input.remaining_bytes() > 0) {
        const int shape = input.ConsumeIntegralInRange<int>(0, 3);
        const DltLogLevelType level = levelFor(input);
        DltContext* context = contextFor(input);
        if (shape == 0) {
            // The template every module calls, with a fixed set of piece types.
            const std::string tag = input.ConsumeRandomLengthString(64);
            const int number = input.ConsumeIntegral<int>();
            const std::string text = input.ConsumeRandomLengthString(256);
            const bool flag = input.ConsumeBool();
            orna::log(context, level, "[VELLIB]", tag, "[", __func__, "] ", "count : ", number, text.c_str(), flag);
            std::ostringstream expected;
            expected << "[VELLIB]" << tag << "[" << __func__ << "] "
                     << "count : " << number << text.c_str() << flag;
            check(expected.str(), severityOf(level));
        } else if (shape == 3) {
            // Registration bookkeeping with any ids: duplicates are refused,
            // an id longer than a context record's four characters is cut.
            // Ids come from a small alphabet (NUL included) so that the
            // lists, which only grow for ids that cannot be unregistered,
            // stay small over millions of runs.
            DltContext scratch{};
            const std::string id = smallId(input);
            const std::string description = input.ConsumeRandomLengthString(2100);
            wrapper->registerContext(scratch, id, description);
            wrapper->unregisterContext(scratch);
            wrapper->registerApp(smallId(input), description);
        } else {
            // The same steps orna::log takes, with any number and kind of pieces.
            Expected expected;
            wrapper->init(level, context);
            const size_t pieces = input.ConsumeIntegralInRange<size_t>(0, 24);
            for (size_t i = 0; i < pieces; ++i) {
                appendPiece(input, wrapper, expected);
            }
            wrapper->send();
            check(expected.text.str(), severityOf(level));
        }
    }
    return 0;
}
