// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "tests/unit/workbench/history/LaunchedProject.h"

#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/ice40/metrics.h"
#include "workbench/openFlows.h"

namespace test {

LaunchedProject::LaunchedProject()
    : m_project(Project::create(m_bench.path("proj"), m_bench.inputs())),
      m_synthesis(m_project->createRun("synth_1", *OpenFlows::getSynthesis(), "Default", "")),
      m_implementation(
          m_project->createRun("impl_1", *OpenFlows::getImplementation(), "Default", "")) {}

void LaunchedProject::giveDir(HAXPExpRun& run) const {
    run.setRunDir(m_project->getRunsDir() + "/" + run.getName(), false);
    HUTFile(run.getDir()).mkDirRecursive();
}

void LaunchedProject::finish(HAXPExpRun& run, const std::string& id, long time) const {
    giveDir(run);
    lease(run, id, time);
    m_bench.finish(run, time);
    run.getInfo().readMetrics();
    run.updateRun();
}

void LaunchedProject::lease(const HAXPExpRun& run, const std::string& id, long time,
                            const workbench::LaunchWay& way) {
    workbench::LaunchLease lease = workbench::makeLease();
    lease.id = id;
    lease.time = time;
    lease.way = way;
    workbench::writeLease(run.pathOf(workbench::kLeaseName), lease);
}

void LaunchedProject::tell(const HAXPExpRun& run, const std::string& step, double fmaxMhz,
                           double seconds) {
    constexpr double kTargetMhz = 50;
    ice40::StepMetrics metrics;
    metrics.step = step;
    metrics.tool = "nextpnr-ice40 0.4";
    metrics.seconds = seconds;
    metrics.counts["luts"] = 40;
    metrics.clocks.push_back({"clk", fmaxMhz, kTargetMhz});
    HUTFileUtils::replaceFile(run.pathOf(ice40::metricsFileName(step)),
                              ice40::formatMetrics(metrics));
}

workbench::LaunchRecord LaunchedProject::record(const std::string& run, const std::string& id,
                                                long time) {
    workbench::LaunchRecord record;
    record.launch = id;
    record.run = run;
    record.flow = "impl";
    record.strategy = "Default";
    record.place = "here";
    record.launched = time;
    record.began = time + 1;
    record.ended = time + 10;
    record.outcome = "done";
    record.steps = {{"place_design", "done", time + 1, 4, "nextpnr", {{"fmax_mhz", 50}}},
                    {"route_design", "done", time + 5, 5, "nextpnr", {{"fmax_mhz", 45}}}};
    record.options = {{"place_design.seed", "7"}};
    record.figures = {{"fmax", 45}, {"luts", 40}};
    return record;
}

}  // namespace test
