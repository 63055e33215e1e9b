// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// Taking back the steps of 1,000 runs with what they left, and emptying their directories,
// against the unlinks that must happen.

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <unistd.h>

#include <benchmark/benchmark.h>

#include "benchmarks/BenchFlow.h"
#include "benchmarks/BenchFolder.h"
#include "benchmarks/Pairs.h"
#include "environment/containers/HSTFwdIter.h"
#include "environment/containers/HSTVector.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFileSpec.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "workbench/HAXPExpRun.h"

namespace {

/// A thousand are reset, and as many give the floor.
constexpr int kRuns = 2000;
constexpr int kSteps = 4;
constexpr int kOutputs = 6;
/// The begin marker first.
constexpr std::size_t kFilesOfStep = 2 + kOutputs;

/// What a launch leaves beside the files of the steps.
constexpr const char* kLaunchFiles[] = {"ZUMWrap.js",  "ZUMWrap.sh", "rundef.js", "runme.bat",
                                        "runme.log",   "runme.sh",   "htr.txt",   "tarnel.jou",
                                        "gen_run.xml", "notes.txt"};

/// Runs whose steps are done and left files.
class Runs {
public:
    /// One of the runs, and what stands in its directory: the files of its steps first.
    struct Entry {
        std::unique_ptr<HAXPExpRun> run;
        std::vector<std::string> files;
    };

    Runs() : m_flow(bench::makeFlow(kSteps, 0)) {
        m_generated.addFileType(HAXPTypes::FILE_PLACE_UTIL);
        for (int i = 0; i < kRuns; ++i) {
            const std::string name = "run_" + std::to_string(i);
            const std::string dir = m_folder.folder(name);
            m_entries.push_back({bench::makeRun(name, *m_flow, dir), {}});
            addFiles_(m_entries.back(), dir);
        }
    }

    const std::vector<Entry>& entries() const { return m_entries; }
    const HAXPFlowStep* firstStep() const {
        return m_entries.front().run->getFirstStep()->getFlowStep();
    }

private:
    void addFiles_(Entry& entry, const std::string& dir) {
        const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(entry.run->createRunStepIter());
        for (int s = 0; s < kSteps; ++s) {
            HAXPExpRunStep* step = steps->next();
            HSTVector<std::string> outputs;
            for (int o = 0; o < kOutputs; ++o)
                outputs.push_back(bench::stepName(s) + "_output_" + std::to_string(o) + ".rpt");
            step->setFiles(HAXPTypes::FILE_PLACE_UTIL, outputs);
            m_flow->getFlowStepForFSId(step->getFlowStep()->getFlowStepId())
                ->setGenFilter(&m_generated);
            for (const char* kind : {".begin.rst", ".end.rst"})
                entry.files.push_back(dir + "/." + bench::stepName(s) + kind);
            for (const std::string& output : outputs)
                entry.files.push_back(dir + "/" + output);
        }
        for (const char* name : kLaunchFiles)
            entry.files.push_back(dir + "/" + name);
    }

    bench::BenchFolder m_folder;
    HAXPFlow* m_flow;
    HAXPFileSpec m_generated{"generated"};
    std::vector<Entry> m_entries;
};

const Runs& allRuns() {
    static const Runs s_runs;
    return s_runs;
}

/// Polls the run while its steps run, as whoever launched it does: the disk knows by then
/// which markers aren't there.
void watchWhileAtWork(const Runs::Entry& entry) {
    for (int s = 0; s < kSteps; ++s)
        bench::writePlainly(entry.files[static_cast<std::size_t>(s) * kFilesOfStep], "", 0644);
    entry.run->updateStatus();
}

/// Resets every other run, and takes the files of those between with bare unlinks: those of
/// the steps, and with `launched` those of the launch.
template <class Reset> void compare(benchmark::State& state, bool launched, Reset reset) {
    constexpr std::size_t kStepFiles = kSteps * kFilesOfStep;
    bench::Pairs pairs(bench::Pairs::kProcessor);
    const auto& runs = allRuns().entries();
    for (auto _ : state) {
        for (std::size_t i = 0; i < runs.size(); ++i) {
            const std::vector<std::string>& files = runs[i].files;
            const auto end = files.begin() + (launched ? files.size() : kStepFiles);
            watchWhileAtWork(runs[i]);
            std::for_each(files.begin(), end,
                          [](const std::string& file) { bench::writePlainly(file, "", 0644); });
            runs[i].run->updateStatus();
            if (i % 2 == 0)
                pairs.floor([&] {
                    std::for_each(files.begin(), end,
                                  [](const std::string& file) { ::unlink(file.c_str()); });
                });
            else
                pairs.measure([&] { reset(*runs[i].run); });
            if (std::any_of(files.begin(), end, [](const std::string& file) {
                    return ::access(file.c_str(), F_OK) == 0;
                }))
                state.SkipWithError("a file is left");
        }
    }
    pairs.tell(state);
}

void resetSteps(benchmark::State& state) {
    const HAXPFlowStep* first = allRuns().firstStep();
    compare(state, false, [&](HAXPExpRun& run) {
        if (!run.resetStep(first, false, true))
            state.SkipWithError("a step could not be reset");
    });
}

void resetRuns(benchmark::State& state) {
    HSTVector<std::string> errors;
    compare(state, true, [&](HAXPExpRun& run) {
        run.setRunMode(HAXPExpRunBase::kLaunched);
        if (!run.resetRun(errors, true, false, false))
            state.SkipWithError("a run could not be reset");
    });
}

}  // namespace

// Making the files takes longer than what is measured.
BENCHMARK(resetSteps)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(resetRuns)->Unit(benchmark::kMillisecond)->Iterations(1);
