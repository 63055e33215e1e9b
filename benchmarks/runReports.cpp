// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// The reports of runs: applying a report strategy of 60 reports, building their commands,
// and asking for their states.

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "benchmarks/BenchFlow.h"
#include "benchmarks/BenchFolder.h"
#include "benchmarks/StrategyFiles.h"
#include "environment/containers/HSTFwdIter.h"
#include "environment/files/HUTFile.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xpreport/HAXRReportConfig.h"
#include "runs/base/xpreport/HAXRReportSpec.h"
#include "runs/base/xpreport/HAXRReportSpecMgr.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"
#include "runs/base/xpreport/reportConfigUtil.h"
#include "workbench/HAXPExpRun.h"

namespace {

constexpr int kSteps = 5;
constexpr int kReports = 60;

HAXPFlow& flow() {
    static HAXPFlow* const s_flow = bench::makeFlow(kSteps, 20, true);
    return *s_flow;
}

/// A report strategy with `reports` reports, the same number in each step.
class Reports {
public:
    explicit Reports(int reports) : m_strategy(&flow()) {
        bench::installCatalogue();
        m_strategy.setName("Reports");
        for (int i = 0; i < reports; ++i) {
            const std::string name = "report_kind_" + std::to_string(i % 200);
            m_strategy.addSpec(bench::stepName(i * kSteps / reports),
                               HAXRReportSpecMgr::getGlobal()->getReportSpec(name), false);
        }
    }
    ~Reports() { m_strategy.nukeSteps(); }

    Reports(const Reports&) = delete;
    Reports& operator=(const Reports&) = delete;

    const HAXRReportStrategy& strategy() const { return m_strategy; }

private:
    HAXRReportStrategy m_strategy;
};

/// A run with the reports of such a strategy, in a directory of its own.
class Run {
public:
    explicit Run(int reports) : m_reports(reports) {
        const HAXPStrategy strategy(&flow());
        m_run = std::make_unique<HAXPExpRun>("run", &strategy, nullptr, &m_reports.strategy());
        m_run->setRunDir(m_folder.path(), false);
        const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(m_run->createRunStepIter());
        while (steps->hasNext()) {
            const std::unique_ptr<HSTFwdIter<HAXRReportConfig*>> configs(
                steps->next()->createReportConfigIter());
            while (configs->hasNext())
                m_configs.push_back(configs->next());
        }
        if (static_cast<int>(m_configs.size()) != reports)
            throw std::runtime_error("the run hasn't all of its reports");
    }

    HAXPExpRun& run() { return *m_run; }
    const std::vector<HAXRReportConfig*>& configs() const { return m_configs; }
    const HAXRReportStrategy& strategy() const { return m_reports.strategy(); }

    /// Gives every report a file, so that it is generated.
    void generate() {
        for (std::size_t i = 0; i < m_configs.size(); ++i) {
            const std::string file = "report_" + std::to_string(i) + ".rpt";
            bench::writePlainly(m_folder.path() + "/" + file, "", 0644);
            m_configs[i]->setReportFile(file, false);
            m_configs[i]->update(false);
            if (m_configs[i]->getState() != HAXRReportConfig::REPORT_GENERATED)
                throw std::runtime_error("a report isn't generated");
        }
    }

private:
    bench::BenchFolder m_folder;
    Reports m_reports;
    std::unique_ptr<HAXPExpRun> m_run;
    std::vector<HAXRReportConfig*> m_configs;
};

/// What applying can't do without: a copy of each report for the strategy of the run and
/// one for the run itself, and a look at the disk for file and fail marker.
void floorOfApplying(benchmark::State& state) {
    const Run run(kReports);
    const bench::BenchFolder folder;
    std::vector<const HAXRReportSpec*> specs;
    for (const HAXRReportConfig* config : run.configs())
        specs.push_back(config->getReportSpec());
    for (auto _ : state) {
        std::vector<std::unique_ptr<HAXRReportSpec>> copies;
        for (const HAXRReportSpec* spec : specs) {
            copies.push_back(std::make_unique<HAXRReportSpec>(*spec));
            copies.push_back(std::make_unique<HAXRReportSpec>(*spec));
            benchmark::DoNotOptimize(HUTFile::exists(folder.path() + "/.a.fail"));
            benchmark::DoNotOptimize(HUTFile::exists(folder.path() + "/a.rpt"));
        }
        benchmark::DoNotOptimize(copies.size());
    }
}

void applyReports(benchmark::State& state) {
    Run run(kReports);
    for (auto _ : state)
        run.run().applyReportStrategy(&run.strategy());
}

/// All commands of a run whose reports have their files.
void buildCommands(benchmark::State& state) {
    Run run(kReports);
    run.generate();
    for (auto _ : state) {
        std::size_t size = 0;
        for (HAXRReportConfig* config : run.configs())
            size += reportConfigUtil::createReportCommand(config).size();
        benchmark::DoNotOptimize(size);
    }
}

/// All commands of a run that is launched anew: each report gets a name that is free.
void buildFirstCommands(benchmark::State& state) {
    Run run(kReports);
    for (auto _ : state) {
        std::size_t size = 0;
        for (HAXRReportConfig* config : run.configs())
            size += reportConfigUtil::createReportCommand(config).size();
        benchmark::DoNotOptimize(size);
    }
}

/// The same text put together from words at hand.
void floorOfCommands(benchmark::State& state) {
    Run run(kReports);
    run.generate();
    std::vector<std::string> commands;
    for (HAXRReportConfig* config : run.configs())
        commands.push_back(reportConfigUtil::createReportCommand(config));
    for (auto _ : state) {
        std::size_t size = 0;
        for (const std::string& command : commands) {
            std::string text;
            for (std::size_t at = 0; at < command.size();) {
                const std::size_t next = std::min(command.find(' ', at + 1), command.size());
                text.append(command, at, next - at);
                at = next;
            }
            size += text.size();
        }
        benchmark::DoNotOptimize(size);
    }
}

/// The states of the generated reports of one run, which depend on its steps.
void stateOfReports(benchmark::State& state) {
    Run run(static_cast<int>(state.range(0)));
    run.generate();
    for (auto _ : state)
        for (const HAXRReportConfig* config : run.configs())
            benchmark::DoNotOptimize(config->getState());
    state.counters["ns_per_report"] = benchmark::Counter(
        static_cast<double>(state.range(0)) / 1e9,
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

/// One walk over the steps for all of them.
void floorOfStates(benchmark::State& state) {
    Run run(static_cast<int>(state.range(0)));
    run.generate();
    for (auto _ : state) {
        const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run.run().createRunStepIter());
        while (steps->hasNext()) {
            HAXPExpRunStep* const step = steps->next();
            const bool isStale = step->isStale();
            const std::unique_ptr<HSTFwdIter<HAXRReportConfig*>> configs(
                step->createReportConfigIter());
            while (configs->hasNext())
                benchmark::DoNotOptimize(configs->next()->isEnabled() && isStale);
        }
    }
}

}  // namespace

BENCHMARK(floorOfApplying)->Unit(benchmark::kMicrosecond);
BENCHMARK(applyReports)->Unit(benchmark::kMicrosecond);
BENCHMARK(floorOfCommands)->Unit(benchmark::kMicrosecond);
BENCHMARK(buildCommands)->Unit(benchmark::kMicrosecond);
BENCHMARK(buildFirstCommands)->Unit(benchmark::kMicrosecond);
BENCHMARK(floorOfStates)->Arg(60)->Arg(1000);
BENCHMARK(stateOfReports)->Arg(60)->Arg(1000);
