// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/reportView.h"

#include <algorithm>
#include <memory>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "environment/containers/HSTFwdIter.h"
#include "environment/files/HUTFile.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "runs/base/xpreport/HAXRReportConfig.h"
#include "shell/jsonOutput.h"
#include "shell/progressLine.h"
#include "shell/reportNames.h"
#include "shell/runView.h"
#include "shell/staleView.h"
#include "shell/textTable.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/RunReports.h"
#include "workbench/optionText.h"
#include "workbench/printable.h"
#include "workbench/runFigures.h"

namespace shell {

namespace {

std::vector<ReportOption> changedOptionsOf(const HAXRReportConfig& report) {
    std::vector<ReportOption> changed;
    const HATOptGroup* group = report.getOptions();
    const std::unique_ptr<HSTFwdIter<HATAttrSpec*>> specs(report.createReportOptionsIter());
    while (specs && specs->hasNext()) {
        const HATAttrSpec* spec = specs->next();
        if (!group->isDefault(spec))
            changed.push_back({spec->getName(), workbench::optionText(*group, *spec),
                               workbench::defaultText(*spec)});
    }
    return changed;
}

bool isFile(const std::string& path) {
    return !path.empty() && HUTFile::isFile(path);
}

ReportEntry makeEntry(const HAXPExpRun& run, const RunReports& reports,
                      const HAXRReportConfig& report) {
    ReportEntry entry;
    entry.run = run.getName();
    entry.step = report.getAssociatedStepName();
    entry.shortName = shortName(reports, report);
    entry.name = report.getName();
    entry.displayName = report.getDisplayName();
    entry.command = report.getSpecName();
    entry.version = fmt::format("{}.{}", report.getVersion().major, report.getVersion().minor);
    entry.state = stateWord(report);
    entry.enabled = report.isEnabled();
    entry.isStatic = report.isStaticReport();
    entry.file = report.getReportFile();
    const std::string dir = run.getDir();
    if (!entry.file.empty() && !dir.empty())
        entry.path = run.pathOf(entry.file);
    entry.exists = isFile(entry.path);
    entry.jsonPath = workbench::figuresPath(run, report);
    if (entry.state == "failed")
        entry.reason = reports.whyFailed(report);
    entry.options = changedOptionsOf(report);
    return entry;
}

/// The first line of a text that may have several.
std::string firstLine(const std::string& text) {
    return text.substr(0, text.find('\n'));
}

}  // namespace

std::string stateWord(const HAXRReportConfig& report) {
    if (!report.isEnabled())
        return "disabled";
    switch (report.getState()) {
    case HAXRReportConfig::REPORT_GENERATED:
        return "generated";
    case HAXRReportConfig::REPORT_STALE:
        return "stale";
    case HAXRReportConfig::REPORT_FAILED:
        return "failed";
    default:
        return "not generated";
    }
}

std::vector<ReportEntry> reportsOf(const Project& project, HAXPExpRun& run, bool all,
                                   KnownStale* known) {
    // The state of a report follows from the stale reasons of its run.
    staleTexts(project, run, known);
    const RunReports reports(run);
    std::vector<ReportEntry> entries;
    for (const HAXRReportConfig* report : reports.all()) {
        ReportEntry entry = makeEntry(run, reports, *report);
        if (all || !entry.isStatic || entry.exists)
            entries.push_back(std::move(entry));
    }
    return entries;
}

std::string reportTable(const std::vector<ReportEntry>& reports) {
    TextTable table({{"Run"}, {"Step"}, {"Report"}, {"State"}, {"File"}});
    for (const ReportEntry& report : reports)
        table.addRow({report.run, report.step, report.shortName, report.state, report.file});
    return table.text();
}

nlohmann::json reportJson(const ReportEntry& report) {
    nlohmann::json options = nlohmann::json::array();
    for (const ReportOption& option : report.options)
        options.push_back(
            {{"option", option.name}, {"value", option.value}, {"default", option.defaultValue}});
    return {{"run", report.run},
            {"step", report.step},
            {"report", report.shortName},
            {"name", report.name},
            {"display_name", report.displayName},
            {"command", report.command},
            {"version", report.version},
            {"state", report.state},
            {"enabled", report.enabled},
            {"static", report.isStatic},
            {"file", textOrNull(report.path)},
            {"exists", report.exists},
            {"json", textOrNull(report.jsonPath)},
            {"reason", textOrNull(report.reason)},
            {"options", options}};
}

std::vector<std::string> reportLines(const std::vector<ReportEntry>& reports) {
    std::size_t width = 0;
    for (const ReportEntry& report : reports)
        width = std::max(width, report.shortName.size());
    std::vector<std::string> lines;
    for (const ReportEntry& report : reports) {
        std::string line = fmt::format("{:<{}}  {}", report.shortName, width, report.state);
        if (!report.reason.empty())
            line += ": " + firstLine(report.reason);
        lines.push_back(workbench::printable(line));
    }
    return lines;
}

std::string reportFailureText(const ReportEntry& report, const std::string& logPath,
                              const std::vector<std::string>& lines) {
    std::string text = fmt::format("The report {} of run {} failed", report.shortName, report.run);
    text += report.reason.empty() ? "." : ": " + report.reason;
    text += fmt::format("\n  Correct the cause, then: xp report generate {} {}\n  log: {}",
                        report.run, report.shortName, logPath);
    for (const std::string& line : lines)
        text += "\n  | " + fitLine(line, 400);
    return text;
}

}  // namespace shell
