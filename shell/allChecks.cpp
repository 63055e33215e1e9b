// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/allChecks.h"

#include <filesystem>
#include <memory>
#include <utility>

#include "environment/errors/HEXAll.h"
#include "environment/files/HUTFile.h"
#include "shell/explanation.h"
#include "shell/gridCheck.h"
#include "shell/interrupt.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/launchLease.h"
#include "workbench/places/knownWays.h"

namespace shell {

namespace {

/// A submit command and its kind.
struct Grid {
    cluster::Scheduler::Kind kind = cluster::Scheduler::kSge;
    std::string command;
};

/// Null without a project, or with one that can't be read: the rest is told still.
std::unique_ptr<Project> projectIn(const std::string& dir) {
    try {
        return Project::open(dir, Project::kRead);
    } catch (const HEXAll&) {
        return nullptr;
    }
}

/// The folder of the project's runs; where there is no project, or no folder yet, the one that
/// it would be in.
std::string folderOf(const Project* project, const std::string& dir) {
    if (project == nullptr)
        return std::filesystem::absolute(dir).lexically_normal().string();
    return HUTFile(project->getRunsDir()).isDir() ? project->getRunsDir() : project->getDir();
}

/// The runs that may never end; of one that is well there is nothing to say.
std::vector<Check> checkRuns(const Project* project) {
    std::vector<Check> checks;
    for (HAXPExpRun* run : project != nullptr ? project->getRuns() : std::vector<HAXPExpRun*>()) {
        run->updateStatus();
        const std::string why = standstillText(*run);
        if (!why.empty())
            checks.push_back({"runs", run->getName(), Health::kWarn, "may never end: " + why,
                              standstillAdvice(*run)});
    }
    return checks;
}

/// The grid of the project's latest launch, if that was on one.
Grid lastGrid(const Project* project) {
    workbench::LaunchLease latest;
    for (const HAXPExpRun* run :
         project != nullptr ? project->getRuns() : std::vector<HAXPExpRun*>()) {
        workbench::LaunchLease lease;
        if (workbench::readLeaseOf(*run, lease) && lease.time >= latest.time)
            latest = lease;
    }
    if (!workbench::isOnCluster(latest.way) || !workbench::isKnownWay(latest))
        return {};
    return {latest.way.kind == workbench::LaunchWay::Kind::kSge ? cluster::Scheduler::kSge
                                                                : cluster::Scheduler::kLsf,
            latest.way.command};
}

Grid gridOf(const CheckRequest& request, const Project* project) {
    if (!request.sgeCommand.empty())
        return {cluster::Scheduler::kSge, request.sgeCommand};
    if (!request.lsfCommand.empty())
        return {cluster::Scheduler::kLsf, request.lsfCommand};
    return lastGrid(project);
}

}  // namespace

std::vector<Check> checkAll(const CheckRequest& request, const Interrupt& interrupt) {
    std::vector<Check> checks = checkTools();
    const std::unique_ptr<Project> project = projectIn(request.dir);
    const std::string dir = folderOf(project.get(), request.dir);
    for (Check& check : judgeFolder(lookAtFolder(dir)))
        checks.push_back(std::move(check));
    checks.push_back(checkTcl());
    checks.push_back(checkPageViewer());
    for (Check& check : checkRuns(project.get()))
        checks.push_back(std::move(check));
    const Grid grid = gridOf(request, project.get());
    if (!grid.command.empty() && !interrupt.pause(0))
        checks.push_back(checkGrid(grid.kind, grid.command, dir, request.limitSec, interrupt));
    return checks;
}

}  // namespace shell
