// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "workbench/abandon.h"

class Project;

/// What xp and its Tcl need to give up runs that can't win any more.
namespace shell {

/// Reads a rule such as "fmax < 90% of best". @throws CommandError it is none; the text says how
/// one looks.
workbench::AbandonRule readRule(const std::string& text);

/// How far results may lie above their estimates, by what `project` remembers; not at all for a
/// rule about a figure that is final after placement.
workbench::EstimateError learnedError(const Project& project, const workbench::AbandonRule& rule);

}  // namespace shell
