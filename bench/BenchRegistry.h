// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

namespace velbench {

// Registers the benchmarks of one file with Google Benchmark, sized by
// options(). Registration order is run order.
void registerMicroBenchmarks();
void registerProcessBenchmarks();
void registerLatencyBenchmarks();
void registerScaleBenchmarks();
void registerRequestBenchmarks();

} // namespace velbench
