// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/reportRecords.h"
#include "workbench/runFamily.h"

/// A run of a project, and what only the project knows of it.
struct Project::Entry {
    std::unique_ptr<HAXPExpRun> run;
    const HAXPFlow* flow = nullptr;
    /// The name of the synthesis run that it starts from; empty for a synthesis.
    std::string synthesis;
    /// The short name of the step to end at; empty for the last one.
    std::string toStep;
    /// The sweep that made it; with empty names for none.
    workbench::RunFamily family;
    /// Reports that this installation can't make; they stay in the file.
    std::vector<workbench::ReportRecord> lostReports;
};
