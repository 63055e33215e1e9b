// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// Restoring strategies, report strategies and the report catalogue against the bare parse
// of the same files by the XML library.

#include <map>
#include <memory>
#include <stdexcept>
#include <string>

#include <benchmark/benchmark.h>

#include "benchmarks/StrategyFiles.h"
#include "environment/containers/HSTFwdIter.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HAXPStrategyMgr.h"
#include "runs/base/xpreport/HAXRReportSpecMgr.h"
#include "runs/base/xpreport/HAXRReportSpecParser.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"
#include "runs/base/xpstratxio/HAXSStrategyXMLParser.h"

namespace {

using Files = bench::StrategyFiles;

/// Written once a process, however often they are read.
const Files& strategyFiles(int count) {
    static std::map<int, std::unique_ptr<Files>> s_files;
    std::unique_ptr<Files>& files = s_files[count];
    if (files == nullptr)
        files = std::make_unique<Files>(count, bench::strategyText);
    return *files;
}

const Files& reportStrategyFiles(int count) {
    static const Files s_files(count, bench::reportStrategyText);
    return s_files;
}

void mustBe(std::int64_t found, std::int64_t expected) {
    if (found != expected)
        throw std::runtime_error("read " + std::to_string(found) + " of " +
                                 std::to_string(expected));
}

void countFiles(benchmark::State& state) {
    state.counters["us_per_file"] = benchmark::Counter(
        static_cast<double>(state.range(0)) / 1e6,
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void deleteStrategies(const HAXPStrategyMgr& mgr) {
    const std::unique_ptr<HSTFwdIter<HAXPStrategy*>> all(
        mgr.createStrategyIter(&bench::strategyFlow()));
    while (all->hasNext())
        delete all->next();
}

void deleteReportStrategies(const HAXPStrategyMgr& mgr) {
    const std::unique_ptr<HSTFwdIter<HAXRReportStrategy*>> all(
        mgr.createReportStrategyIter(&bench::strategyFlow()));
    while (all->hasNext()) {
        HAXRReportStrategy* const strategy = all->next();
        strategy->nukeSteps();
        delete strategy;
    }
}

void floorOfRestoring(benchmark::State& state) {
    const auto count = static_cast<int>(state.range(0));
    const Files& files = strategyFiles(count);
    for (auto _ : state)
        mustBe(bench::parseFolder(files.path()), count);
    countFiles(state);
}

void floorOfRestoringFromMemory(benchmark::State& state) {
    const auto count = static_cast<int>(state.range(0));
    const Files& files = strategyFiles(count);
    for (auto _ : state)
        mustBe(bench::parseFolderFromMemory(files.path()), count);
    countFiles(state);
}

void restoreStrategies(benchmark::State& state) {
    const auto count = static_cast<int>(state.range(0));
    const Files& files = strategyFiles(count);
    for (auto _ : state) {
        HAXPStrategyMgr mgr;
        mgr.restoreStrategies(files.path(), "psg", true);
        state.PauseTiming();
        mustBe(mgr.strategyCount(&bench::strategyFlow()), count);
        deleteStrategies(mgr);
        state.ResumeTiming();
    }
    countFiles(state);
}

void floorOfRestoringReports(benchmark::State& state) {
    const auto count = static_cast<int>(state.range(0));
    const Files& files = reportStrategyFiles(count);
    for (auto _ : state)
        mustBe(bench::parseFolder(files.path()), count);
    countFiles(state);
}

void restoreReportStrategies(benchmark::State& state) {
    bench::installCatalogue();
    const auto count = static_cast<int>(state.range(0));
    const Files& files = reportStrategyFiles(count);
    for (auto _ : state) {
        HAXPStrategyMgr mgr;
        mgr.restoreReportStrategies(files.path(), "psg", true);
        state.PauseTiming();
        mustBe(mgr.reportStrategyCount(&bench::strategyFlow()), count);
        deleteReportStrategies(mgr);
        state.ResumeTiming();
    }
    countFiles(state);
}

constexpr int kReports = 200;

void floorOfCatalogue(benchmark::State& state) {
    const bench::BenchFolder folder;
    bench::writePlainly(folder.path() + "/report.xml", bench::catalogueText(kReports), 0644);
    for (auto _ : state)
        mustBe(bench::parseFolder(folder.path()), 1);
}

void readCatalogue(benchmark::State& state) {
    const bench::BenchFolder folder;
    const std::string path = folder.path() + "/report.xml";
    bench::writePlainly(path, bench::catalogueText(kReports), 0644);
    for (auto _ : state) {
        auto mgr = std::make_unique<HAXRReportSpecMgr>();
        HAXRReportSpecParser(mgr.get(), path).parseReportSpecs();
        mgr->populateLatestSpecs();
        benchmark::DoNotOptimize(mgr->find("report_kind_199"));
        state.PauseTiming();
        mgr.reset();
        state.ResumeTiming();
    }
}

/// A description of 512 kB that comes in 100,000 pieces, as each entity is one.
void readDescription(benchmark::State& state) {
    constexpr int kPairs = 52429;
    std::string pieces;
    for (int i = 0; i < kPairs; ++i)
        pieces += "123456789&lt;";
    const bench::BenchFolder folder;
    const std::string path = folder.path() + "/long.psg";
    std::string text = bench::strategyText("long");
    const std::size_t at = text.find("<Desc>");
    bench::writePlainly(path, text.insert(at + 6, pieces), 0644);
    for (auto _ : state) {
        HAXSStrategyXMLParser parser;
        parser.parseStrategies(path);
        state.PauseTiming();
        const std::unique_ptr<HAXPStrategy> strategy(parser.getOneStrategy());
        mustBe(strategy == nullptr ? 0 : 1, 1);
        state.ResumeTiming();
    }
    state.counters["ms"] = benchmark::Counter(1e-3, benchmark::Counter::kIsIterationInvariantRate |
                                                        benchmark::Counter::kInvert);
}

/// Restored once a process and never destroyed.
const HAXPStrategyMgr& restored(int count) {
    static std::map<int, HAXPStrategyMgr*> s_managers;
    HAXPStrategyMgr*& mgr = s_managers[count];
    if (mgr == nullptr) {
        mgr = std::make_unique<HAXPStrategyMgr>().release();
        mgr->restoreStrategies(strategyFiles(count).path(), "psg", true);
    }
    return *mgr;
}

/// A look-up by name among that many strategies of one flow.
void findStrategy(benchmark::State& state) {
    const auto count = static_cast<int>(state.range(0));
    const HAXPStrategyMgr& mgr = restored(count);
    const std::string name = "Strategy " + std::to_string(count - 1);
    for (auto _ : state)
        benchmark::DoNotOptimize(mgr.findStrategy(&bench::strategyFlow(), name));
}

}  // namespace

BENCHMARK(floorOfRestoring)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(floorOfRestoringFromMemory)
    ->Arg(10000)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(restoreStrategies)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(findStrategy)->Arg(1000)->Arg(100000);
BENCHMARK(floorOfRestoringReports)
    ->Arg(2000)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(restoreReportStrategies)
    ->Arg(2000)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(floorOfCatalogue)->Unit(benchmark::kMillisecond);
BENCHMARK(readCatalogue)->Unit(benchmark::kMillisecond);
BENCHMARK(readDescription)->Unit(benchmark::kMillisecond);
