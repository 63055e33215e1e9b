// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "workbench/reports/report.h"
#include "workbench/reports/reportOptions.h"
#include "workbench/reports/stepResults.h"

namespace reports {

/// One report command: what it takes and how it makes its report.
struct ReportCommand {
    const char* name;  ///< "report_utilization"
    const char* title;
    const char* help;                 ///< a sentence
    std::vector<OptionRule> options;  ///< its own; all commands take "-file" and "-json" too
    std::vector<const char*> steps;   ///< the steps that it can report on
    /// Adds sections and figures; head and names are there already.
    /// @throws ice40::StepFailure the step's results can't give it.
    void (*fill)(const StepResults& results, const ReportOptions& options, Report& report);
};

/// All report commands, by name.
const std::vector<ReportCommand>& reportCommands();

/// The options of a command with those that all have.
std::vector<OptionRule> allOptions(const ReportCommand& command);

/// Makes the report of a step.
/// @throws ice40::StepFailure the step can't give it, or its results are damaged.
Report makeReport(const ReportCommand& command, const StepResults& results,
                  const ReportOptions& options);

/// Runs "report_x WORDS...": makes the report and puts it where -file and -json
/// say, each whole or not at all; gives the text of a report that goes to no
/// file, else an empty one.
/// @throws ice40::StepFailure also when a file can't be written or may not be
///         replaced.
std::string runReportCommand(const ReportCommand& command, const StepResults& results,
                             const std::vector<std::string>& words,
                             std::vector<std::string>& warnings);

/// The help of a command: its options, one a line.
std::string helpOf(const ReportCommand& command);

/// Refuses a name by which a report could leave the current folder or take the
/// place of something that isn't a report.
/// @throws ice40::StepFailure with what to name instead.
void requireReportFile(const std::string& command, const std::string& path);

// The contents, one source a report.
void fillUtilization(const StepResults&, const ReportOptions&, Report&);
void fillTimingSummary(const StepResults&, const ReportOptions&, Report&);
void fillTiming(const StepResults&, const ReportOptions&, Report&);
void fillClocks(const StepResults&, const ReportOptions&, Report&);
void fillClockUtilization(const StepResults&, const ReportOptions&, Report&);
void fillControlSets(const StepResults&, const ReportOptions&, Report&);
void fillHighFanoutNets(const StepResults&, const ReportOptions&, Report&);
void fillIo(const StepResults&, const ReportOptions&, Report&);
void fillDrc(const StepResults&, const ReportOptions&, Report&);
void fillRouteStatus(const StepResults&, const ReportOptions&, Report&);

}  // namespace reports
