// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// Writing the scripts of 1,000 runs against bare writes of the same bytes.

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "benchmarks/BenchFlow.h"
#include "benchmarks/BenchFolder.h"
#include "environment/installation/HUTEnv.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPScriptWriter.h"
#include "workbench/HAXPExpRun.h"

namespace {

constexpr int kRuns = 1000;
constexpr int kSteps = 5;
constexpr int kOptions = 20;

const char* const kFiles[] = {"ZUMWrap.js", "ZUMWrap.sh", "runme.sh",
                              "rundef.js",  "htr.txt",    "runme.bat"};

/// 1,000 runs with a fresh, empty directory each.
class Runs {
public:
    Runs() {
        static HAXPFlow* s_flow = bench::makeFlow(kSteps, kOptions);
        for (int i = 0; i < kRuns; ++i) {
            const std::string name = "run_" + std::to_string(i);
            m_dirs.push_back(m_folder.folder(name));
            m_runs.push_back(bench::makeRun(name, *s_flow, m_dirs.back()));
        }
    }

    void writeAll() const {
        for (const auto& run : m_runs)
            HAXPScriptWriter(run.get()).writeScript();
    }
    const std::vector<std::string>& dirs() const { return m_dirs; }

private:
    bench::BenchFolder m_folder;
    std::vector<std::string> m_dirs;
    std::vector<std::unique_ptr<HAXPExpRun>> m_runs;
};

/// What the scripts of one run hold, file by file.
std::vector<std::string> contents() {
    const Runs runs;
    runs.writeAll();
    std::vector<std::string> all;
    for (const char* file : kFiles)
        all.push_back(bench::readWhole(runs.dirs().front() + "/" + file));
    return all;
}

void writeAllPlainly(const std::vector<std::string>& dirs, const std::vector<std::string>& texts) {
    for (const std::string& dir : dirs)
        for (std::size_t i = 0; i < texts.size(); ++i)
            bench::writePlainly(dir + "/" + kFiles[i], texts[i], i == 1 || i == 2 ? 0755 : 0644);
}

void floorOfFresh(benchmark::State& state) {
    const std::vector<std::string> texts = contents();
    for (auto _ : state) {
        state.PauseTiming();
        auto runs = std::make_unique<Runs>();
        state.ResumeTiming();
        writeAllPlainly(runs->dirs(), texts);
        state.PauseTiming();
        runs.reset();
        state.ResumeTiming();
    }
}

void freshScripts(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        auto runs = std::make_unique<Runs>();
        state.ResumeTiming();
        runs->writeAll();
        state.PauseTiming();
        runs.reset();
        state.ResumeTiming();
    }
}

/// Scripts over those of a launch before, with the same content.
void rewrittenScripts(benchmark::State& state) {
    const Runs runs;
    runs.writeAll();
    for (auto _ : state)
        runs.writeAll();
}

/// Scripts over those of a launch before that were longer.
void changedScripts(benchmark::State& state) {
    const Runs runs;
    runs.writeAll();
    for (auto _ : state) {
        state.PauseTiming();
        for (const std::string& dir : runs.dirs())
            for (const char* file : {"runme.sh", "rundef.js", "htr.txt"})
                std::filesystem::resize_file(dir + "/" + file, 6000);
        state.ResumeTiming();
        runs.writeAll();
    }
}

}  // namespace

BENCHMARK(floorOfFresh)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK(freshScripts)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK(rewrittenScripts)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK(changedScripts)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
