// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/runFigures.h"

#include <algorithm>

#include "environment/files/HUTFile.h"
#include "runs/base/xpreport/HAXRReportConfig.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/OpenStats.h"
#include "workbench/RunReports.h"
#include "workbench/ice40/metrics.h"

namespace workbench {

namespace {

using reports::Figure;

/// A number of the steps that is a figure too, called as the reports call it.
struct CountFigure {
    const char* name;
    const char* label;
};
constexpr CountFigure kCountFigures[] = {
    {ice40::counts::kLogicCells, "Logic cells"}, {ice40::counts::kLuts, "LUTs"},
    {ice40::counts::kFlipFlops, "Flip-flops"},   {ice40::counts::kCarries, "Carry cells"},
    {ice40::counts::kBlockRams, "Block RAMs"},   {ice40::counts::kCells, "Cells"}};

bool tells(const HAXRReportConfig& report) {
    return report.isEnabled() && (report.getState() == HAXRReportConfig::REPORT_GENERATED ||
                                  report.getState() == HAXRReportConfig::REPORT_STALE);
}

void addMissing(std::vector<Figure>& all, const Figure& figure) {
    const bool isThere = std::any_of(all.begin(), all.end(), [&figure](const Figure& other) {
        return other.name == figure.name;
    });
    if (!isThere)
        all.push_back(figure);
}

}  // namespace

void putFigures(std::vector<Figure>& all, const std::vector<Figure>& more) {
    for (const Figure& figure : more) {
        const auto there = std::find_if(all.begin(), all.end(), [&figure](const Figure& other) {
            return other.name == figure.name;
        });
        if (there != all.end())
            *there = figure;
        else
            all.push_back(figure);
    }
}

std::string figuresPath(const HAXPExpRun& run, const HAXRReportConfig& report) {
    const std::string name = report.getFile("json");
    if (name.empty() || run.getDir().empty())
        return {};
    const std::string path = run.pathOf(name);
    return HUTFile::isFile(path) ? path : std::string();
}

std::vector<Figure> reportFigures(HAXPExpRun& run, std::vector<UnreadReport>& unread) {
    std::vector<Figure> figures;
    for (const HAXRReportConfig* report : RunReports(run).all()) {
        const std::string path = tells(*report) ? figuresPath(run, *report) : std::string();
        if (path.empty())
            continue;
        reports::ReportFigures read;
        std::string reason;
        if (reports::readFigures(path, read, reason))
            putFigures(figures, read.figures);
        else
            unread.push_back({report, reason});
    }
    return figures;
}

void addStepFigures(const HAXPExpRun& run, std::vector<Figure>& all) {
    const ice40::StepMetrics& metrics = run.getInfo().getMetrics();
    if (const ice40::ClockTiming* worst = metrics.worstClock()) {
        addMissing(all, {"fmax", "Fmax", worst->fmaxMhz, "MHz", Figure::kHigher});
        addMissing(all, {"worst_slack", "Worst slack", worst->slackNs(), "ns", Figure::kHigher});
    }
    for (const CountFigure& count : kCountFigures) {
        if (const std::optional<long> value = metrics.count(count.name))
            addMissing(all,
                       {count.name, count.label, static_cast<double>(*value), "", Figure::kLower});
    }
}

void addRunTime(const HAXPExpRun& run, std::vector<Figure>& all) {
    double seconds = 0;
    if (OpenStats::valueOf(run, OpenStats::kRunTime, seconds))
        putFigures(all, {{kTimeFigure, "Run time", seconds, "s", Figure::kLower}});
}

}  // namespace workbench
