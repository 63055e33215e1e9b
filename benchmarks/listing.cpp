// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// Opening a project of 1,000 runs that are done and listing them, against the bare reads of
// what tells of them: the project's file, and of each run directory the names in it, the
// markers, the launch and the numbers of the steps.

#include <array>
#include <cstring>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <benchmark/benchmark.h>

#include "benchmarks/BenchFolder.h"
#include "benchmarks/BenchProject.h"
#include "benchmarks/Pairs.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "shell/listView.h"
#include "shell/runView.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/Project.h"
#include "workbench/fileFingerprint.h"
#include "workbench/openFlows.h"

namespace {

constexpr int kRuns = 1000;
const char kLaunch[] = "c66a0a3c-af2f-44ab-a6e7-470893422461";

const char kProcess[] =
    R"(Host="somewhere" Owner="someone" Uid="0" Pid="630" Pgid="630" StartTicks="3932483")"
    R"( BootId="485d6fbf-163c-402f-8b58-431eec7eee65" PidNamespace="4026531836"/>)";

std::string beginMarker(const std::string& program) {
    return std::string("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ProcessHandle Version=\"1\" "
                       "Minor=\"1\" Launch=\"") +
           kLaunch + "\">\n  <Process " + kProcess + "\n  <Command>" + program +
           "</Command>\n</ProcessHandle>\n";
}

std::string launchFile() {
    return std::string("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Launch Version=\"1\" "
                       "Minor=\"1\" Id=\"") +
           kLaunch + "\" Time=\"1795297706\" Kept=\"\">\n  <Launcher " + kProcess + "\n</Launch>\n";
}

std::string metricsFile(const std::string& step, int run) {
    return R"({"clocks": [{"fmax_mhz": )" + std::to_string(100 + run % 50) +
           R"(.813, "name": "clk$SB_IO_IN_$glb_clk", "slack_ns": 76.658, "target_mhz": 12.0}],
  "counts": {"block_rams": 0, "flip_flops": 30, "global_buffers": 2, "ios": 9,
    "logic_cells": 47, "logic_cells_available": 7680, "luts": 41, "plls": 0},
  "files": {"asc": "blinky.asc", "netlist": "blinky.json", "report": "route_design.report.json"},
  "format": "xperiment-step-metrics", "icetime_mhz": 148.64, "seconds": 3.146,
  "step": ")" +
           step + R"(", "tool": "nextpnr-ice40 0.4-1+b1", "version": 1})" + "\n";
}

/// What a run of the flow leaves, as far as it is read for a list.
void fillDirectory(const std::string& dir, bool isSynthesis, int run) {
    const std::vector<std::array<const char*, 2>> steps =
        isSynthesis
            ? std::vector<std::array<const char*, 2>>{{"ice40_synth", "synth_design"}}
            : std::vector<std::array<const char*, 2>>{{"ice40_init", "init_design"},
                                                      {"ice40_place", "place_design"},
                                                      {"ice40_route", "route_design"},
                                                      {"ice40_bitstream", "write_bitstream"}};
    bench::writePlainly(dir + "/.launch.xml", launchFile(), 0644);
    for (const auto& step : steps) {
        const std::string stem = dir + "/." + step[0];
        bench::writePlainly(stem + ".begin.rst", beginMarker(step[0]), 0644);
        bench::writePlainly(stem + ".end.rst", std::string("launch: ") + kLaunch + "\n", 0644);
        bench::writePlainly(dir + "/" + step[1] + ".metrics.json", metricsFile(step[1], run), 0644);
    }
    for (int i = 0; i < 20; ++i)
        bench::writePlainly(dir + "/report_" + std::to_string(i) + ".rpt", "", 0644);
}

/// One synthesis and the implementations that start from it, all done and launched.
class Listed {
public:
    Listed() : m_bench("exit 0") {
        Project& project = m_bench.project();
        for (int i = 0; i < kRuns; ++i) {
            const std::string name = "run_" + std::to_string(i);
            HAXPExpRun& run = project.createRun(
                name, i == 0 ? *OpenFlows::getSynthesis() : *OpenFlows::getImplementation(), "",
                i == 0 ? "" : "run_0");
            const std::string dir = project.getRunsDir() + "/" + name;
            run.setRunDir(dir, false);
            makeFolder(dir);
            fillDirectory(dir, i == 0, i);
            run.getInfo().setLaunch(1795297706, "");
            run.setRunMode(HAXPExpRunBase::kLaunched);
        }
        project.save();
        m_dir = project.getDir();
    }

    const std::string& dir() const { return m_dir; }

private:
    void makeFolder(const std::string& dir) {
        // The folder of all runs comes with the first.
        mkdir(dir.substr(0, dir.rfind('/')).c_str(), 0755);
        if (mkdir(dir.c_str(), 0755) != 0)
            throw std::runtime_error(dir + " can't be made");
    }

    bench::BenchProject m_bench;
    std::string m_dir;
};

bool isTold(const char* name) {
    const std::size_t size = std::strlen(name);
    return (name[0] == '.' &&
            (std::strstr(name, ".rst") != nullptr || std::strcmp(name, ".launch.xml") == 0)) ||
           (size > 13 && std::strcmp(name + size - 13, ".metrics.json") == 0);
}

void readFileAt(int folder, const char* name) {
    std::array<char, 65536> buffer{};
    const int fd = openat(folder, name, O_RDONLY | O_CLOEXEC);
    while (read(fd, buffer.data(), buffer.size()) > 0) {
    }
    close(fd);
}

/// Lists a run directory and, with `reads`, reads what tells of the run.
void readDirectory(const std::string& path, bool reads) {
    DIR* dir = opendir(path.c_str());
    while (const dirent* entry = readdir(dir)) {
        if (reads && isTold(entry->d_name))
            readFileAt(dirfd(dir), entry->d_name);
    }
    closedir(dir);
}

void readBarely(const std::string& project, bool reads) {
    if (reads)
        readFileAt(AT_FDCWD, (project + "/project.xml").c_str());
    for (int i = 0; i < kRuns; ++i)
        readDirectory(project + "/runs/run_" + std::to_string(i), reads);
}

void listAll(const std::string& dir) {
    const auto project = Project::open(dir, Project::kOverview);
    std::vector<shell::ListedRun> runs;
    const workbench::FileWatch::Moment moment;
    shell::KnownStale known;
    for (HAXPExpRun* run : project->getRuns())
        runs.push_back(shell::listedRun(*project, *run, known));
    for (const shell::ListedRun& run : runs) {
        if (run.status != "done" || !run.luts)
            throw std::runtime_error(run.name + " isn't listed as done");
    }
    benchmark::DoNotOptimize(shell::listText(runs));
}

/// With 1 the floor reads files, with 0 it only lists directories.
void listRuns(benchmark::State& state) {
    const Listed listed;
    // Times are trusted once they are older than the coarsest clock.
    std::this_thread::sleep_for(std::chrono::seconds(4));
    bench::Pairs pairs(bench::Pairs::kProcessor);
    for (auto _ : state) {
        for (int round = 0; round < 5; ++round) {
            pairs.floor([&] { readBarely(listed.dir(), state.range(0) != 0); });
            pairs.measure([&] { listAll(listed.dir()); });
        }
    }
    pairs.tell(state);
}

}  // namespace

BENCHMARK(listRuns)->ArgName("reads")->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond)->Iterations(1);
