// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "shell/doctor.h"

namespace shell {

class Interrupt;

/// What to look at, and how.
struct CheckRequest {
    /// A folder of the project, or one that is to be one.
    std::string dir = ".";
    /// Submit commands of a grid to try, one at most. Without one the grid of the project's
    /// latest launch is tried, if that was on one.
    std::string sgeCommand;
    std::string lsfCommand;
    /// How long to wait for the grid's job.
    long limitSec = 120;
};

/// Checks the tools, the folder of the project's runs, Tcl, the page, runs that may never end, and
/// the grid. It may take as long as the grid does, or until Ctrl-C is pressed.
std::vector<Check> checkAll(const CheckRequest& request, const Interrupt& interrupt);

}  // namespace shell
