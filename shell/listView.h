// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "shell/staleView.h"

class HAXPExpRun;
class Project;

/// Runs as lines of a list.
namespace shell {

/// What a line of the list tells of a run.
struct ListedRun {
    std::string name;
    std::string flow;
    /// As statusWord() has it, and the step that it is about.
    std::string status;
    std::string step;
    bool isStale = false;
    std::string strategy;
    /// None for a run without place and route.
    std::optional<long> seed;
    std::string sweep;
    std::string family;
    std::optional<double> fmaxMhz;
    std::optional<double> slackNs;
    std::optional<double> luts;
    std::optional<double> seconds;
    /// A command that brings the run further; empty when nothing is to be done.
    std::string next;
};

/// What is to be told of `run`, whose status is up to date; looks for stale reasons, and of what
/// it starts from unless that is `known`.
ListedRun listedRun(const Project& project, HAXPExpRun& run, KnownStale& known);

/// The command that brings a run with the status `word` further; empty for none.
std::string nextCommand(const std::string& name, const std::string& word, bool isStale);

/// Sorts by one of sortKeys(): the best figures first, words by the alphabet, statuses by what
/// they ask of the user. What isn't known comes last. Equals keep their order.
void sortRuns(std::vector<ListedRun>& runs, const std::string& key);

/// The list for people, cut at the width of the terminal, and for scripts.
std::string listText(const std::vector<ListedRun>& runs);
nlohmann::json listJson(const Project& project, const std::vector<ListedRun>& runs);

}  // namespace shell
