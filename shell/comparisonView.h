// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "shell/runComparison.h"

/// A comparison of runs, for people and for scripts.
namespace shell {

/// A figure's value as it is shown: "54", "54.27", "-3.5"; empty for null.
std::string figureText(const reports::Figure* figure);
/// A value as that shows it.
std::string figureNumber(double value);

/// The figures of `runs`, a column a run, and the options in which they differ. Where
/// `width` columns, 0 for any number, don't hold all runs, several tables follow each other.
/// Unless it `isWhole`, figures that are the same in all of several runs are counted alone.
std::string comparisonTable(const std::vector<ComparedRun>& runs, int width, bool isWhole);

/// The line that tells how many figures a table leaves out, since all have the same; empty for
/// none.
std::string sameFiguresLine(std::size_t count);

/// The first line of verdictLines(), and how many runs miss the goal of their clocks.
std::string shortVerdict(const Verdict& verdict, const std::vector<Goal>& goals);

/// Which run is best and why, what was left out, and who misses the goal of its clocks; a
/// line each.
std::vector<std::string> verdictLines(const Verdict& verdict, const std::vector<Goal>& goals);

nlohmann::json comparisonJson(const std::vector<ComparedRun>& runs, const std::vector<Goal>& goals,
                              const Verdict& verdict);

}  // namespace shell
