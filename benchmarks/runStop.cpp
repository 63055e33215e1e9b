// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// From the request to stop a run to the proof that no process of it is left, for a tool that
// obeys.

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "benchmarks/BenchProject.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/RunLauncher.h"
#include "workbench/runProcesses.h"
#include "workbench/runStop.h"

namespace {

using Clock = std::chrono::steady_clock;

double msSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

/// The least and the median: a tool on a busy machine gets its turn late.
void tell(benchmark::State& state, std::vector<double> values) {
    std::sort(values.begin(), values.end());
    state.counters["ms"] = values.front();
    state.counters["median_ms"] = values[values.size() / 2];
}

void stopRunOfObedientTool(benchmark::State& state) {
    constexpr int kStops = 20;
    bench::BenchProject bench("exec sleep 1000");
    RunLauncher launcher(bench.project());
    std::vector<double> times;
    for (auto _ : state) {
        for (int i = 0; i < kStops; ++i) {
            HAXPExpRun& run = bench.addRun("run_" + std::to_string(i));
            launcher.launch(run);
            bench::awaitStatus(run, HDGUIStatus::statusRunning);
            const auto start = Clock::now();
            const workbench::StopResult result = workbench::stopRun(run);
            times.push_back(msSince(start));
            if (result.wasIdle || result.killed != 0)
                state.SkipWithError("a run wasn't at work, or had to be killed");
        }
    }
    tell(state, times);
}

/// One look at all processes of the host, of which the stop takes several.
void lookForProcesses(benchmark::State& state) {
    const bench::BenchFolder folder;
    for (auto _ : state)
        benchmark::DoNotOptimize(workbench::findRunProcesses(folder.path(), "none").size());
}

}  // namespace

BENCHMARK(stopRunOfObedientTool)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(lookForProcesses)->Unit(benchmark::kMillisecond);
