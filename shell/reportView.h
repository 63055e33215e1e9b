// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "shell/staleView.h"

class HAXPExpRun;
class HAXRReportConfig;
class Project;

/// What xp tells of the reports of a run.
namespace shell {

/// An option of a report that isn't as the catalogue has it.
struct ReportOption {
    std::string name;
    std::string value;
    std::string defaultValue;
};

/// A report in lists; of texts alone, so that it outlives the run.
struct ReportEntry {
    std::string run;
    std::string step;
    /// The shortest name that means it, and the whole one.
    std::string shortName;
    std::string name;
    std::string displayName;
    std::string command;
    /// "1.0" in the catalogue.
    std::string version;
    std::string state;
    bool enabled = true;
    /// The run leaves it by itself.
    bool isStatic = false;
    /// Relative to the run directory, and as a path; empty while it has none.
    std::string file;
    std::string path;
    bool exists = false;
    /// The JSON form; empty when it isn't there.
    std::string jsonPath;
    /// Why it failed; empty when it didn't.
    std::string reason;
    std::vector<ReportOption> options;
};

/// One of "not generated", "generated", "stale", "failed" and "disabled".
std::string stateWord(const HAXRReportConfig& report);

/// The reports of `run` by step. Without `all` those are left out that the run would leave
/// by itself, but didn't. Brings the run's stale reasons up to date.
std::vector<ReportEntry> reportsOf(const Project& project, HAXPExpRun& run, bool all,
                                   KnownStale* known = nullptr);

/// The table of `reports`.
std::string reportTable(const std::vector<ReportEntry>& reports);
nlohmann::json reportJson(const ReportEntry& report);

/// One line a report, for the page of one run.
std::vector<std::string> reportLines(const std::vector<ReportEntry>& reports);

/// The message that a report failed: why, what to do, where the log `logPath` lies, and
/// the `lines` of its end.
std::string reportFailureText(const ReportEntry& report, const std::string& logPath,
                              const std::vector<std::string>& lines);

}  // namespace shell
