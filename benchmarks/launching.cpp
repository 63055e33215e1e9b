// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// Starting a process from a small and from a large one, against the bare system call; and
// launching a run, against starting its script.

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <benchmark/benchmark.h>

#include "benchmarks/BenchProject.h"
#include "benchmarks/Pairs.h"
#include "environment/process/HUTFork.h"
#include "runs/base/xperiment/HAXPLaunchOptions.h"
#include "runs/base/xperiment/HAXPScriptWriter.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/LaunchQueue.h"
#include "workbench/Project.h"
#include "workbench/RunLauncher.h"

extern char** environ;

namespace {

constexpr std::size_t kMega = std::size_t{1} << 20U;

/// Memory that this process holds for as long as this lives, every page of it written.
class Ballast {
public:
    explicit Ballast(std::size_t megas) : m_bytes(megas * kMega) {
        for (std::size_t i = 0; i < m_bytes.size(); i += 4096)
            m_bytes[i] = static_cast<char>(i);
        benchmark::DoNotOptimize(m_bytes.data());
    }

private:
    std::vector<char> m_bytes;
};

/// Whether the host can spare twice as much.
bool isSpare(std::size_t megas) {
    const long pages = sysconf(_SC_AVPHYS_PAGES);
    return pages > 0 && static_cast<std::size_t>(pages) / 256 > 2 * megas;
}

void await(pid_t pid) {
    waitpid(pid, nullptr, 0);
}

void startProcess(benchmark::State& state) {
    constexpr int kStarts = 300;
    const auto megas = static_cast<std::size_t>(state.range(0));
    if (!isSpare(megas)) {
        state.SkipWithError("the host has too little memory to spare");
        return;
    }
    const Ballast ballast(megas);
    bench::Pairs pairs(bench::Pairs::kWall);
    char program[] = "/bin/true";
    char* words[] = {program, nullptr};
    for (auto _ : state) {
        for (int i = 0; i < kStarts; ++i) {
            pid_t pid = 0;
            pairs.floor([&] {
                if (posix_spawn(&pid, program, nullptr, nullptr, words, environ) != 0)
                    state.SkipWithError("nothing was started");
            });
            await(pid);
            HUTFork fork;
            pairs.measure([&] {
                fork.addArg(program);
                pid = fork.launch(false, true, false, false);
            });
            await(pid);
        }
    }
    pairs.tell(state);
}

/// The same with the process waited for, as the whole takes.
void runProcess(benchmark::State& state) {
    constexpr int kStarts = 300;
    bench::Pairs pairs(bench::Pairs::kWall);
    char program[] = "/bin/true";
    char* words[] = {program, nullptr};
    for (auto _ : state) {
        for (int i = 0; i < kStarts; ++i) {
            pairs.floor([&] {
                pid_t pid = 0;
                posix_spawn(&pid, program, nullptr, nullptr, words, environ);
                await(pid);
            });
            pairs.measure([&] {
                HUTFork fork;
                fork.addArg(program);
                fork.launch(true, false, false, false);
            });
        }
    }
    pairs.tell(state);
}

/// Launching each of so many runs of one project, against starting a shell script.
void launchRuns(benchmark::State& state) {
    bench::Pairs pairs(bench::Pairs::kWall);
    for (auto _ : state) {
        bench::BenchProject bench("exit 0");
        std::vector<HAXPExpRun*> runs;
        for (int i = 0; i < state.range(0); ++i)
            runs.push_back(&bench.addRun("run_" + std::to_string(i)));
        RunLauncher launcher(bench.project());
        for (HAXPExpRun* run : runs) {
            pairs.measure([&] { launcher.launch(*run); });
            // What runs beside the next launch would be measured with it.
            bench::awaitStatus(*run, HDGUIStatus::statusDone);
            pairs.floor([&] {
                HUTFork script;
                script.addArg(run->pathOf("runme.sh"));
                script.launch(false, true, false, true);
            });
            bench::awaitStatus(*run, HDGUIStatus::statusDone);
        }
    }
    pairs.tell(state);
}

/// Making and launching so many runs in one queue, with all that xp does before, between and
/// behind them, against starting their scripts.
void launchQueue(benchmark::State& state) {
    const auto count = static_cast<int>(state.range(0));
    bench::Pairs pairs(bench::Pairs::kWall);
    for (auto _ : state) {
        bench::BenchProject bench("exit 0");
        std::vector<HAXPExpRun*> runs;
        pairs.measure([&] {
            for (int i = 0; i < count; ++i)
                runs.push_back(&bench.addRun("run_" + std::to_string(i)));
            HAXPLaunchOptions options;
            // One after the other, as on a host that is busy.
            options.setNumJobsSH(1);
            LaunchQueue queue(bench.project(), options);
            for (HAXPExpRun* run : runs)
                queue.add(*run);
            while (!queue.isOver())
                queue.advance();
        });
        pairs.floor([&] {
            for (HAXPExpRun* run : runs) {
                HUTFork script;
                script.addArg(run->pathOf("runme.sh"));
                script.launch(true, true, false, true);
            }
        });
    }
    pairs.tell(state);
}

/// What of a launch grows with the project: so many runs saved, and told of their inputs.
void saveProject(benchmark::State& state) {
    bench::BenchProject bench("exit 0");
    for (int i = 0; i < state.range(0); ++i)
        bench.addRun("run_" + std::to_string(i));
    for (auto _ : state)
        bench.project().save();
}

void tellInputs(benchmark::State& state) {
    bench::BenchProject bench("exit 0");
    for (int i = 0; i < state.range(0); ++i)
        bench.addRun("run_" + std::to_string(i));
    for (auto _ : state)
        bench.project().setInputs(bench.project().getInputs());
}

void writeScripts(benchmark::State& state) {
    bench::BenchProject bench("exit 0");
    HAXPExpRun& run = bench.addRun("run");
    RunLauncher(bench.project()).launch(run);
    bench::awaitStatus(run, HDGUIStatus::statusDone);
    for (auto _ : state)
        HAXPScriptWriter(&run).writeScript();
}

void checkScript(benchmark::State& state) {
    for (auto _ : state) {
        HUTFork shell;
        for (const char* word : {"sh", "-n", "/dev/null"})
            shell.addArg(word);
        benchmark::DoNotOptimize(shell.launch(true, false, true, true));
    }
}

}  // namespace

BENCHMARK(startProcess)->ArgName("mb")->Arg(0)->Arg(2048)->Iterations(1);
BENCHMARK(runProcess)->Iterations(1);
BENCHMARK(launchRuns)->Arg(20)->Arg(200)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(launchQueue)->Arg(20)->Arg(200)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(saveProject)->Arg(20)->Arg(200)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(tellInputs)->Arg(20)->Arg(200)->Unit(benchmark::kMillisecond);
BENCHMARK(writeScripts)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(checkScript)->Unit(benchmark::kMillisecond)->UseRealTime();
