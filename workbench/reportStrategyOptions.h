// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"

class HATAttrSpec;
class HATOptGroup;
class HAXRReportSpec;
class HAXRReportStrategy;

/// The reports of a report strategy and their options, as users name and set them: a
/// report by its step and its name, the second one of a name as "report_timing#2".
namespace workbench {

/// A report of a strategy; good while the step keeps its reports.
struct WORKBENCH_API StrategyReport {
    std::string step;
    /// Its name, with "#2", "#3" ... unless it is the first of that name in the step.
    std::string name;
    HAXRReportSpec* spec;

    /// "1.2", or "latest".
    std::string version() const;
    /// Those that a user may set, in order.
    std::vector<const HATAttrSpec*> options() const;
};

/// In the order of steps and of reports in each.
WORKBENCH_API std::vector<StrategyReport> reportsOf(const HAXRReportStrategy& strategy);

/// Sets an option, named as "step.report.option", from a text.
/// @throws HEXUserException no such report or option, or a value that isn't one or that a
/// report script can't carry.
WORKBENCH_API void setReportOption(const HAXRReportStrategy& strategy, const std::string& name,
                                   const std::string& value);

/// Refuses a strategy whose values a report script can't carry: a file may hold what a
/// user couldn't type in. @throws HEXUserException names option and value.
WORKBENCH_API void requireReportValues(const HAXRReportStrategy& strategy);

/// Adds the report `name` of the catalogue to a step and gives what it is called there.
/// An empty `version` means the latest, an empty `displayName` one that is free.
/// @throws HEXUserException no such step, report or version, a step of which no report can
/// be made, or a display name that is taken; nothing is added.
WORKBENCH_API std::string addReport(HAXRReportStrategy& strategy, const std::string& step,
                                    const std::string& name, const std::string& version,
                                    const std::string& displayName);

/// Removes a report. @throws HEXUserException there is none, or there are several of that
/// name and no number says which.
WORKBENCH_API void removeReport(HAXRReportStrategy& strategy, const std::string& step,
                                const std::string& name);

/// What isn't the same in two report strategies, as texts; empty where one lacks it.
struct ReportDifference {
    std::string step;
    /// A report, or "report.option".
    std::string name;
    std::string first;
    std::string second;
};

/// Reports are matched by step, name and number.
WORKBENCH_API std::vector<ReportDifference> differences(const HAXRReportStrategy& first,
                                                        const HAXRReportStrategy& second);

}  // namespace workbench
