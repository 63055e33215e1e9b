// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <functional>
#include <string>

#include "workbench/WorkbenchExport.h"

class HAXPExpRun;
class HAXPExpRunStep;
class HAXRReportConfig;

/// The Tcl script that makes the reports of a run: one branch for each step, in which
/// one command makes each report. The step programs and the report scripts call it with
/// the step's id.
namespace workbench {

/// The script's name in the run directory.
extern WORKBENCH_API const char kReportScript[];

/// Whether the script has a branch for the step: it has an enabled report that isn't
/// static.
WORKBENCH_API bool hasScriptedReports(const HAXPExpRunStep& step);

/// The text of the script with the reports that are enabled, aren't static and that
/// `accept` takes. Reports that aren't generated yet get their file names by this.
WORKBENCH_API std::string
reportScriptText(const HAXPExpRun& run, const std::function<bool(const HAXRReportConfig&)>& accept);

/// Writes the script with all reports of `run` into its directory, in place of the one
/// before. @throws HEXUserException it can't be written.
WORKBENCH_API void writeReportScript(const HAXPExpRun& run);

/// The same with the reports that `accept` takes.
WORKBENCH_API void writeReportScript(const HAXPExpRun& run,
                                     const std::function<bool(const HAXRReportConfig&)>& accept);

}  // namespace workbench
