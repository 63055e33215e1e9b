// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "shell/page/criticalPath.h"
#include "shell/page/runFiles.h"
#include "shell/page/runTimes.h"
#include "shell/reportView.h"
#include "shell/runComparison.h"
#include "shell/staleView.h"

class HAXPExpRun;
class Project;

/// A run on the page.
namespace shell {

/// What of a run the page tells if there is room for it, as JSON.
struct RunExtras {
    std::string log;     ///< its last lines
    std::string points;  ///< of its critical path; empty without one
    /// By the place of the report among those of the run; those that tell most come first.
    std::vector<std::pair<std::size_t, std::string>> reportTexts;
};

/// A run as it was looked at for the page; of texts and numbers alone.
struct PageRun {
    ComparedRun compared;
    RunTimes times;
    std::vector<ReportEntry> reports;
    bool isImplementation = false;
    bool hasFailed = false;
    bool isBest = false;
    /// All that there is, and what there is room for.
    RunExtras extras;
    RunExtras shown;
    /// The members of its entry, of its path and of each of its reports, as JSON without what
    /// is above. A run without a path has none of it.
    std::string members;
    std::string pathMembers;
    std::vector<std::string> reportMembers;
};

/// Looks at `run`, whose status is up to date, and of which `files` were read. `now` is in
/// seconds since 1970; `known` and `sources` are those of all runs of a page.
PageRun lookAtRun(const Project& project, HAXPExpRun& run, double now, const RunFiles& files,
                  PathSources& sources, KnownStale& known);

/// The run as a member of the page's list, as JSON.
std::string entryText(const PageRun& page);

/// Reads the texts of the run's reports that tell most, for when there is room.
void readReportTexts(PageRun& page);

}  // namespace shell
