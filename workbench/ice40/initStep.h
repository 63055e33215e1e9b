// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

namespace ice40 {

/// The command line of `ice40_init`.
struct InitOptions {
    std::string netlist;
    std::string top;
    std::string constraints;
    std::string device = "hx8k";
    std::string package = "ct256";
    std::string databaseFolder;  ///< of the chip databases
    std::string metrics = "init_design.metrics.json";
    bool allowUnconstrained = false;
};

/// Checks netlist, constraints, device and package before anything long runs.
/// All problems of the constraints are printed, each with file and line.
/// @throws StepFailure, StepStopped
void runInit(const InitOptions& options);

/// The program `ice40_init`.
int initMain(int argc, char** argv);

}  // namespace ice40
