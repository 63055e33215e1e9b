// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// Listing and comparing the options of a strategy of 20 steps with 60 options each.

#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "benchmarks/BenchFlow.h"
#include "environment/filemgmt/HADAStaleOption.h"
#include "environment/options/HATOptGroup.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HAXPUtilsBase.h"
#include "workbench/HAXPExpRun.h"

namespace {

constexpr int kSteps = 20;
constexpr int kOptions = 60;
constexpr int kAll = kSteps * kOptions;

HAXPFlow& flow() {
    static HAXPFlow* s_flow = bench::makeFlow(kSteps, kOptions);
    return *s_flow;
}

/// Sets every fourth option, an int, in every step.
void change(const HAXPStrategy& strategy) {
    for (int s = 0; s < kSteps; ++s) {
        HATOptGroup* group = strategy.getOptions(bench::stepName(s));
        for (int i = 0; i < kOptions; i += 4)
            group->setIntVal(group->getAttrSpecByName("option_" + std::to_string(i)), i + 1, false);
    }
}

using Pair = std::pair<HATOptGroup*, HATOptGroup*>;

std::vector<Pair> pairs(const HAXPStrategy& a, const HAXPStrategy& b) {
    std::vector<Pair> all;
    for (int s = 0; s < kSteps; ++s)
        all.emplace_back(a.getOptions(bench::stepName(s)), b.getOptions(bench::stepName(s)));
    return all;
}

void countOptions(benchmark::State& state) {
    state.counters["ns_per_option"] = benchmark::Counter(
        kAll / 1e9, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

/// What differs between strategies that agree, a quarter of their values set.
void findDifferences(benchmark::State& state) {
    const HAXPStrategy a(&flow());
    const HAXPStrategy b(&flow());
    change(a);
    change(b);
    HSTVector<HADAStaleOption*> out;
    const std::vector<Pair> all = pairs(a, b);
    for (auto _ : state)
        for (const Pair& pair : all)
            HAXPUtilsBase::compareOptGroups(pair.first, pair.second, "step", out);
    benchmark::DoNotOptimize(out.size());
    countOptions(state);
}

/// Whether such strategies differ.
void compareGroups(benchmark::State& state) {
    const HAXPStrategy a(&flow());
    const HAXPStrategy b(&flow());
    change(a);
    change(b);
    const std::vector<Pair> all = pairs(a, b);
    for (auto _ : state)
        for (const Pair& pair : all)
            benchmark::DoNotOptimize(*pair.first != *pair.second);
    countOptions(state);
}

void listOptions(benchmark::State& state) {
    const HAXPStrategy strategy(&flow());
    change(strategy);
    const HAXPExpRun run("run", &strategy, nullptr);
    for (auto _ : state) {
        for (int s = 0; s < kSteps; ++s) {
            HSTVector<HAXPUtilsBase::OptionInfo> out;
            HAXPUtilsBase::getOptions(&run, strategy.getOptions(bench::stepName(s)), out);
            benchmark::DoNotOptimize(out.size());
        }
    }
    state.SetItemsProcessed(state.iterations() * kAll);
}

/// The list itself: its entries made from texts at hand.
void floorOfListing(benchmark::State& state) {
    const std::string name = "-option_0";
    const std::string value = "1";
    for (auto _ : state) {
        for (int s = 0; s < kSteps; ++s) {
            HSTVector<HAXPUtilsBase::OptionInfo> out;
            for (int i = 0; i < kOptions; i += 4)
                out.push_back({HATAttrTypes::kInt, name, value});
            benchmark::DoNotOptimize(out.size());
        }
    }
}

}  // namespace

BENCHMARK(compareGroups);
BENCHMARK(findDifferences);
BENCHMARK(floorOfListing);
BENCHMARK(listOptions);
