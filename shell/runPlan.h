// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

class HAXPExpRun;
class Project;

namespace shell {

/// The run called `name`. @throws CommandError there is one that is called nearly so.
/// @throws HEXUserException there is no such run.
HAXPExpRun& chosenRun(const Project& project, const std::string& name);

/// The runs of the sweep or family `name`, in the project's order; none when there isn't one.
std::vector<HAXPExpRun*> runsOfFamily(const Project& project, const std::string& name);

/// The runs called `names`, each once, or all of the project. A name that is no run's may
/// be that of a sweep or family and means all its runs. Throws as chosenRun() does.
std::vector<HAXPExpRun*> chosenRuns(const Project& project, const std::vector<std::string>& names);

/// What a launch has to do.
struct RunPlan {
    /// What was asked for, synthesis before what starts from it.
    std::vector<HAXPExpRun*> runs;
    /// Those of them that have to be launched. The rest is up to date.
    std::vector<HAXPExpRun*> launches;

    bool launchesRun(const HAXPExpRun& run) const;
};

/// The plan for `chosen`: a synthesis that isn't up to date is launched before the
/// implementations that start from it, asked for or not.
RunPlan makePlan(const Project& project, const std::vector<HAXPExpRun*>& chosen);

/// The same for a launch that follows at once: looks first whether what is at work by its
/// markers still lives. @throws HEXUserException a run of the plan is at work; nothing is
/// touched.
RunPlan makeLaunchPlan(const Project& project, const std::vector<HAXPExpRun*>& chosen);

}  // namespace shell
