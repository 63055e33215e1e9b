// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/runDiff.h"

#include <algorithm>
#include <charconv>
#include <memory>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "environment/containers/HSTFwdIter.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "shell/comparedRuns.h"
#include "shell/reportView.h"
#include "shell/runComparison.h"
#include "shell/runView.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/Project.h"
#include "workbench/ice40/metrics.h"
#include "workbench/inputFiles.h"
#include "workbench/inputRecord.h"
#include "workbench/runFigures.h"
#include "workbench/statistics/summary.h"
#include "workbench/toolStamps.h"

namespace shell {

namespace {

using reports::Figure;

/// Enough of a checksum to tell contents apart by eye.
constexpr std::size_t kShownSha1 = 12;

const std::string* textOf(const DiffTexts& texts, const std::string& name) {
    const auto found = std::find_if(texts.begin(), texts.end(),
                                    [&name](const auto& one) { return one.first == name; });
    return found == texts.end() ? nullptr : &found->second;
}

std::optional<std::string> copyOf(const std::string* text) {
    return text == nullptr ? std::nullopt : std::optional<std::string>(*text);
}

std::vector<TextDifference> differencesOf(const DiffTexts& first, const DiffTexts& second) {
    std::vector<TextDifference> all;
    for (const auto& [name, text] : first) {
        const std::string* other = textOf(second, name);
        if (other == nullptr || *other != text)
            all.push_back({name, text, copyOf(other)});
    }
    for (const auto& [name, text] : second) {
        if (textOf(first, name) == nullptr)
            all.push_back({name, std::nullopt, text});
    }
    return all;
}

std::vector<FigureDifference> figureDifferences(const DiffSide& first, const DiffSide& second) {
    ComparedRun one;
    ComparedRun other;
    one.figures = first.figures;
    other.figures = second.figures;
    std::vector<FigureDifference> all;
    for (const Figure& figure : figureRows({one, other})) {
        const Figure* before = figureOf(one, figure.name);
        const Figure* after = figureOf(other, figure.name);
        if (before != nullptr && after != nullptr && before->value == after->value)
            continue;
        FigureDifference difference{figure, std::nullopt, std::nullopt, {}};
        if (before != nullptr)
            difference.first = before->value;
        if (after != nullptr)
            difference.second = after->value;
        all.push_back(difference);
    }
    return all;
}

/// Paths inside of the project as they are told there.
std::string shownPath(const Project& project, const std::string& path) {
    const std::string folder = project.getDir() + "/";
    return path.compare(0, folder.size(), folder) == 0 ? path.substr(folder.size()) : path;
}

std::string contentText(const workbench::FileFingerprint& print) {
    if (print.isPresent())
        return "content " + print.sha1.substr(0, kShownSha1);
    return print.state == workbench::FileFingerprint::kMissing ? "missing" : "can't be read";
}

/// A netlist counts by its content: where it lies and when it was made tells of the
/// synthesis, which is named by itself.
bool isOfNetlist(const std::string& name) {
    return name == "netlist" || name == "synthesis launch";
}

void addInputs(const Project& project, const HAXPExpRun& run, DiffSide& side) {
    const OpenRunInfo& info = run.getInfo();
    const bool isLaunched = !info.getLaunchedInputs().empty();
    const workbench::InputRecord record =
        isLaunched ? info.getLaunchedInputs() : info.recordInputs();
    for (const auto& entry : record) {
        if (!isOfNetlist(entry.first))
            side.inputs.emplace_back(entry.first, workbench::recordText(record, entry.first));
    }
    const workbench::InputFiles files =
        isLaunched ? info.getLaunchedFiles()
                   : workbench::lookAtInputs(info.getInputs(), info.isSynthFlow(), {});
    for (const auto& [path, file] : files) {
        const bool isNetlist = file.kind == workbench::InputKind::kNetlist;
        side.inputs.emplace_back(isNetlist ? "netlist" : shownPath(project, path),
                                 contentText(file.print));
    }
}

/// Each step's tool with its version; those that tell none by the content of their programs.
void addTools(const HAXPExpRun& run, DiffSide& side) {
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run.createRunStepIter());
    while (!run.getDir().empty() && steps->hasNext()) {
        const std::string& step = steps->next()->getFlowStep()->getFlowStepId();
        ice40::StepMetrics metrics;
        std::string ignored;
        if (ice40::readMetrics(run.pathOf(ice40::metricsFileName(step)), metrics, ignored) &&
            !metrics.tool.empty())
            side.tools.emplace_back(step, metrics.tool);
    }
    for (const auto& [tool, stamp] : run.getInfo().getLaunchedTools()) {
        if (!workbench::tellsVersion(tool))
            side.tools.emplace_back(tool, contentText(stamp.print));
    }
}

void addReportStates(const Project& project, HAXPExpRun& run, DiffSide& side) {
    for (const ReportEntry& report : reportsOf(project, run, false)) {
        std::string text = report.state;
        for (const ReportOption& option : report.options)
            text += fmt::format(", {}={}", option.name, option.value);
        const std::string name = fmt::format("{}.{}", report.step, report.shortName);
        // Two reports of one name are told by the whole of it.
        side.reports.emplace_back(textOf(side.reports, name) == nullptr ? name : report.name, text);
    }
}

void addWarnings(const HAXPExpRun& run, DiffSide& side) {
    const std::vector<workbench::ToolWarning> own = workbench::warningsOf(run);
    side.warnings.insert(side.warnings.end(), own.begin(), own.end());
}

void addRunTexts(const ComparedRun& run, DiffSide& side) {
    side.run = {{"status", run.status}, {"stale", run.isStale ? "yes" : "no"}};
    side.run.emplace_back("strategy", run.strategy);
    if (!run.synthesis.empty())
        side.run.emplace_back("synthesis", run.synthesis);
}

/// Adds `text` to those behind `name`, unless it is among them.
void addValue(const std::string& name, const std::string& text,
              std::vector<std::pair<std::string, std::vector<std::string>>>& values) {
    auto found = std::find_if(values.begin(), values.end(),
                              [&name](const auto& one) { return one.first == name; });
    if (found == values.end())
        found = values.insert(values.end(), {name, {}});
    if (std::find(found->second.begin(), found->second.end(), text) == found->second.end())
        found->second.push_back(text);
}

/// The texts `part` of every side, with the several values of one name together.
DiffTexts mergedTexts(const std::vector<DiffSide>& sides, DiffTexts DiffSide::*part) {
    std::vector<std::pair<std::string, std::vector<std::string>>> values;
    for (const DiffSide& side : sides) {
        for (const auto& [name, text] : side.*part)
            addValue(name, text, values);
    }
    DiffTexts merged;
    for (const auto& [name, texts] : values)
        merged.emplace_back(name, fmt::format("{}", fmt::join(texts, ", ")));
    return merged;
}

std::vector<Figure> medianFigures(const std::vector<DiffSide>& sides) {
    std::vector<ComparedRun> runs(sides.size());
    for (std::size_t i = 0; i < sides.size(); ++i)
        runs[i].figures = sides[i].figures;
    std::vector<Figure> medians = figureRows(runs);
    for (Figure& figure : medians) {
        std::vector<double> values;
        for (const ComparedRun& run : runs) {
            if (const Figure* own = figureOf(run, figure.name))
                values.push_back(own->value);
        }
        figure.value = statistics::median(values);
    }
    return medians;
}

/// Without the tail that binary numbers leave in the difference of two decimal ones.
double withoutTail(double value) {
    const std::string text = fmt::format("{:.9g}", value);
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

}  // namespace

std::optional<double> FigureDifference::change() const {
    return first && second ? std::optional<double>(withoutTail(*second - *first)) : std::nullopt;
}

std::optional<double> FigureDifference::percent() const {
    return change() && *first > 0 ? std::optional<double>(withoutTail(*change() / *first * 100))
                                  : std::nullopt;
}

bool RunDiff::isEqual() const {
    const bool sameFigures = std::all_of(figures.begin(), figures.end(), [](const auto& one) {
        return one.figure.name == workbench::kTimeFigure;
    });
    return run.empty() && options.empty() && inputs.empty() && tools.empty() && reports.empty() &&
           newWarnings.empty() && goneWarnings.empty() && sameFigures;
}

DiffSide diffSide(const Project& project, HAXPExpRun& run) {
    DiffSide side;
    side.name = run.getName();
    const ComparedRun compared = comparedRun(project, run, FigureSource::kReportsAndSteps);
    addRunTexts(compared, side);
    for (const ComparedOption& option : compared.options)
        side.options.emplace_back(option.name, option.value);
    side.figures = compared.figures;
    addInputs(project, run, side);
    if (const HAXPExpRun* synthesis = project.getSynthesisOf(run)) {
        addTools(*synthesis, side);
        addWarnings(*synthesis, side);
    }
    addTools(run, side);
    addReportStates(project, run, side);
    addWarnings(run, side);
    return side;
}

DiffSide familySide(const std::string& name, const std::vector<DiffSide>& sides) {
    DiffSide family;
    family.name = name;
    family.isFamily = true;
    for (const auto part : {&DiffSide::run, &DiffSide::options, &DiffSide::inputs, &DiffSide::tools,
                            &DiffSide::reports})
        family.*part = mergedTexts(sides, part);
    family.figures = medianFigures(sides);
    for (const DiffSide& side : sides) {
        const auto further = workbench::warningsBeyond(side.warnings, family.warnings);
        family.warnings.insert(family.warnings.end(), further.begin(), further.end());
    }
    return family;
}

RunDiff diffOf(const DiffSide& first, const DiffSide& second) {
    RunDiff diff;
    diff.run = differencesOf(first.run, second.run);
    diff.options = differencesOf(first.options, second.options);
    diff.inputs = differencesOf(first.inputs, second.inputs);
    diff.tools = differencesOf(first.tools, second.tools);
    diff.reports = differencesOf(first.reports, second.reports);
    diff.figures = figureDifferences(first, second);
    diff.newWarnings = workbench::warningsBeyond(second.warnings, first.warnings);
    diff.goneWarnings = workbench::warningsBeyond(first.warnings, second.warnings);
    return diff;
}

}  // namespace shell
