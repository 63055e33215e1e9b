// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "shell/runDiff.h"
#include "workbench/statistics/verdict.h"

class Project;

namespace shell {

/// Two sides, and what differs between them.
struct NamedDiff {
    DiffSide first;
    DiffSide second;
    RunDiff diff;
};

/// What differs between two runs, or two families; of families with tested verdicts that answer
/// `question`. @throws CommandError or HEXUserException a name means nothing, a sweep of several
/// families, or one a run and the other a family.
NamedDiff diffOfNames(const Project& project, const std::string& first, const std::string& second,
                      const statistics::Question& question);

}  // namespace shell
