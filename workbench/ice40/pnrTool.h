// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "workbench/ice40/metrics.h"
#include "workbench/ice40/placement.h"
#include "workbench/ice40/reports.h"

namespace ice40 {

/// The words that start nextpnr on the inputs of a placement; a missed
/// frequency never ends it, its report tells.
std::vector<std::string> pnrWords(const Placement& placement, const std::string& report);

/// Runs nextpnr with every line in the log, and gathers from them.
/// @throws StepFailure, StepStopped
PnrLog runPnr(const std::vector<std::string>& words);

/// "nextpnr-ice40 0.4-1"; empty when the tool doesn't tell.
std::string pnrVersion();

/// Reads the report that nextpnr wrote to `path` into the metrics.
/// @throws StepFailure it can't be used.
void takePnrReport(const std::string& path, StepMetrics& metrics);

/// A line for each clock: what was reached, what was asked for, what is left.
void printClocks(const StepMetrics& metrics);

}  // namespace ice40
