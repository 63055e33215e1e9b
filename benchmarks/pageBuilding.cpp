// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// The page of 1,000 runs that are done, with the figures and the slowest path of each, against
// bare reads of the files that tell them.

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include "benchmarks/BenchFolder.h"
#include "benchmarks/BenchProject.h"
#include "benchmarks/Pairs.h"
#include "environment/containers/HSTFwdIter.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "shell/page/pageData.h"
#include "shell/page/pageFile.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/Project.h"
#include "workbench/ice40/metrics.h"
#include "workbench/openFlows.h"
#include "workbench/runFamily.h"

namespace {

constexpr int kHops = 14;
constexpr int kSeeds = 10;

/// nextpnr's report of a path of `kHops` nets.
std::string pnrReport() {
    std::string hops;
    for (int i = 0; i < kHops; ++i)
        hops += fmt::format(
            R"({{"type": "routing", "delay": 0.588, "net": "core.register_file_{0}[3]",
"from": {{"cell": "core.cell_{0}_LC", "port": "O", "loc": [{0}, 2]}},
"to": {{"cell": "core.cell_{1}_LC", "port": "I0", "loc": [{1}, 3]}}}},
{{"type": "logic", "delay": 0.378, "from": {{"cell": "core.cell_{1}_LC", "port": "I0", "loc": [{1}, 3]}},
"to": {{"cell": "core.cell_{1}_LC", "port": "O", "loc": [{1}, 3]}}}},)",
            i, i + 1);
    hops.pop_back();
    return R"({"utilization": {"ICESTORM_LC": {"used": 1170, "available": 7680}},
"fmax": {"clk": {"achieved": 54.0, "constraint": 40}}, "critical_paths":
[{"from": "posedge clk", "to": "posedge clk", "path": [)" +
           hops + "]}]}";
}

/// A project with so many implementations that are done, ten seeds a family.
class DoneRuns {
public:
    explicit DoneRuns(int count) : m_bench("exit 0") {
        Project& project = m_bench.project();
        m_bench.addRun("synth_1");
        for (int i = 0; i < count; ++i)
            add_(project.createRun(fmt::format("night_{}_s{}", i / kSeeds, i % kSeeds),
                                   *OpenFlows::getImplementation(), "", "synth_1"),
                 i);
        project.save();
    }

    Project& project() { return m_bench.project(); }
    const std::vector<std::string>& files() const { return m_files; }

private:
    void add_(HAXPExpRun& run, int number) {
        Project& project = m_bench.project();
        const std::string dir = m_dirs.folder(run.getName());
        run.setRunDir(dir, false);
        project.setOption(run, "place_design.seed", std::to_string(number % kSeeds + 1));
        project.setFamilyOf(run, {"night", fmt::format("night_{}", number / kSeeds)});
        const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run.createRunStepIter());
        while (steps->hasNext()) {
            const std::string step = steps->next()->getFlowStep()->getStatusTrackingStr();
            bench::writePlainly(fmt::format("{}/.{}.begin.rst", dir, step), "", 0644);
            bench::writePlainly(fmt::format("{}/.{}.end.rst", dir, step), "", 0644);
        }
        ice40::StepMetrics metrics;
        metrics.step = "route_design";
        metrics.clocks = {{"clk", 50 + number % 7, 40}};
        metrics.files = {{ice40::files::kReport, "report.json"}};
        write_(dir + "/route_design.metrics.json", ice40::formatMetrics(metrics));
        write_(dir + "/report.json", pnrReport());
        write_(dir + "/runme.log", std::string(20000, 'x') + "\nend\n");
        run.getInfo().setLaunch(1, "");
        run.getInfo().recordLaunch();
        run.setRunMode(HAXPExpRun::kLaunched);
        run.updateRun();
    }
    void write_(const std::string& path, const std::string& content) {
        bench::writePlainly(path, content, 0644);
        m_files.push_back(path);
    }

    bench::BenchProject m_bench;
    bench::BenchFolder m_dirs;
    std::vector<std::string> m_files;
};

void buildPage(benchmark::State& state) {
    DoneRuns runs(static_cast<int>(state.range(0)));
    const std::string frame =
        R"(<script type="application/json" id="xp-data">{}</script>)" + std::string(1000000, ' ');
    shell::PageRequest request;
    request.runs = runs.project().getRuns();
    bench::Pairs pairs(bench::Pairs::kProcessor);
    std::size_t bytes = 0;
    for (auto _ : state) {
        for (int round = 0; round < 5; ++round) {
            pairs.floor([&runs] {
                for (const std::string& file : runs.files())
                    benchmark::DoNotOptimize(bench::readWhole(file));
            });
            pairs.measure([&] {
                runs.project().updateRuns();
                bytes = shell::pageWith(frame, shell::pageData(runs.project(), request)).size();
            });
        }
    }
    if (bytes < 1000000 + static_cast<std::size_t>(state.range(0)) * 1000)
        state.SkipWithError("the page lacks its runs");
    pairs.tell(state);
    state.counters["ms"] = state.counters["us"] / 1000;
    state.counters["bytes_per_run"] =
        static_cast<double>(bytes - frame.size()) / static_cast<double>(state.range(0));
}

}  // namespace

BENCHMARK(buildPage)->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond)->Iterations(1);
