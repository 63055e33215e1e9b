// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/page/runEntry.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <fmt/format.h>

#include "environment/files/HUTFileUtils.h"
#include "environment/process/commandLine.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "shell/comparedRuns.h"
#include "shell/familyComparison.h"
#include "shell/logTail.h"
#include "shell/page/shortText.h"
#include "shell/runDetails.h"
#include "shell/runView.h"
#include "shell/staleView.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/failures/runFailure.h"
#include "workbench/runFamily.h"
#include "workbench/strategies.h"
#include "workbench/strategyOptions.h"
#include "workbench/toolWarnings.h"

namespace shell {

namespace {

using nlohmann::json;

constexpr std::size_t kMostReasons = 5;
constexpr std::size_t kReasonBytes = 240;
constexpr std::size_t kLineBytes = 240;
constexpr std::size_t kWordBytes = 100;
/// Lines of a log: of a run that failed, that works, and of others.
constexpr std::size_t kFailureLines = 16;
constexpr std::size_t kWorkLines = 8;
constexpr std::size_t kEndLines = 4;
/// As many lines before the end are looked through for the first error.
constexpr std::size_t kSearchedLines = 60;
constexpr std::size_t kReportBytes = 6000;
constexpr std::size_t kLargestReport = 1 << 20;

/// The reports that tell a reader most, by their commands.
constexpr const char* kKeyReports[] = {"report_timing_summary", "report_utilization",
                                       "report_route_status"};

json orNull(const std::optional<double>& value) {
    return value ? json(*value) : json();
}

/// `value` with no more digits than mean something.
double rounded(double value) {
    return std::round(value * 1e3) / 1e3;
}

json numberJson(double value) {
    const double three = rounded(value);
    const auto whole = static_cast<long>(three);
    return static_cast<double>(whole) == three ? json(whole) : json(three);
}

json figuresJson(const ComparedRun& run) {
    json figures = json::object();
    for (const reports::Figure& figure : run.figures) {
        if (std::isfinite(figure.value))
            figures[figure.name] = numberJson(figure.value);
    }
    return figures;
}

json stepsJson(const RunTimes& times) {
    json steps = json::array();
    for (const StepTime& step : times.steps) {
        json one{{"name", step.id}, {"status", step.status}};
        if (step.began)
            one["began"] = *step.began;
        if (step.seconds)
            one["seconds"] = *step.seconds;
        if (step.isKept)
            one["kept"] = true;
        steps.push_back(std::move(one));
    }
    return steps;
}

/// What isn't at its default, in the run and in the synthesis that it starts from.
json changedJson(const Project& project, const HAXPExpRun& run) {
    json options = json::object();
    for (const HAXPExpRun* one :
         {static_cast<const HAXPExpRun*>(project.getSynthesisOf(run)), &run}) {
        if (one == nullptr)
            continue;
        for (const OptionChoice& option : changedOptions(*one->getStrategy()))
            options[option.step + "." + option.name] = shortText(option.value, kWordBytes);
    }
    return options;
}

json reasonsJson(const std::vector<std::string>& reasons) {
    json list = json::array();
    for (std::size_t i = 0; i < reasons.size() && i < kMostReasons; ++i)
        list.push_back(shortText(reasons[i], kReasonBytes));
    if (reasons.size() > kMostReasons)
        list.push_back(fmt::format("and {} more", reasons.size() - kMostReasons));
    return list;
}

json reportsJson(const std::vector<ReportEntry>& reports) {
    json list = json::array();
    for (const ReportEntry& report : reports) {
        json one{{"name", report.shortName}, {"step", report.step}, {"state", report.state}};
        if (!report.reason.empty())
            one["reason"] = shortText(report.reason, kReasonBytes);
        list.push_back(std::move(one));
    }
    return list;
}

/// The options that make a run like `run` from its strategy; from the default one, with all
/// its values, when that is gone.
std::vector<std::string> settingsOf(const HAXPExpRun& run, std::string& strategy) {
    std::vector<std::string> settings;
    HAXPStrategy& own = *run.getStrategy();
    strategy = own.getName();
    if (HAXPStrategy* now = workbench::findStrategy(*own.getFlow(), strategy)) {
        for (const workbench::OptionDifference& found : workbench::differences(own, *now))
            settings.push_back(fmt::format("{}.{}={}", found.step, found.name, found.first));
        return settings;
    }
    strategy.clear();
    for (const OptionChoice& option : changedOptions(own))
        settings.push_back(fmt::format("{}.{}={}", option.step, option.name, option.value));
    return settings;
}

json repeatJson(const Project& project, const HAXPExpRun& run) {
    const std::string name = run.getName() + "_again";
    std::string strategy;
    const std::vector<std::string> settings = settingsOf(run, strategy);
    std::vector<std::string> words{"xp", "create", name, "--flow", flowWord(run)};
    if (!strategy.empty())
        words.insert(words.end(), {"--strategy", strategy});
    if (const HAXPExpRun* synthesis = project.getSynthesisOf(run))
        words.insert(words.end(), {"--synth", synthesis->getName()});
    for (const std::string& setting : settings)
        words.insert(words.end(), {"--set", setting});
    return json::array({process::showCommand(words), process::showCommand({"xp", "launch", name})});
}

std::vector<std::string> logEnd(const HAXPExpRun& run, bool hasFailed) {
    const std::string path = logPath(run);
    std::string unreadable;
    if (path.empty())
        return {};
    if (hasFailed)
        return failureLines(lastLines(path, kSearchedLines, unreadable), kSearchedLines);
    return lastLines(path, run.isAtWork() ? kWorkLines : kEndLines, unreadable);
}

json logJson(const std::vector<std::string>& lines) {
    json list = json::array();
    for (std::size_t i = 0; i < lines.size() && i < kFailureLines; ++i)
        list.push_back(shortText(lines[i], kLineBytes));
    return list;
}

/// The advice on a run that was lost or stopped knows more than its log does.
std::string adviceOn(const HAXPExpRun& run, const workbench::RunFailure& failure) {
    return failure.advice.empty() ? adviceFor(run) : failure.advice;
}

/// An abandoned run hasn't failed at anything.
json failureJson(const HAXPExpRun& run) {
    const std::optional<workbench::RunFailure> failure =
        hasFailed(run) && abandonedText(run).empty() ? workbench::findFailure(run) : std::nullopt;
    if (!failure)
        return {};
    return {{"step", failure->step},
            {"what", shortText(failure->what, kReasonBytes)},
            {"file", shortText(failure->file, kReasonBytes)},
            {"line", std::max(failure->line, 0)},
            {"advice", shortText(adviceOn(run, *failure), 2 * kReasonBytes)},
            {"tool", shortText(failure->toolWords, 2 * kReasonBytes)}};
}

json pathJson(const CriticalPath& path) {
    return {{"clock", path.clock},
            {"ns", rounded(path.ns)},
            {"levels", path.levels},
            {"parts",
             {{"clk_to_q", rounded(path.clockToQ)},
              {"logic", rounded(path.logic)},
              {"routing", rounded(path.routing)},
              {"setup", rounded(path.setup)}}},
            {"points", json::array()},
            {"cut", true}};
}

json pointsJson(const CriticalPath& path) {
    json points = json::array();
    for (const PathStop& stop : path.stops) {
        json one{{"t", stop.kind}, {"ns", rounded(stop.ns)}};
        if (!stop.cell.empty())
            one["cell"] = shortText(stop.cell, kWordBytes);
        if (!stop.net.empty())
            one["net"] = shortText(stop.net, kWordBytes);
        if (stop.place) {
            one["x"] = stop.place->first;
            one["y"] = stop.place->second;
        }
        if (!stop.source.empty())
            one["src"] = shortText(stop.source, kWordBytes);
        points.push_back(std::move(one));
    }
    return points;
}

json usesJson(const std::vector<ResourceUse>& uses) {
    json list = json::array();
    for (const ResourceUse& use : uses)
        list.push_back({{"name", use.name}, {"used", use.used}, {"of", use.of}});
    return list;
}

/// Relative to the project's folder when it is below it.
std::string relativeDir(const Project& project, const HAXPExpRun& run) {
    const std::string dir = run.getDir();
    const std::string start = project.getDir() + "/";
    return dir.compare(0, start.size(), start) == 0 ? dir.substr(start.size()) : dir;
}

/// What a reader of a done run is told to do about its figures.
std::string missedText(const ComparedRun& run) {
    const reports::Figure* slack = figureOf(run, "worst_slack");
    if (slack == nullptr || !(slack->value < 0))
        return {};
    return fmt::format("misses its clock goal by {:.3g} ns: try more seeds (xp sweep), another "
                       "strategy, or shorten its critical path",
                       -slack->value);
}

std::string nextText(const ComparedRun& compared, const HAXPExpRun& run,
                     const std::vector<std::string>& reasons) {
    const std::string& word = compared.status;
    if (word == "not started")
        return fmt::format("not launched yet: xp launch {}", run.getName());
    if (!adviceFor(run).empty())
        return shortText(adviceFor(run), 2 * kReasonBytes);
    if (word == "failed")
        return fmt::format("failed in {0}: correct the cause, then xp launch {1}; xp log {1} "
                           "shows all that its tools said",
                           stepWord(run), run.getName());
    if (!reasons.empty() && !run.isAtWork())
        return fmt::format("{}; launch it again: xp launch {}",
                           shortText(reasons.front(), kReasonBytes), run.getName());
    return word == "done" ? missedText(compared) : std::string();
}

json seedJson(const ComparedRun& run) {
    const std::optional<long> seed = seedOf(run);
    return seed ? json(*seed) : json();
}

}  // namespace

PageRun lookAtRun(const Project& project, HAXPExpRun& run, double now, PathSources& sources) {
    PageRun page;
    page.compared = comparedRun(project, run, FigureSource::kReportsAndSteps);
    page.times = runTimes(run, now);
    page.hasFailed = hasFailed(run);
    page.reports = reportsOf(project, run, false);
    const std::vector<std::string> reasons =
        page.compared.isStale ? staleTexts(project, run) : std::vector<std::string>();
    const RoutedFacts facts = routedFacts(run, sources);
    const std::vector<std::string> log = logEnd(run, page.hasFailed);
    const workbench::RunFamily& family = project.getFamilyOf(run);
    page.entry = {
        {"name", run.getName()},
        {"flow", flowWord(run)},
        {"status", page.compared.status},
        {"step", stepWord(run)},
        {"stale", page.compared.isStale},
        {"reasons", reasonsJson(reasons)},
        {"family", family.name},
        {"sweep", family.sweep},
        {"strategy", page.compared.strategy},
        {"seed", seedJson(page.compared)},
        {"synthesis", page.compared.synthesis},
        {"place", page.times.place.empty() ? json() : json(page.times.place)},
        {"queued_at", orNull(page.times.queued)},
        {"began", orNull(page.times.began)},
        {"ended", orNull(page.times.ended)},
        {"figures", figuresJson(page.compared)},
        {"steps", stepsJson(page.times)},
        {"options", changedJson(project, run)},
        {"reports", reportsJson(page.reports)},
        {"warnings", run.getDir().empty() ? json() : json(workbench::warningsOf(run).size())},
        {"failure", failureJson(run)},
        {"log", json::array()},
        {"next", nextText(page.compared, run, reasons)},
        {"abandoned", shortText(abandonedText(run), kReasonBytes)},
        {"repeat", repeatJson(project, run)},
        {"path", facts.path ? pathJson(*facts.path) : json()},
        {"use", usesJson(facts.use)},
        {"directory", relativeDir(project, run)}};
    page.extras.log = logJson(log);
    if (facts.path)
        page.extras.points = pointsJson(*facts.path);
    return page;
}

void readReportTexts(PageRun& page) {
    const std::vector<ReportEntry>& reports = page.reports;
    for (const char* wanted : kKeyReports) {
        for (std::size_t i = 0; i < reports.size(); ++i) {
            std::string text;
            const bool isWanted = reports[i].command == wanted && reports[i].exists;
            if (isWanted && HUTFileUtils::readFile(reports[i].path, kLargestReport, text))
                page.extras.reportTexts.emplace_back(i, shortText(text, kReportBytes));
        }
    }
}

}  // namespace shell
