// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <algorithm>
#include <limits>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>
#include <tcl.h>

#include "environment/errors/HTCErrors.h"
#include "environment/options/HATOptGroup.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "shell/bestFamily.h"
#include "shell/bestRun.h"
#include "shell/bestView.h"
#include "shell/comparedRuns.h"
#include "shell/comparisonView.h"
#include "shell/familyComparison.h"
#include "shell/familyOptions.h"
#include "shell/familyView.h"
#include "shell/jsonOutput.h"
#include "shell/logTail.h"
#include "shell/runComparison.h"
#include "shell/runDetails.h"
#include "shell/runView.h"
#include "shell/runs.h"
#include "shell/staleView.h"
#include "shell/suggestion.h"
#include "shell/tcl/runActions.h"
#include "shell/tcl/tclAction.h"
#include "shell/tcl/tclError.h"
#include "shell/tcl/tclValue.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/optionText.h"
#include "workbench/runFamily.h"
#include "workbench/statusWord.h"
#include "workbench/strategyOptions.h"

namespace shell::tcl::run {

namespace {

/// Whether `run` is among those that the options of a list choose.
bool isChosen(const Call& call, const Project& project, const HAXPExpRun& run) {
    const workbench::RunFamily& family = project.getFamilyOf(run);
    const std::string wanted = call.text("-family");
    return (!call.has("-flow") || flowWord(run) == call.text("-flow")) &&
           (!call.has("-status") || statusWord(run) == call.text("-status")) &&
           (!call.has("-family") || family.name == wanted || family.sweep == wanted) &&
           (call.count() == 0 || Tcl_StringMatch(run.getName().c_str(), call.word(0).c_str()) != 0);
}

RunOfProject freshRun(Call& call) {
    const RunOfProject found = call.session().run(call.words().at(0));
    TclSession::refresh({found.run});
    return found;
}

/// The value of the option `key`, by its full name or alone; null when no step or several
/// have it.
nlohmann::json optionValue(const HAXPExpRun& run, const std::string& key,
                           std::vector<std::string>& known) {
    nlohmann::json found;
    for (const workbench::StrategyOption& option : workbench::optionsOf(*run.getStrategy())) {
        known.push_back(option.fullName());
        known.push_back(option.name());
        if (option.fullName() != key && option.name() != key)
            continue;
        if (!found.is_null())
            return {};
        found = workbench::optionText(*option.group, *option.spec);
    }
    return found;
}

/// The runs that a comparison is of: implementations when none is named.
Runs runsToJudge(Call& call, OpenProject*& open) {
    Runs runs = call.session().runs(call.words(), open);
    if (call.count() == 0)
        runs = runsToCompare(*open->project, {});
    TclSession::refresh(runs);
    return runs;
}

}  // namespace

Tcl_Obj* list(Call& call) {
    const OpenProject& open = call.session().current();
    Runs runs = open.project->getRuns();
    if (call.has("-status"))
        TclSession::refresh(runs);
    runs.erase(
        std::remove_if(runs.begin(), runs.end(),
                       [&](const HAXPExpRun* run) { return !isChosen(call, *open.project, *run); }),
        runs.end());
    return handlesOf(runs);
}

Tcl_Obj* exists(Call& call) {
    bool isThere = true;
    try {
        call.session().run(call.words().at(0));
    } catch (const HTCErrors::error&) {
        isThere = false;
    }
    return Tcl_NewBooleanObj(isThere ? 1 : 0);
}

Tcl_Obj* info(Call& call) {
    const RunOfProject found = freshRun(call);
    return newValue(runJson(*found.project->project, *found.run));
}

Tcl_Obj* get(Call& call) {
    const RunOfProject found = freshRun(call);
    const std::string key = call.word(1);
    nlohmann::json facts = runJson(*found.project->project, *found.run);
    if (facts.contains(key))
        return newValue(facts[key]);
    if (facts["results"].contains(key))
        return newValue(facts["results"][key]);
    std::vector<std::string> known;
    const nlohmann::json value = optionValue(*found.run, key, known);
    if (!value.is_null())
        return newValue(value);
    const std::vector<ComparedRun> compared{
        comparedRun(*found.project->project, *found.run, FigureSource::kReportsAndSteps)};
    for (const Metric& metric : knownMetrics(compared)) {
        const reports::Figure* figure = figureOf(compared.front(), metric.figure);
        if (metric.word == key || metric.figure == key)
            return figure == nullptr ? newText("") : newValue(numberJson(figure->value));
        known.push_back(metric.word);
    }
    for (const auto* keys : {&facts, &facts["results"]}) {
        for (const auto& entry : keys->items())
            known.push_back(entry.key());
    }
    const std::string meant = suggestionFor(key, known);
    fail(Code::kKeyNotFound, {found.run->getName(), key},
         fmt::format("Run {} has no option, result or fact '{}', or several steps have such an "
                     "option. {}",
                     found.run->getName(), key,
                     meant.empty() ? "\"run options\" and \"run info\" list them."
                                   : fmt::format("Did you mean '{}'?", meant)));
}

Tcl_Obj* options(Call& call) {
    const HAXPExpRun& run = *call.session().run(call.words().at(0)).run;
    const bool isChangedOnly = call.flag("-changed");
    Tcl_Obj* dict = Tcl_NewDictObj();
    for (const workbench::StrategyOption& option : workbench::optionsOf(*run.getStrategy())) {
        if (!isChangedOnly || !option.group->isDefault(option.spec))
            Tcl_DictObjPut(nullptr, dict, newText(option.fullName()),
                           newText(workbench::optionText(*option.group, *option.spec)));
    }
    return dict;
}

Tcl_Obj* status(Call& call) {
    OpenProject* open = nullptr;
    const Runs runs = call.session().runs(call.words(), open);
    TclSession::refresh(runs);
    lookForLife(runs);
    if (call.count() == 1 && runs.size() == 1 && runs[0]->getName() == call.word(0))
        return newText(statusWord(*runs[0]));
    Tcl_Obj* dict = Tcl_NewDictObj();
    for (const HAXPExpRun* run : runs)
        Tcl_DictObjPut(nullptr, dict, newText(run->getName()), newText(statusWord(*run)));
    return dict;
}

Tcl_Obj* steps(Call& call) {
    const RunOfProject found = freshRun(call);
    Tcl_Obj* dict = Tcl_NewDictObj();
    for (const HAXPExpRunStep* step : stepsOf(*found.run))
        Tcl_DictObjPut(nullptr, dict, newText(step->getFlowStep()->getFlowStepId()),
                       newText(workbench::stepStatusWord(step->getStatus()->getCode())));
    return dict;
}

Tcl_Obj* log(Call& call) {
    const HAXPExpRun& run = *call.session().run(call.words().at(0)).run;
    const std::string& name = run.getName();
    const std::string path = logPath(run);
    std::string reason = "it isn't launched";
    std::vector<std::string> lines;
    if (!path.empty()) {
        reason.clear();
        lines = lastLines(
            path,
            static_cast<std::size_t>(call.integer("-lines", 1, std::numeric_limits<int>::max(), 0)),
            reason);
    }
    if (!reason.empty())
        fail(Code::kRunNotLaunched, {name},
             fmt::format("Run {} has no log to read: {}. Launch it with: run launch {}", name,
                         reason, name));
    return newText(fmt::format("{}", fmt::join(lines, "\n")));
}

Tcl_Obj* why(Call& call) {
    const RunOfProject found = freshRun(call);
    return newValue(whyJson(*found.project->project, *found.run));
}

Tcl_Obj* best(Call& call) {
    OpenProject* open = nullptr;
    const Runs runs = runsToJudge(call, open);
    std::vector<std::string> rules{call.text("-by", "fmax max")};
    for (const std::string& rule : call.list("-then"))
        rules.push_back(rule);
    const std::vector<ComparedRun> compared =
        comparedRuns(*open->project, runs, FigureSource::kReportsAndSteps);
    if (!call.flag("-families"))
        return newValue(choiceJson(chooseBy(compared, call.list("-require"), rules)));
    return newValue(familyChoiceJson(
        chooseFamily(familiesOf(compared), call.list("-require"), rules, questionOf(call))));
}

Tcl_Obj* compare(Call& call) {
    OpenProject* open = nullptr;
    const Runs runs = runsToJudge(call, open);
    if (areFamilies(*open->project, call.textsFrom(0))) {
        const statistics::Question question = questionOf(call);
        const std::vector<ComparedRun> all =
            comparedRuns(*open->project, runs, FigureSource::kReportsAndSteps);
        const std::vector<ComparedFamily> families = familiesOf(all);
        return newValue(familiesJson(families, compareFamilies(families, question), question));
    }
    const std::vector<ComparedRun> compared =
        comparedRuns(*open->project, runs, FigureSource::kReports);
    const std::vector<Goal> goals = readGoals(call.text("-goal", "fmax"), compared);
    return newValue(comparisonJson(compared, goals, judge(compared, goals)));
}

}  // namespace shell::tcl::run
