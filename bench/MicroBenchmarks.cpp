// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// Costs measured inside this process without the bus: a library log line
// against snprintf of the same text, and the copy of a whole known-device
// list out of the mapped store into an aligned and a misaligned buffer.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <list>
#include <string>
#include <vector>

#include "BenchClock.h"
#include "BenchOptions.h"
#include "BenchRegistry.h"
#include "LogLineSample.h"
#include "Results.h"
#include "Stats.h"
#include "vel/VelTypes.h"

namespace velbench {

namespace {

constexpr const char* kKnownDevicesFile = "/data/qor/vel/vel.known_devices";
constexpr std::size_t kPage = 4096;

void publishMedian(benchmark::State& state, const std::string& key, const std::vector<double>& samples,
                   const char* counter, double scale)
{
    const double value = median(samples) * scale;
    Results::instance().set(key, value);
    state.counters[counter] = value;
}

void logLineNullSink(benchmark::State& state)
{
    const std::string name = kSampleName;
    std::vector<double> perLine;
    for (auto _ : state) {
        const std::uint64_t start = nowNs();
        for (int line = 0; line < kLinesPerBatch; ++line) {
            logSampleLine(name, static_cast<unsigned>(line));
        }
        perLine.push_back(static_cast<double>(nowNs() - start) / kLinesPerBatch);
    }
    publishMedian(state, "log.null_ns", perLine, "ns_per_line", 1.0);
}

void snprintfSameText(benchmark::State& state)
{
    const std::string name = kSampleName;
    char buffer[256];
    std::vector<double> perLine;
    for (auto _ : state) {
        const std::uint64_t start = nowNs();
        for (int line = 0; line < kLinesPerBatch; ++line) {
            benchmark::DoNotOptimize(formatSampleLine(buffer, sizeof(buffer), name, static_cast<unsigned>(line)));
            benchmark::ClobberMemory();
        }
        perLine.push_back(static_cast<double>(nowNs() - start) / kLinesPerBatch);
    }
    publishMedian(state, "log.snprintf_ns", perLine, "ns_per_line", 1.0);
}

// The known-device file mapped the way the device-store reader maps it.
const char* mappedKnownList()
{
    static const char* mapping = [] {
        const int fd = open(kKnownDevicesFile, O_RDONLY | O_CLOEXEC);
        if (fd < 0) {
            return static_cast<const char*>(nullptr);
        }
        void* address = mmap(nullptr, VEL_DEVICE_LIST_BYTES, PROT_READ, MAP_SHARED, fd, 0);
        close(fd);
        return address == MAP_FAILED ? static_cast<const char*>(nullptr) : static_cast<const char*>(address);
    }();
    return mapping;
}

void copyKnownList(benchmark::State& state, std::size_t pageOffset, const char* key)
{
    const char* source = mappedKnownList();
    void* buffer = nullptr;
    if (source == nullptr || posix_memalign(&buffer, kPage, VEL_DEVICE_LIST_BYTES + 2 * kPage) != 0) {
        Results::instance().recordFailure(std::string("copy: no mapped store at ") + kKnownDevicesFile);
        state.SkipWithError("no mapped store");
        return;
    }
    char* destination = static_cast<char*>(buffer) + pageOffset;
    std::memset(buffer, 0, VEL_DEVICE_LIST_BYTES + 2 * kPage);
    for (int warm = 0; warm < 100; ++warm) {
        std::memcpy(destination, source, VEL_DEVICE_LIST_BYTES);
        benchmark::ClobberMemory();
    }
    std::vector<double> samples;
    for (auto _ : state) {
        const std::uint64_t start = nowNs();
        std::memcpy(destination, source, VEL_DEVICE_LIST_BYTES);
        benchmark::ClobberMemory();
        samples.push_back(static_cast<double>(nowNs() - start));
    }
    std::free(buffer);
    publishMedian(state, key, samples, "us_per_copy", 1e-3);
}

// The least that delivering a known list costs under its contract, with no
// bus, no log and a warm cache: the read buffer zeroed, the whole list copied
// out of the mapping into it, every record copied into a node of its own of
// the std::list handed to the callback, and the valid leading records copied
// once more.
void deviceListFloor(benchmark::State& state)
{
    const char* source = mappedKnownList();
    void* readBuffer = nullptr;
    void* validBuffer = nullptr;
    const std::size_t rounded = (VEL_DEVICE_LIST_BYTES + kPage - 1) / kPage * kPage;
    if (source == nullptr || posix_memalign(&readBuffer, kPage, rounded) != 0 ||
        posix_memalign(&validBuffer, kPage, rounded) != 0) {
        Results::instance().recordFailure(std::string("device list floor: no mapped store at ") + kKnownDevicesFile);
        state.SkipWithError("no mapped store");
        return;
    }
    auto* records = static_cast<DEVICE*>(readBuffer);
    std::list<DEVICE> list;
    auto deliver = [&] {
        std::memset(readBuffer, 0, rounded);
        std::memcpy(readBuffer, source, VEL_DEVICE_LIST_BYTES);
        list.clear();
        for (unsigned index = 0; index < VEL_MAX_DEVICE_COUNT; ++index) {
            list.push_back(records[index]);
        }
        std::memcpy(validBuffer, readBuffer, VEL_DEVICE_LIST_BYTES);
        benchmark::ClobberMemory();
    };
    for (int warm = 0; warm < 100; ++warm) {
        deliver();
    }
    std::vector<double> samples;
    for (auto _ : state) {
        const std::uint64_t start = nowNs();
        deliver();
        samples.push_back(static_cast<double>(nowNs() - start));
    }
    std::free(readBuffer);
    std::free(validBuffer);
    publishMedian(state, "list.floor_us", samples, "us_per_delivery", 1e-3);
}

} // namespace

void registerMicroBenchmarks()
{
    const int samples = options().microSamples;
    benchmark::RegisterBenchmark("log_line_null_sink", logLineNullSink)->Iterations(samples);
    benchmark::RegisterBenchmark("snprintf_same_text", snprintfSameText)->Iterations(samples);
    benchmark::RegisterBenchmark("copy_known_list/aligned", copyKnownList, 0, "copy.aligned_us")
        ->Iterations(samples)
        ->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("copy_known_list/offset16", copyKnownList, 16, "copy.offset16_us")
        ->Iterations(samples)
        ->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("device_list_floor", deviceListFloor)
        ->Iterations(samples / 4 + 1)
        ->Unit(benchmark::kMicrosecond);
}

} // namespace velbench
