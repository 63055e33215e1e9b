// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "shell/runComparison.h"
#include "shell/staleView.h"

class HAXPExpRun;
class Project;

namespace shell {

/// The runs called `names`, or all implementations. @throws CommandError there is none.
std::vector<HAXPExpRun*> runsToCompare(const Project& project,
                                       const std::vector<std::string>& names);

/// Where figures come from: the reports of a run, and for what no report tells the numbers
/// that its steps left.
enum class FigureSource { kReports, kReportsAndSteps };

/// `run` as it is compared; what it starts from isn't looked at when that is `known`. Reports that
/// can't be read are told on standard error.
ComparedRun comparedRun(const Project& project, HAXPExpRun& run, FigureSource source,
                        KnownStale* known = nullptr);

/// The same of each of `runs`.
std::vector<ComparedRun> comparedRuns(const Project& project, const std::vector<HAXPExpRun*>& runs,
                                      FigureSource source);

}  // namespace shell
