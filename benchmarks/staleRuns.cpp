// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// Asking 1,000 runs of ten steps what is stale after one of their sources changed, against a
// look at each source and a walk over the steps.

#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <sys/stat.h>

#include <benchmark/benchmark.h>

#include "benchmarks/BenchFlow.h"
#include "benchmarks/BenchFolder.h"
#include "benchmarks/Pairs.h"
#include "environment/containers/HSTFwdIter.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "workbench/DesignInputs.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/fileFingerprint.h"

namespace {

constexpr int kRuns = 1000;
constexpr int kSteps = 10;
constexpr int kOptions = 10;
constexpr int kSources = 20;

using Steps = std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>>;

/// Runs of one design that are done, each launched with the sources as they were at first.
class Runs {
public:
    Runs() : m_flow(bench::makeFlow(kSteps, kOptions)) {
        m_flow->addSupportedFlowType(HAXPTypes::FLOW_SYNTH);
        m_inputs.top = "top";
        for (int i = 0; i < kSources; ++i) {
            m_inputs.sources.push_back(m_folder.path() + "/source_" + std::to_string(i) + ".v");
            bench::writePlainly(m_inputs.sources.back(), std::string(4000, ' '), 0644);
        }
        // Stamps are trusted once they are older than a tick of the clock.
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        for (int i = 0; i < kRuns; ++i)
            addRun_("run_" + std::to_string(i));
        bench::writePlainly(m_inputs.sources.front(), "a change", 0644);
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        for (const auto& run : m_runs)
            evaluate(*run);
    }

    static void evaluate(HAXPExpRun& run) {
        run.getInfo().updStaleReasons();
        if (run.getInfo().getFileChanges().size() != 1)
            throw std::runtime_error("the change wasn't seen");
    }
    const std::vector<std::unique_ptr<HAXPExpRun>>& runs() const { return m_runs; }
    const std::vector<std::string>& sources() const { return m_inputs.sources; }

private:
    void addRun_(const std::string& name) {
        m_runs.push_back(bench::makeRun(name, *m_flow, m_folder.path()));
        HAXPExpRun& run = *m_runs.back();
        run.getInfo().setInputs(m_inputs);
        const Steps steps(run.createRunStepIter());
        while (steps->hasNext())
            run.setRunStatus(steps->next(), HDGUIStatus::statusDone);
        auto snapshot = std::make_unique<HAXPStrategy>();
        snapshot->copyStrat(run.getStrategy(), true, boost::logic::indeterminate);
        run.getInfo().setRunSnapshotStrategy(snapshot.release());
        run.getInfo().setLaunch(1, "");
        run.getInfo().recordLaunch();
    }

    bench::BenchFolder m_folder;
    HAXPFlow* m_flow;
    DesignInputs m_inputs;
    std::vector<std::unique_ptr<HAXPExpRun>> m_runs;
};

/// How many steps have no stale reason.
int countFresh(const HAXPExpRun& run) {
    int fresh = 0;
    const Steps steps(run.createRunStepIter());
    while (steps->hasNext())
        fresh += steps->next()->isStale() ? 0 : 1;
    return fresh;
}

void evaluateRuns(benchmark::State& state) {
    const Runs all;
    bench::Pairs pairs(bench::Pairs::kProcessor);
    for (auto _ : state) {
        for (int round = 0; round < 5; ++round) {
            pairs.floor([&] {
                struct stat info {};
                for (const std::string& source : all.sources())
                    benchmark::DoNotOptimize(::stat(source.c_str(), &info));
                for (const auto& run : all.runs())
                    benchmark::DoNotOptimize(countFresh(*run));
            });
            pairs.measure([&] {
                const workbench::FileWatch::Moment moment;
                for (const auto& run : all.runs())
                    Runs::evaluate(*run);
            });
        }
    }
    for (const auto& run : all.runs()) {
        if (countFresh(*run) != 0)
            state.SkipWithError("a step isn't stale");
    }
    pairs.tell(state);
    state.counters["us_per_step"] = state.counters["us"] / (kRuns * kSteps);
}

}  // namespace

BENCHMARK(evaluateRuns)->Unit(benchmark::kMillisecond)->Iterations(1);
