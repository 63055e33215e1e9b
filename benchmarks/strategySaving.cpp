// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// Saving 1,000 strategies against bare writes of the same bytes that are synced and renamed.

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include <benchmark/benchmark.h>

#include "benchmarks/StrategyFiles.h"
#include "environment/containers/HSTFwdIter.h"
#include "environment/containers/HSTVector.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HAXPStrategyMgr.h"

namespace {

constexpr int kStrategies = 1000;

/// Strategies and the files that they came from.
class Saved {
public:
    Saved() : m_files(kStrategies, bench::strategyText) {
        m_mgr.restoreStrategies(m_files.path(), "psg", true);
        if (m_mgr.strategyCount(&bench::strategyFlow()) != kStrategies)
            throw std::runtime_error("not all strategies were restored");
        for (const std::string& path : m_files.paths())
            m_texts.push_back(bench::readWhole(path));
    }

    HAXPStrategyMgr& mgr() { return m_mgr; }
    const bench::StrategyFiles& files() const { return m_files; }
    const std::vector<std::string>& texts() const { return m_texts; }

private:
    bench::StrategyFiles m_files;
    HAXPStrategyMgr m_mgr;
    std::vector<std::string> m_texts;
};

Saved& saved() {
    static Saved s_saved;
    return s_saved;
}

void require(bool isDone) {
    if (!isDone)
        throw std::runtime_error("a bare save failed");
}

void syncFolder(const std::string& folder) {
    const int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    require(fd >= 0 && fsync(fd) == 0);
    close(fd);
}

void savePlainly(const std::string& path, const std::string& temp, const std::string& text) {
    const int fd = open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    require(fd >= 0 && write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size()));
    require(fsync(fd) == 0 && close(fd) == 0);
    require(rename(temp.c_str(), path.c_str()) == 0);
}

/// With `state.range(0)` the folder is synced behind each rename, without which a file
/// isn't safe from a power cut.
void floorOfSaving(benchmark::State& state) {
    const Saved& all = saved();
    const std::string folder = all.files().path();
    const std::string temp = folder + "/.temporary";
    for (auto _ : state) {
        for (int i = 0; i < kStrategies; ++i) {
            savePlainly(all.files().paths()[i], temp, all.texts()[i]);
            if (state.range(0) != 0)
                syncFolder(folder);
        }
    }
}

void saveStrategies(benchmark::State& state) {
    HAXPStrategyMgr& mgr = saved().mgr();
    const HSTVector<HAXPStrategy*>& all = *mgr.getStratVec(&bench::strategyFlow());
    for (auto _ : state)
        for (HAXPStrategy* const strategy : all)
            mgr.saveStrat(strategy);
}

}  // namespace

BENCHMARK(floorOfSaving)
    ->ArgName("folderSync")
    ->Arg(0)
    ->Arg(1)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(saveStrategies)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();
