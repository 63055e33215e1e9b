// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/page/runEntry.h"

#include <algorithm>
#include <cmath>
#include <map>
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
#include "shell/page/jsonWriter.h"
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

namespace shell {

namespace {

constexpr std::size_t kMostReasons = 5;
constexpr std::size_t kReasonBytes = 240;
constexpr std::size_t kLineBytes = 240;
constexpr std::size_t kWordBytes = 100;
/// Lines of a log.
constexpr std::size_t kMostLogLines = 16;
constexpr std::size_t kReportBytes = 6000;
constexpr std::size_t kLargestReport = 1 << 20;

/// The reports that tell a reader most, by their commands.
constexpr const char* kKeyReports[] = {"report_timing_summary", "report_utilization",
                                       "report_route_status"};

/// `value` with no more digits than mean something.
double rounded(double value) {
    return std::round(value * 1e3) / 1e3;
}

/// A whole number without a point.
void writeNumber(JsonWriter& out, double value) {
    const double three = rounded(value);
    const auto whole = static_cast<long>(three);
    if (static_cast<double>(whole) == three)
        out.number(whole);
    else
        out.number(three);
}

void writeFigures(JsonWriter& out, const ComparedRun& run) {
    out.name("figures");
    out.beginObject();
    for (const reports::Figure& figure : run.figures) {
        if (!std::isfinite(figure.value))
            continue;
        out.name(figure.name);
        writeNumber(out, figure.value);
    }
    out.endObject();
}

void writeSteps(JsonWriter& out, const RunTimes& times) {
    out.name("steps");
    out.beginArray();
    for (const StepTime& step : times.steps) {
        out.beginObject();
        out.member("name", step.id);
        out.member("status", step.status);
        if (step.began)
            out.member("began", *step.began);
        if (step.seconds)
            out.member("seconds", *step.seconds);
        if (step.isKept)
            out.member("kept", true);
        out.endObject();
    }
    out.endArray();
}

/// What isn't at its default, in the run and in the synthesis that it starts from.
void writeOptions(JsonWriter& out, const Project& project, const HAXPExpRun& run) {
    // Those of one name once: a synthesis that was given options of later steps has them too.
    std::map<std::string, std::string> options;
    for (const HAXPExpRun* one :
         {static_cast<const HAXPExpRun*>(project.getSynthesisOf(run)), &run}) {
        if (one == nullptr)
            continue;
        for (const OptionChoice& option : changedOptions(*one->getStrategy()))
            options[option.step + "." + option.name] = shortText(option.value, kWordBytes);
    }
    out.name("options");
    out.beginObject();
    for (const auto& option : options)
        out.member(option.first, option.second);
    out.endObject();
}

std::vector<std::string> shortReasons(const std::vector<std::string>& reasons) {
    std::vector<std::string> list;
    for (std::size_t i = 0; i < reasons.size() && i < kMostReasons; ++i)
        list.push_back(shortText(reasons[i], kReasonBytes));
    if (reasons.size() > kMostReasons)
        list.push_back(fmt::format("and {} more", reasons.size() - kMostReasons));
    return list;
}

std::string membersOf(const ReportEntry& report) {
    JsonWriter out;
    out.member("name", report.shortName);
    out.member("step", report.step);
    out.member("state", report.state);
    if (!report.reason.empty())
        out.member("reason", shortText(report.reason, kReasonBytes));
    return out.take();
}

/// The options that make a run like `run` from its strategy; from the default one, with all
/// its values, when that is gone.
std::vector<std::string> settingsToRepeat(const HAXPExpRun& run, std::string& strategy) {
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

std::vector<std::string> repeatLines(const Project& project, const HAXPExpRun& run) {
    const std::string name = run.getName() + "_again";
    std::string strategy;
    const std::vector<std::string> settings = settingsToRepeat(run, strategy);
    std::vector<std::string> words{"xp", "create", name, "--flow", flowWord(run)};
    if (!strategy.empty())
        words.insert(words.end(), {"--strategy", strategy});
    if (const HAXPExpRun* synthesis = project.getSynthesisOf(run))
        words.insert(words.end(), {"--synth", synthesis->getName()});
    for (const std::string& setting : settings)
        words.insert(words.end(), {"--set", setting});
    return {process::showCommand(words), process::showCommand({"xp", "launch", name})};
}

std::string logText(const std::vector<std::string>& lines) {
    JsonWriter out;
    out.beginArray();
    for (std::size_t i = 0; i < lines.size() && i < kMostLogLines; ++i)
        out.text(shortText(lines[i], kLineBytes));
    out.endArray();
    return out.take();
}

/// The advice on a run that was lost or stopped knows more than its log does.
std::string adviceOn(const HAXPExpRun& run, const workbench::RunFailure& failure) {
    return failure.advice.empty() ? adviceFor(run) : failure.advice;
}

/// An abandoned run hasn't failed at anything.
void writeFailure(JsonWriter& out, const HAXPExpRun& run) {
    const std::optional<workbench::RunFailure> failure =
        hasFailed(run) && abandonedText(run).empty() ? workbench::findFailure(run) : std::nullopt;
    out.name("failure");
    if (!failure) {
        out.null();
        return;
    }
    out.beginObject();
    out.member("step", failure->step);
    out.member("what", shortText(failure->what, kReasonBytes));
    out.member("file", shortText(failure->file, kReasonBytes));
    out.member("line", std::max(failure->line, 0));
    out.member("advice", shortText(adviceOn(run, *failure), 2 * kReasonBytes));
    out.member("tool", shortText(failure->toolWords, 2 * kReasonBytes));
    out.endObject();
}

std::string membersOf(const CriticalPath& path) {
    JsonWriter out;
    out.member("clock", path.clock);
    out.member("ns", rounded(path.ns));
    out.member("levels", path.levels);
    out.name("parts");
    out.beginObject();
    out.member("clk_to_q", rounded(path.clockToQ));
    out.member("logic", rounded(path.logic));
    out.member("routing", rounded(path.routing));
    out.member("setup", rounded(path.setup));
    out.endObject();
    return out.take();
}

std::string pointsText(const CriticalPath& path) {
    JsonWriter out;
    out.beginArray();
    for (const PathStop& stop : path.stops) {
        out.beginObject();
        out.member("t", stop.kind);
        out.member("ns", rounded(stop.ns));
        if (!stop.cell.empty())
            out.member("cell", shortText(stop.cell, kWordBytes));
        if (!stop.net.empty())
            out.member("net", shortText(stop.net, kWordBytes));
        if (stop.place) {
            out.member("x", stop.place->first);
            out.member("y", stop.place->second);
        }
        if (!stop.source.empty())
            out.member("src", shortText(stop.source, kWordBytes));
        out.endObject();
    }
    out.endArray();
    return out.take();
}

void writeUses(JsonWriter& out, const std::vector<ResourceUse>& uses) {
    out.name("use");
    out.beginArray();
    for (const ResourceUse& use : uses) {
        out.beginObject();
        out.member("name", use.name);
        out.member("used", use.used);
        out.member("of", use.of);
        out.endObject();
    }
    out.endArray();
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

std::optional<std::string> orNothing(const std::string& text) {
    return text.empty() ? std::nullopt : std::optional<std::string>(text);
}

/// What `page` tells of `run`, which it was made from.
std::string membersOf(const PageRun& page, const Project& project, HAXPExpRun& run,
                      const RunFiles& files, const RoutedFacts& facts, KnownStale& known) {
    const std::vector<std::string> reasons =
        page.compared.isStale ? staleTexts(project, run, &known) : std::vector<std::string>();
    const workbench::RunFamily& family = project.getFamilyOf(run);
    JsonWriter out;
    out.member("name", run.getName());
    out.member("flow", flowWord(run));
    out.member("status", page.compared.status);
    out.member("step", stepWord(run));
    out.member("stale", page.compared.isStale);
    out.member("reasons", shortReasons(reasons));
    out.member("family", family.name);
    out.member("sweep", family.sweep);
    out.member("strategy", page.compared.strategy);
    out.member("seed", seedOf(page.compared));
    out.member("synthesis", page.compared.synthesis);
    out.member("place", orNothing(page.times.place));
    out.member("queued_at", page.times.queued);
    out.member("began", page.times.began);
    out.member("ended", page.times.ended);
    writeFigures(out, page.compared);
    writeSteps(out, page.times);
    writeOptions(out, project, run);
    out.member("warnings", files.warnings);
    writeFailure(out, run);
    out.member("next", nextText(page.compared, run, reasons));
    out.member("abandoned", shortText(abandonedText(run), kReasonBytes));
    out.member("repeat", repeatLines(project, run));
    writeUses(out, facts.use);
    out.member("directory", relativeDir(project, run));
    return out.take();
}

void writePath(JsonWriter& out, const PageRun& page) {
    out.name("path");
    if (page.pathMembers.empty()) {
        out.null();
        return;
    }
    const std::string& points = page.shown.points;
    out.beginObject();
    out.raw(page.pathMembers);
    out.name("points");
    out.raw(points.empty() ? "[]" : points);
    if (points.empty())
        out.member("cut", true);
    out.endObject();
}

void writeReports(JsonWriter& out, const PageRun& page) {
    out.name("reports");
    out.beginArray();
    for (std::size_t i = 0; i < page.reportMembers.size(); ++i) {
        out.beginObject();
        out.raw(page.reportMembers[i]);
        for (const auto& text : page.shown.reportTexts) {
            if (text.first != i)
                continue;
            out.name("text");
            out.raw(text.second);
        }
        out.endObject();
    }
    out.endArray();
}

std::string jsonText(const std::string& text) {
    JsonWriter out;
    out.text(text);
    return out.take();
}

}  // namespace

PageRun lookAtRun(const Project& project, HAXPExpRun& run, double now, const RunFiles& files,
                  PathSources& sources, KnownStale& known) {
    PageRun page;
    page.compared = comparedRun(project, run, FigureSource::kReportsAndSteps, &known);
    page.times = runTimes(run, now);
    page.isImplementation = flowWord(run) == "impl";
    page.hasFailed = hasFailed(run);
    page.reports = reportsOf(project, run, false, &known);
    for (const ReportEntry& report : page.reports)
        page.reportMembers.push_back(membersOf(report));
    const RoutedFacts facts = routedFacts(run, files.routed, sources);
    page.extras.log = logText(files.log);
    if (facts.path) {
        page.extras.points = pointsText(*facts.path);
        page.pathMembers = membersOf(*facts.path);
    }
    page.members = membersOf(page, project, run, files, facts, known);
    return page;
}

std::string entryText(const PageRun& page) {
    JsonWriter out;
    out.beginObject();
    out.raw(page.members);
    out.member("best", page.isBest);
    writeReports(out, page);
    out.name("log");
    out.raw(page.shown.log.empty() ? "[]" : page.shown.log);
    writePath(out, page);
    out.endObject();
    return out.take();
}

void readReportTexts(PageRun& page) {
    const std::vector<ReportEntry>& reports = page.reports;
    for (const char* wanted : kKeyReports) {
        for (std::size_t i = 0; i < reports.size(); ++i) {
            std::string text;
            const bool isWanted = reports[i].command == wanted && reports[i].exists;
            if (isWanted && HUTFileUtils::readFile(reports[i].path, kLargestReport, text))
                page.extras.reportTexts.emplace_back(i, jsonText(shortText(text, kReportBytes)));
        }
    }
}

}  // namespace shell
