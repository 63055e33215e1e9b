// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// Building and walking a run of 1,000 steps.

#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "benchmarks/BenchFlow.h"
#include "benchmarks/BenchFolder.h"
#include "environment/containers/HSTFwdIter.h"
#include "environment/options/HATOptGroup.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "workbench/HAXPExpRun.h"

namespace {

constexpr int kSteps = 1000;

HAXPFlow& flow() {
    static HAXPFlow* s_flow = bench::makeFlow(kSteps, 10);
    return *s_flow;
}

/// The bare option groups and steps of such a run.
void floorOfBuilding(benchmark::State& state) {
    for (auto _ : state) {
        std::vector<std::unique_ptr<HATOptGroup>> groups;
        std::vector<std::unique_ptr<HAXPExpRunStep>> steps;
        const std::unique_ptr<HSTFwdIter<HAXPFlowStep*>> all(flow().createDefaultFlowStepIter());
        while (all->hasNext()) {
            const HAXPFlowStep* step = all->next();
            groups.push_back(std::make_unique<HATOptGroup>(step->getOptionsSpec()));
            groups.push_back(std::make_unique<HATOptGroup>(step->getAttrsSpec()));
            steps.push_back(std::make_unique<HAXPExpRunStep>(step, groups[groups.size() - 2].get(),
                                                             groups.back().get(), nullptr));
        }
        benchmark::DoNotOptimize(steps.size());
    }
}

void buildRun(benchmark::State& state) {
    const HAXPStrategy strategy(&flow());
    for (auto _ : state) {
        const HAXPExpRun run("run", &strategy, nullptr);
        benchmark::DoNotOptimize(run.effectiveStepCount(false));
    }
}

void floorOfWalking(benchmark::State& state) {
    std::vector<int> steps(kSteps, 1);
    for (auto _ : state) {
        int count = 0;
        for (const int& step : steps)
            benchmark::DoNotOptimize(count += step);
    }
}

void walkRun(benchmark::State& state) {
    const HAXPStrategy strategy(&flow());
    const HAXPExpRun run("run", &strategy, nullptr);
    for (auto _ : state) {
        int count = 0;
        const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run.createRunStepIter());
        while (steps->hasNext())
            benchmark::DoNotOptimize(count += steps->next()->isVirtual() ? 0 : 1);
    }
}

}  // namespace

BENCHMARK(floorOfBuilding)->Unit(benchmark::kMicrosecond);
BENCHMARK(buildRun)->Unit(benchmark::kMicrosecond);
BENCHMARK(floorOfWalking);
BENCHMARK(walkRun);
