// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <filesystem>
#include <memory>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "environment/errors/HEXAll.h"
#include "environment/files/HUTFile.h"
#include "shell/doctor.h"
#include "shell/gridCheck.h"
#include "shell/jsonOutput.h"
#include "shell/verb.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/launchLease.h"
#include "workbench/places/knownWays.h"
#include "workbench/printable.h"

namespace shell {

namespace {

/// A submit command and its kind.
struct Grid {
    cluster::Scheduler::Kind kind = cluster::Scheduler::kSge;
    std::string command;
};

class DoctorVerb final : public Verb {
public:
    void declare(CLI::App& command) override {
        CLI::Option* sge = command.add_option(
            "--sge", m_sge, "Try the grid with this submit command, such as 'qsub -q all.q'");
        command.add_option("--lsf", m_lsf, "The same for LSF, such as 'bsub -q normal'")
            ->excludes(sge);
        command.add_option("--wait", m_limitSec, "Seconds to wait for the grid's job")
            ->check(CLI::Range(1, 86400))
            ->capture_default_str();
        addJsonFlag(command, m_json);
    }

    int run(const Session& session) override {
        std::vector<Check> checks = checkTools();
        const std::string dir = folder_(session.projectDir);
        for (Check& check : judgeFolder(lookAtFolder(dir)))
            checks.push_back(std::move(check));
        checks.push_back(checkTcl());
        checks.push_back(checkPageViewer());
        const Grid grid = grid_(session.projectDir);
        if (!grid.command.empty())
            checks.push_back(checkGrid(grid.kind, grid.command, dir, m_limitSec));
        if (m_json)
            printJson(checksJson(checks));
        else
            fmt::print("{}", checksText(checks));
        return exitStatusOf(checks);
    }

private:
    /// The folder of the project's runs; where there is no project, or no folder yet, the one
    /// that it would be in.
    static std::string folder_(const std::string& start) {
        const std::unique_ptr<Project> project = project_(start);
        if (!project)
            return std::filesystem::absolute(start).lexically_normal().string();
        return HUTFile(project->getRunsDir()).isDir() ? project->getRunsDir() : project->getDir();
    }

    /// Null without a project, or with one that can't be read: doctor tells of the rest.
    static std::unique_ptr<Project> project_(const std::string& start) {
        try {
            return Project::open(start, Project::kRead);
        } catch (const HEXAll&) {
            return nullptr;
        }
    }

    Grid grid_(const std::string& start) const {
        if (!m_sge.empty())
            return {cluster::Scheduler::kSge, m_sge};
        if (!m_lsf.empty())
            return {cluster::Scheduler::kLsf, m_lsf};
        return lastGrid_(start);
    }

    /// The grid of the project's latest launch, if that was on one.
    static Grid lastGrid_(const std::string& start) {
        const std::unique_ptr<Project> project = project_(start);
        workbench::LaunchLease latest;
        for (const HAXPExpRun* run : project ? project->getRuns() : std::vector<HAXPExpRun*>()) {
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

    std::string m_sge;
    std::string m_lsf;
    long m_limitSec = 120;
    bool m_json = false;
};

}  // namespace

std::unique_ptr<Verb> makeDoctorVerb() {
    return makeVerb<DoctorVerb>();
}

}  // namespace shell
