// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"
#include "workbench/reports/reportFigures.h"

class HAXPExpRun;
class HAXRReportConfig;

/// The key figures of a run: those of its reports, and what its steps left.
namespace workbench {

/// The figure that a run's time on the clock is known as.
inline constexpr char kTimeFigure[] = "seconds";

/// A report whose figures can't be read, and why; the run owns it.
struct UnreadReport {
    const HAXRReportConfig* report;
    std::string reason;
};

/// Adds `more` to `all`, in the place of those of the same name.
WORKBENCH_API void putFigures(std::vector<reports::Figure>& all,
                              const std::vector<reports::Figure>& more);

/// The path of the report's JSON form; empty when it isn't there.
WORKBENCH_API std::string figuresPath(const HAXPExpRun& run, const HAXRReportConfig& report);

/// The key figures that the reports of `run` tell, step after step, a later one in the place
/// of an earlier. Reports count that are made, stale ones too, as the run knows them; each that
/// can't be read is added to `unread`.
WORKBENCH_API std::vector<reports::Figure> reportFigures(HAXPExpRun& run,
                                                         std::vector<UnreadReport>& unread);

/// Adds to `all` the numbers that the steps of `run` left and that it lacks.
WORKBENCH_API void addStepFigures(const HAXPExpRun& run, std::vector<reports::Figure>& all);

/// Adds the wall time of its steps, if it is known.
WORKBENCH_API void addRunTime(const HAXPExpRun& run, std::vector<reports::Figure>& all);

}  // namespace workbench
