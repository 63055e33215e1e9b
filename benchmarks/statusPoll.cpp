// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// Polling 10,000 steps, ten to a directory, against the system calls that must happen.

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>

#include <benchmark/benchmark.h>

#include "benchmarks/BenchFlow.h"
#include "benchmarks/BenchFolder.h"
#include "environment/containers/HSTFwdIter.h"
#include "environment/process/HUTProcessHandle.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "workbench/HAXPExpRun.h"

namespace {

constexpr int kRuns = 1000;
constexpr int kSteps = 10;

enum State { kDone, kRunning, kNone };

/// 1,000 run directories whose steps are all in one state, and runs over them.
class Directories {
public:
    explicit Directories(State state) : m_flow(bench::makeFlow(kSteps, 0)) {
        for (int i = 0; i < kRuns; ++i) {
            const std::string dir = m_folder.folder("run_" + std::to_string(i));
            for (int s = 0; s < kSteps; ++s)
                mark(dir + "/." + bench::stepName(s), state);
            m_dirs.push_back(dir);
            m_runs.push_back(bench::makeRun("run_" + std::to_string(i), *m_flow, dir));
        }
    }

    const std::vector<std::string>& dirs() const { return m_dirs; }
    const std::vector<std::unique_ptr<HAXPExpRun>>& runs() const { return m_runs; }

private:
    static void mark(const std::string& stem, State state) {
        if (state != kNone)
            bench::writePlainly(stem + ".begin.rst", "", 0644);
        if (state == kDone)
            bench::writePlainly(stem + ".end.rst", "", 0644);
    }

    bench::BenchFolder m_folder;
    HAXPFlow* m_flow;
    std::vector<std::string> m_dirs;
    std::vector<std::unique_ptr<HAXPExpRun>> m_runs;
};

const Directories& directories(State state) {
    static const Directories s_done(kDone);
    static const Directories s_running(kRunning);
    static const Directories s_none(kNone);
    return state == kDone ? s_done : state == kRunning ? s_running : s_none;
}

/// The names that a poll has to look at in each state, per step.
const std::vector<std::vector<std::string>>& mustLookAt(State state) {
    const auto names = [](const std::vector<const char*>& kinds) {
        std::vector<std::vector<std::string>> all;
        for (int s = 0; s < kSteps; ++s) {
            all.emplace_back();
            for (const char* kind : kinds)
                all.back().push_back("." + bench::stepName(s) + kind);
        }
        return all;
    };
    static const auto s_done = names({".begin.rst", ".end.rst"});
    static const auto s_running =
        names({".begin.rst", ".end.rst", ".end.stp", ".error.rst", ".error.stp"});
    static const auto s_none = names({".begin.rst", ".begin.stp"});
    return state == kDone ? s_done : state == kRunning ? s_running : s_none;
}

/// The bare fstatat of the marker names by whole path, as any poll must do it.
void floorOfPoll(benchmark::State& state) {
    const auto which = static_cast<State>(state.range(0));
    const Directories& directories_ = directories(which);
    std::vector<std::string> paths;
    for (const std::string& dir : directories_.dirs())
        for (const auto& step : mustLookAt(which))
            for (const std::string& name : step)
                paths.push_back(dir + "/" + name);
    struct stat info {};
    for (auto _ : state)
        for (const std::string& path : paths)
            benchmark::DoNotOptimize(fstatat(AT_FDCWD, path.c_str(), &info, 0));
    state.SetItemsProcessed(state.iterations() * kRuns * kSteps);
}

void pollOfSteps(benchmark::State& state) {
    const Directories& directories_ = directories(static_cast<State>(state.range(0)));
    for (auto _ : state) {
        for (int i = 0; i < kRuns; ++i) {
            const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(
                directories_.runs()[i]->createRunStepIter());
            while (steps->hasNext())
                steps->next()->updateStatus(directories_.dirs()[i]);
        }
    }
    state.SetItemsProcessed(state.iterations() * kRuns * kSteps);
}

void pollOfRuns(benchmark::State& state) {
    const Directories& directories_ = directories(kDone);
    // Times are trusted once they are older than the coarsest clock.
    std::this_thread::sleep_for(std::chrono::seconds(4));
    for (const auto& run : directories_.runs())
        run->updateStatus();
    for (auto _ : state)
        for (const auto& run : directories_.runs())
            run->updateStatus();
    state.SetItemsProcessed(state.iterations() * kRuns * kSteps);
}

void pollOfRunsAnew(benchmark::State& state) {
    const Directories& directories_ = directories(kDone);
    for (auto _ : state) {
        for (const auto& run : directories_.runs()) {
            run->setRunStatus(nullptr, HDGUIStatus::statusDone);
            run->updateStatus();
        }
    }
    state.SetItemsProcessed(state.iterations() * kRuns * kSteps);
}

}  // namespace

BENCHMARK(floorOfPoll)->ArgName("state")->Arg(kDone)->Arg(kRunning)->Arg(kNone);
BENCHMARK(pollOfSteps)->ArgName("state")->Arg(kDone)->Arg(kRunning)->Arg(kNone);
BENCHMARK(pollOfRunsAnew);
BENCHMARK(pollOfRuns);
