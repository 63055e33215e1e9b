// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "runs/base/xpreport/VersionInfo.h"
#include "workbench/WorkbenchExport.h"

class HAXPExpRunBase;

/// What is remembered of the reports of a run while there is no run: in the project
/// file, and while the run's steps are made anew.
namespace workbench {

struct ReportOptionRecord {
    std::string name;
    std::string value;
};

/// An option that isn't what the report was made with.
struct StaleOptionRecord {
    std::string name;
    std::string launchValue;
    std::string value;
};

/// One report of one step, but for its state, which its files tell.
struct ReportRecord {
    std::string name;
    std::string stepId;
    /// The command that makes it, and its version in the catalogue.
    std::string command;
    VersionInfo version;
    std::string displayName;
    /// Relative to the run directory; empty while none was chosen.
    std::string file;
    bool enabled = true;
    bool beforeStep = false;
    /// Those that aren't as the catalogue has them.
    std::vector<ReportOptionRecord> options;
    std::vector<StaleOptionRecord> staleOptions;
};

/// The reports of `run` by step, static ones left out.
WORKBENCH_API std::vector<ReportRecord> recordReports(const HAXPExpRunBase& run);

/// Makes the reports of `records` in `run`, beside those that it has, finds out their
/// states from the run directory, and adds the static reports. A version that the
/// catalogue lacks becomes its latest one, with a message. Returns the records of which
/// nothing could be made, because the catalogue or the run lacks what they name; a
/// message tells each.
WORKBENCH_API std::vector<ReportRecord> restoreReports(HAXPExpRunBase& run,
                                                       const std::vector<ReportRecord>& records);

/// Names the files of the static reports of `run` and looks for them.
WORKBENCH_API void nameStaticReports(const HAXPExpRunBase& run);

}  // namespace workbench
