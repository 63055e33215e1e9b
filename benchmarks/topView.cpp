// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// The full-screen view of 1,000 runs: its memory, whether that grows, and what a look costs.

#include <memory>
#include <string>

#include <benchmark/benchmark.h>
#include <malloc.h>

#include "benchmarks/BenchProject.h"
#include "shell/board.h"
#include "shell/boardFeed.h"
#include "shell/boardView.h"
#include "shell/liveProject.h"
#include "workbench/Project.h"

namespace {

constexpr int kRuns = 1000;
constexpr int kWidth = 160;
constexpr int kHeight = 50;

double heapKb() {
    return static_cast<double>(mallinfo2().uordblks) / 1024;
}

/// A saved project of many runs, made once.
const std::string& projectDir() {
    static const auto s_project = [] {
        auto made = std::make_unique<bench::BenchProject>("exit 0");
        for (int i = 0; i < kRuns; ++i)
            made->addRun("synthesis_" + std::to_string(i));
        made->project().save();
        return made;
    }();
    return s_project->project().getDir();
}

void draw(shell::BoardFeed& feed, shell::Board& board) {
    board.setHeight(shell::boardRows(kHeight));
    feed.update(board);
    benchmark::DoNotOptimize(shell::drawBoard(board, kWidth, kHeight));
}

/// One look at the runs and one picture of them.
void drawTop(benchmark::State& state) {
    const std::string& dir = projectDir();
    const double before = heapKb();
    shell::LiveProject live(dir);
    const double opened = heapKb();
    shell::BoardFeed feed(live);
    shell::Board board("bench");
    draw(feed, board);
    const double drawn = heapKb();
    for (auto _ : state)
        draw(feed, board);
    state.counters["project_kb"] = opened - before;
    state.counters["view_kb"] = drawn - opened;
    state.counters["growth_kb"] = heapKb() - drawn;
    state.counters["runs_looked_at"] = static_cast<double>(feed.lookedAt());
}
BENCHMARK(drawTop)->Unit(benchmark::kMillisecond)->Iterations(200);

}  // namespace
