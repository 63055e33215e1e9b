// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "shell/runComparison.h"

/// A comparison of runs, for people and for scripts.
namespace shell {

/// A figure's value as it is shown: "54", "54.27", "-3.5"; empty for null.
std::string figureText(const reports::Figure* figure);

/// The figures of `runs`, a column a run, and the options in which they differ. Where
/// `width` columns, 0 for any number, don't hold all runs, several tables follow each other.
std::string comparisonTable(const std::vector<ComparedRun>& runs, int width);

/// Which run is best and why, what was left out, and who misses the goal of its clocks; a
/// line each.
std::vector<std::string> verdictLines(const Verdict& verdict, const std::vector<Goal>& goals);

nlohmann::json comparisonJson(const std::vector<ComparedRun>& runs, const std::vector<Goal>& goals,
                              const Verdict& verdict);

}  // namespace shell
