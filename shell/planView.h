// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

class HAXPExpRun;
class Project;

/// What a launch would do, told before it does it.
namespace shell {

/// A run in the order in which a launch comes to it.
struct PlannedRun {
    const HAXPExpRun* run = nullptr;
    /// Whether it would be launched; else it is up to date, or refused.
    bool isLaunched = false;
    /// The ids of the first and the last step that would run.
    std::string from;
    std::string to;
    /// Why it isn't up to date, one text a reason.
    std::vector<std::string> because;
    /// Why it would be refused; empty for one that wouldn't.
    std::string refusal;
};

struct LaunchPreview {
    std::vector<PlannedRun> runs;
    /// Why nothing at all would be launched; empty when something would.
    std::string refusal;
};

/// What "xp launch" would do with the runs `chosen`. Changes nothing but status and stale
/// reasons in memory.
LaunchPreview previewLaunch(const Project& project, const std::vector<HAXPExpRun*>& chosen);

std::string previewText(const LaunchPreview& preview);
nlohmann::json previewJson(const LaunchPreview& preview);

}  // namespace shell
