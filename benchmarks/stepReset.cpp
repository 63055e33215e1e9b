// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// Taking back the steps of 1,000 runs with what they left, and emptying their directories,
// against the unlinks that must happen.

#include <memory>
#include <string>
#include <vector>

#include <unistd.h>

#include <benchmark/benchmark.h>

#include "benchmarks/BenchFlow.h"
#include "benchmarks/BenchFolder.h"
#include "environment/containers/HSTFwdIter.h"
#include "environment/containers/HSTVector.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFileSpec.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "workbench/HAXPExpRun.h"

namespace {

constexpr int kRuns = 1000;
constexpr int kSteps = 4;
constexpr int kOutputs = 6;

/// What a launch leaves beside the files of the steps.
constexpr const char* kLaunchFiles[] = {"ZUMWrap.js",  "ZUMWrap.sh", "rundef.js", "runme.bat",
                                        "runme.log",   "runme.sh",   "htr.txt",   "tarnel.jou",
                                        "gen_run.xml", "notes.txt"};

/// 1,000 runs whose steps are done and left files.
class Runs {
public:
    Runs() : m_flow(bench::makeFlow(kSteps, 0)) {
        m_generated.addFileType(HAXPTypes::FILE_PLACE_UTIL);
        for (int i = 0; i < kRuns; ++i) {
            const std::string name = "run_" + std::to_string(i);
            const std::string dir = m_folder.folder(name);
            m_runs.push_back(bench::makeRun(name, *m_flow, dir));
            addFiles_(*m_runs.back(), dir);
        }
    }

    /// Writes the files that the steps left, and with `launched` those of the launch.
    void make(bool launched) const {
        for (const std::string& file : files(launched))
            bench::writePlainly(file, "", 0644);
    }
    const std::vector<std::string>& files(bool launched) const {
        return launched ? m_allFiles : m_stepFiles;
    }
    const std::vector<std::unique_ptr<HAXPExpRun>>& runs() const { return m_runs; }
    const HAXPFlowStep* firstStep() const { return m_runs.front()->getFirstStep()->getFlowStep(); }

private:
    void addFiles_(const HAXPExpRun& run, const std::string& dir) {
        const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run.createRunStepIter());
        for (int s = 0; s < kSteps; ++s) {
            HAXPExpRunStep* step = steps->next();
            HSTVector<std::string> outputs;
            for (int o = 0; o < kOutputs; ++o)
                outputs.push_back(bench::stepName(s) + "_output_" + std::to_string(o) + ".rpt");
            step->setFiles(HAXPTypes::FILE_PLACE_UTIL, outputs);
            m_flow->getFlowStepForFSId(step->getFlowStep()->getFlowStepId())
                ->setGenFilter(&m_generated);
            for (const char* kind : {".begin.rst", ".end.rst"})
                addFile_(dir, "." + bench::stepName(s) + kind, true);
            for (const std::string& output : outputs)
                addFile_(dir, output, true);
        }
        for (const char* name : kLaunchFiles)
            addFile_(dir, name, false);
    }
    void addFile_(const std::string& dir, const std::string& name, bool isOfStep) {
        m_allFiles.push_back(dir + "/" + name);
        if (isOfStep)
            m_stepFiles.push_back(m_allFiles.back());
    }

    bench::BenchFolder m_folder;
    HAXPFlow* m_flow;
    HAXPFileSpec m_generated{"generated"};
    std::vector<std::string> m_stepFiles;
    std::vector<std::string> m_allFiles;
    std::vector<std::unique_ptr<HAXPExpRun>> m_runs;
};

const Runs& allRuns() {
    static const Runs s_runs;
    return s_runs;
}

/// Fails when one of the files is still there.
void requireGone(benchmark::State& state, const std::vector<std::string>& files) {
    for (const std::string& file : files) {
        if (::access(file.c_str(), F_OK) == 0)
            state.SkipWithError("a file is left");
    }
}

void removeBarely(benchmark::State& state, bool launched) {
    const Runs& all = allRuns();
    for (auto _ : state) {
        state.PauseTiming();
        all.make(launched);
        state.ResumeTiming();
        for (const std::string& file : all.files(launched)) {
            if (::unlink(file.c_str()) != 0)
                state.SkipWithError("a file could not be removed");
        }
    }
}

void floorOfReset(benchmark::State& state) {
    removeBarely(state, false);
}

void resetSteps(benchmark::State& state) {
    const Runs& all = allRuns();
    for (auto _ : state) {
        state.PauseTiming();
        all.make(false);
        state.ResumeTiming();
        for (const auto& run : all.runs()) {
            if (!run->resetStep(all.firstStep(), false, true))
                state.SkipWithError("a step could not be reset");
        }
        state.PauseTiming();
        requireGone(state, all.files(false));
        state.ResumeTiming();
    }
}

void floorOfEmptying(benchmark::State& state) {
    removeBarely(state, true);
}

void resetRuns(benchmark::State& state) {
    const Runs& all = allRuns();
    for (auto _ : state) {
        state.PauseTiming();
        all.make(true);
        for (const auto& run : all.runs())
            run->setRunMode(HAXPExpRunBase::kLaunched);
        state.ResumeTiming();
        HSTVector<std::string> errors;
        for (const auto& run : all.runs()) {
            if (!run->resetRun(errors, true, false, false))
                state.SkipWithError("a run could not be reset");
        }
        state.PauseTiming();
        requireGone(state, all.files(true));
        state.ResumeTiming();
    }
}

}  // namespace

// Making the files takes longer than what is measured.
BENCHMARK(floorOfReset)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(resetSteps)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(floorOfEmptying)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(resetRuns)->Unit(benchmark::kMillisecond)->Iterations(1);
