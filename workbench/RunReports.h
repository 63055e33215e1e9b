// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"

class HAXPExpRun;
class HAXPExpRunStep;
class HAXRReportConfig;
class HAXRReportStrategy;

/// What a designer does with the reports of one run.
///
/// A report is called by its name, its display name, its command, or the short name or id
/// of its step, a dot and one of these, as long as one report alone is meant; letters
/// count as they are. What a user can cause is a HEXUserException with the whole message,
/// and the run is as it was.
class WORKBENCH_API RunReports {
public:
    /// What became of a report that was asked for.
    struct Outcome {
        HAXRReportConfig* report;
        bool made;
        /// Why it wasn't made; empty when it was.
        std::string reason;
        /// Whether its command was called, and failed.
        bool failed = false;
    };

    /// The run isn't owned.
    explicit RunReports(HAXPExpRun& run);

    /// All of them, by step and in the order of their making.
    std::vector<HAXRReportConfig*> all() const;
    /// Those that `name` may mean; the one that bears it as its name alone, if there is one.
    std::vector<HAXRReportConfig*> find(const std::string& name) const;
    /// The report that `name` means. @throws HEXUserException none or several.
    HAXRReportConfig& get(const std::string& name) const;

    /// A new report of the step with the short name or id `step`, made by `command` of the
    /// catalogue's latest version. An empty `displayName` takes the catalogue's, with a
    /// number behind it where the run has that one already; one with a separator or control
    /// character is refused. An old fail marker of its name goes.
    HAXRReportConfig& add(const std::string& step, const std::string& command,
                          const std::string& displayName);
    /// Removes the report and its files. A launch would make it all the same, so a run at
    /// work refuses, as in setOption() and applyStrategy().
    void remove(HAXRReportConfig& report);
    void setEnabled(HAXRReportConfig& report, bool enable);
    /// Sets an option from a text; a report that was made with another value is stale.
    void setOption(HAXRReportConfig& report, const std::string& option, const std::string& value);
    /// Takes the reports of `strategy` in place of all that there are; their files and
    /// old fail markers of the new names go.
    void applyStrategy(const HAXRReportStrategy& strategy);

    /// Makes the reports now, apart from the run, and waits for them: those of `reports`
    /// that aren't made yet, failed or are stale, with `again` the up-to-date ones too. One
    /// entry for each of them, in the same order. A report that can't be made keeps its
    /// files. @throws HEXUserException the run is at work, or the scripts can't be written.
    std::vector<Outcome> generate(const std::vector<HAXRReportConfig*>& reports, bool again);

    /// What the command of a failed report left as its reason; empty when it left none.
    std::string whyFailed(const HAXRReportConfig& report) const;

private:
    HAXPExpRunStep& stepOf_(const std::string& name) const;
    HAXPExpRunStep* stepOf_(const HAXRReportConfig& report) const;
    std::string refusal_(const HAXRReportConfig& report, bool again) const;
    void runScript_(const std::string& stepId) const;
    /// The path of the fail marker of the report `reportName`.
    std::string markerOf_(const std::string& reportName) const;
    void forgetOldFailures_() const;
    void removeFailMarker_(const std::string& reportName) const;

    HAXPExpRun& m_run;
};
