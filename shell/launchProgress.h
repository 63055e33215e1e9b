// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "workbench/timeLeft.h"
#include "workbench/toolProgress.h"

class HAXPExpRun;
class Project;

namespace shell {

/// How far the runs of one launch are, by number.
struct LaunchCounts {
    int ended = 0;  ///< failed and abandoned ones included
    int failed = 0;
    int total = 0;
    int abandoned = 0;  ///< not among the failed ones
};

/// What a run at work does.
struct RunProgress {
    std::string step;
    workbench::ToolProgress tool;
    /// Since the step began.
    double seconds = 0;
    /// Until the run ends, if that is known.
    std::optional<double> left;
};

/// How far runs at work are: their logs, and how long they will still take.
class LaunchProgress {
public:
    /// `project` isn't owned. `expected` tells what steps take.
    LaunchProgress(const Project& project, workbench::ExpectedSeconds expected);
    ~LaunchProgress();

    LaunchProgress(const LaunchProgress&) = delete;
    LaunchProgress& operator=(const LaunchProgress&) = delete;

    /// Takes another reading of the same project in the place of the one before, which may go.
    void setProject(const Project& project, workbench::ExpectedSeconds expected);

    /// What `run`, which is up to date, does now. Reads what is new in its log.
    RunProgress look(const HAXPExpRun& run);

    /// The line of a launch, such as "[3/12] running 2, waiting 7, failed 1, 4:10 left: impl_3
    /// route_design 0:12 41 %, routing, 312 arcs left". The run that it tells of is the one
    /// that will end last, or while that isn't known the first. At most `slots` are at work
    /// at once; 0 when that isn't known.
    std::string line(const LaunchCounts& counts, const std::vector<HAXPExpRun*>& running,
                     const std::vector<HAXPExpRun*>& waiting, std::size_t slots);

    /// Forgets the logs of runs that aren't among `running`.
    void keepOnly(const std::vector<HAXPExpRun*>& running);

    /// Until all of `running`, of which `left` tells what is left, and of `waiting` have ended;
    /// nothing when one of them isn't known. `slots` as for line().
    std::optional<double> secondsLeft(const std::vector<HAXPExpRun*>& running,
                                      const std::vector<std::optional<double>>& left,
                                      const std::vector<HAXPExpRun*>& waiting,
                                      std::size_t slots) const;

private:
    const Project* m_project;
    workbench::ExpectedSeconds m_expected;
    /// By the name of the run.
    std::map<std::string, std::unique_ptr<workbench::ToolProgressReader>> m_readers;
};

/// "impl_3 route_design 0:12 41 %, routing, 312 arcs left".
std::string runProgressText(const std::string& name, const RunProgress& progress);

}  // namespace shell
