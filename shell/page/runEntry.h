// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "shell/page/criticalPath.h"
#include "shell/page/runTimes.h"
#include "shell/reportView.h"
#include "shell/runComparison.h"

class HAXPExpRun;
class Project;

/// A run on the page.
namespace shell {

/// What of a run the page tells if there is room for it.
struct RunExtras {
    nlohmann::json log;     ///< lines
    nlohmann::json points;  ///< of its critical path; null without one
    /// By the place of the report among those of the run.
    std::vector<std::pair<std::size_t, std::string>> reportTexts;
};

/// A run as it was looked at for the page; of texts and numbers alone.
struct PageRun {
    ComparedRun compared;
    RunTimes times;
    /// The entry without what is in `extras`, and without "best".
    nlohmann::json entry;
    RunExtras extras;
    std::vector<ReportEntry> reports;
    bool hasFailed = false;
};

/// Looks at `run`, whose status is up to date. `now` is in seconds since 1970.
PageRun lookAtRun(const Project& project, HAXPExpRun& run, double now, PathSources& sources);

/// Reads the texts of the run's reports that tell most, for when there is room.
void readReportTexts(PageRun& page);

}  // namespace shell
