// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

class HAXPExpRun;
class HAXPStrategy;
class Project;

/// What "xp show" tells of a project and of a run.
namespace shell {

/// An option that differs from its default, as texts.
struct OptionChoice {
    std::string step;
    std::string name;
    std::string value;
    std::string defaultValue;
};

/// In the order of steps and options.
std::vector<OptionChoice> changedOptions(const HAXPStrategy& strategy);
nlohmann::json optionsJson(const HAXPStrategy& strategy);

std::string projectText(const Project& project);
nlohmann::json projectJson(const Project& project);

/// Brings the run's stale reasons up to date.
std::string runText(const Project& project, HAXPExpRun& run);
nlohmann::json runJson(const Project& project, HAXPExpRun& run);

}  // namespace shell
