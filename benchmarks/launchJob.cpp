// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// A job of 100,000 runs: registering, marking and asking for them.

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>

#include "runs/base/xperiment/HAXPJob.h"
#include "workbench/HAXPExpRun.h"

namespace {

constexpr int kRuns = 100000;

/// Places that lie in memory as so many runs do; a job never looks into them.
std::vector<HAXPExpRun*> runs() {
    struct Place {
        alignas(HAXPExpRun) unsigned char bytes[sizeof(HAXPExpRun)];
    };
    static std::vector<std::unique_ptr<Place>> s_places;
    while (s_places.size() < kRuns)
        s_places.push_back(std::make_unique<Place>());
    std::vector<HAXPExpRun*> all;
    for (const auto& place : s_places)
        all.push_back(reinterpret_cast<HAXPExpRun*>(place->bytes));
    return all;
}

std::vector<HAXPExpRun*> shuffledRuns() {
    constexpr unsigned kSeed = 7;
    std::vector<HAXPExpRun*> all = runs();
    std::shuffle(all.begin(), all.end(), std::mt19937(kSeed));
    return all;
}

void countRuns(benchmark::State& state) {
    state.counters["ns_per_run"] = benchmark::Counter(
        kRuns / 1e9, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void addRuns(benchmark::State& state) {
    const std::vector<HAXPExpRun*> all = runs();
    for (auto _ : state) {
        HAXPJob job(1);
        for (HAXPExpRun* run : all)
            job.addRun(run);
        benchmark::DoNotOptimize(job.runCount());
    }
    countRuns(state);
}

void markRuns(benchmark::State& state) {
    const std::vector<HAXPExpRun*> all = runs();
    const std::vector<HAXPExpRun*> shuffled = shuffledRuns();
    for (auto _ : state) {
        state.PauseTiming();
        auto job = std::make_unique<HAXPJob>(1);
        for (HAXPExpRun* run : all)
            job->addRun(run);
        state.ResumeTiming();
        for (HAXPExpRun* run : shuffled)
            job->markAsExported(run);
        benchmark::DoNotOptimize(job->allRunsAttempted());
        state.PauseTiming();
        job.reset();
        state.ResumeTiming();
    }
    countRuns(state);
}

/// Asks for runs in no order, half of which have a mark.
void lookUpRuns(benchmark::State& state) {
    HAXPJob job(1);
    bool mark = false;
    for (HAXPExpRun* run : runs()) {
        job.addRun(run);
        mark = !mark;
        if (mark)
            job.markAsExported(run);
    }
    const std::vector<HAXPExpRun*> shuffled = shuffledRuns();
    for (auto _ : state) {
        int attempted = 0;
        for (HAXPExpRun* run : shuffled)
            attempted += job.hasRunBeenAttempted(run) ? 1 : 0;
        benchmark::DoNotOptimize(attempted);
    }
    countRuns(state);
}

}  // namespace

BENCHMARK(addRuns)->Unit(benchmark::kMillisecond);
BENCHMARK(markRuns)->Unit(benchmark::kMillisecond);
BENCHMARK(lookUpRuns)->Unit(benchmark::kMillisecond);
