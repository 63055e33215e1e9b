// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <algorithm>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>
#include <tcl.h>

#include "environment/containers/HSTVector.h"
#include "environment/errors/HEXUserException.h"
#include "environment/strings/HSTStringUtils.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "shell/reportNames.h"
#include "shell/runView.h"
#include "shell/runs.h"
#include "shell/strategyNames.h"
#include "shell/sweep.h"
#include "shell/tcl/runActions.h"
#include "shell/tcl/tclAction.h"
#include "shell/tcl/tclAdvice.h"
#include "shell/tcl/tclError.h"
#include "shell/tcl/tclValue.h"
#include "shell/undoActions.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/Project.h"
#include "workbench/runReset.h"
#include "workbench/runStop.h"
#include "workbench/strategies.h"
#include "workbench/strategyOptions.h"
#include "workbench/undo/UndoStore.h"

namespace shell::tcl::run {

namespace {

/// The strategy `text` of `flow`. @throws HTCErrors::error there is none.
const HAXPStrategy& flowStrategy(const HAXPFlow& flow, const std::string& text) {
    if (const HAXPStrategy* strategy = workbench::findStrategy(flow, strategyNameFor(flow, text)))
        return *strategy;
    fail(Code::kStrategyNotFound, {text},
         fmt::format("There is no strategy '{}' of the flow {}. \"strategy list\" lists them.",
                     text, flowWord(flow)));
}

/// What create and set are to do with a run.
struct RunWishes {
    bool hasStep = false;
    std::string step;
    std::vector<Setting> settings;
};

/// @throws HEXUserException the step or one of the settings doesn't fit a run over `strategy`.
/// A run takes all of the wishes or none.
void require(const HAXPStrategy& strategy, const RunWishes& wishes) {
    HAXPExpRun trial("trial", &strategy, nullptr);
    for (const Setting& setting : wishes.settings)
        workbench::setOption(*trial.getStrategy(), setting.name, setting.value);
    if (wishes.step.empty())
        return;
    trial.setToStepId(wishes.step);
    if (trial.getToStep() == nullptr)
        fail(Code::kRefused, {},
             fmt::format("There is no step '{}'. \"flow steps {}\" lists the steps.", wishes.step,
                         flowWord(*strategy.getFlow())));
}

void fulfil(Project& project, HAXPExpRun& run, const RunWishes& wishes) {
    if (wishes.hasStep)
        project.setToStep(run, wishes.step);
    for (const Setting& setting : wishes.settings)
        project.setOption(run, setting.name, setting.value);
}

void requireNewName(const Project& project, const std::string& name) {
    for (const HAXPExpRun* run : project.getRuns()) {
        if (HSTStringUtils::iequals(run->getName(), name))
            fail(Code::kRunExists, {run->getName()},
                 fmt::format("There is a run {} already. Choose another name.", run->getName()));
    }
}

std::vector<std::string> assignments(const Call& call) {
    std::vector<std::string> words;
    for (const Setting& setting : settingsOf(call, "-set"))
        words.push_back(setting.name + "=" + setting.value);
    return words;
}

SweepRequest readSweep(const Call& call) {
    SweepRequest request;
    request.name = call.word(0);
    request.flow = &flowNamed(call.text("-flow", "impl"));
    request.strategies =
        call.has("-strategies") ? call.list("-strategies") : std::vector<std::string>{"Default"};
    request.seeds = readSeeds(
        call.has("-seeds") ? fmt::format("{}", fmt::join(call.list("-seeds"), ",")) : "1-6");
    request.syntheses = call.list("-synths");
    request.synthesisStrategies = call.list("-synthstrategies");
    if (call.has("-synths") && call.has("-synthstrategies"))
        fail(Code::kUsage, {}, "Either -synths or -synthstrategies, not both.");
    request.toStep = call.text("-to");
    if (call.has("-reports"))
        request.reportStrategy = chosenReportStrategy(*request.flow, call.text("-reports"));
    request.settings = assignments(call);
    return request;
}

/// In the order in which they are to be stopped: what waits would begin as soon as another run
/// makes room for it.
void waitingFirst(Runs& runs) {
    std::stable_partition(runs.begin(), runs.end(), [](const HAXPExpRun* run) {
        return run->getStatus()->getCode() == HDGUIStatus::statusQueued;
    });
}

void stopAll(const OpenProject& open, Runs runs) {
    waitingFirst(runs);
    for (HAXPExpRun* run : runs) {
        if (TclSession::isPending(open, *run))
            workbench::stopRun(*run);
    }
}

nlohmann::json stopJson(const HAXPExpRun& run, const workbench::StopResult& result) {
    return {{"stopped", !result.wasIdle}, {"status", statusWord(run)}, {"job", result.job},
            {"asked", result.asked},      {"killed", result.killed},   {"ms", result.ms}};
}

}  // namespace

Tcl_Obj* create(Call& call) {
    Project& project = *changeable(call.session().current()).project;
    const std::string name = call.word(0);
    requireNewName(project, name);
    const HAXPFlow& flow = flowNamed(call.required("-flow"));
    const HAXPStrategy& strategy = flowStrategy(flow, call.text("-strategy", "Default"));
    const RunWishes wishes{call.has("-to"), call.text("-to"), settingsOf(call, "-set")};
    require(strategy, wishes);
    const std::string reports =
        call.has("-reports") ? chosenReportStrategy(flow, call.text("-reports")) : "";
    HAXPExpRun& run =
        project.createRun(name, flow, strategy.getName(), call.text("-synth"), reports);
    fulfil(project, run, wishes);
    project.save();
    return handleOf(run);
}

Tcl_Obj* set(Call& call) {
    const RunOfProject found = changeableRun(call, 0);
    Project& project = *found.project->project;
    const RunWishes wishes{call.has("-to"), call.text("-to"), settingsOf(call, 1)};
    if (wishes.settings.empty() && !wishes.hasStep && !call.has("-strategy"))
        call.failUsage();
    const HAXPStrategy* strategy = found.run->getStrategy();
    if (call.has("-strategy"))
        strategy = &flowStrategy(*strategy->getFlow(), call.text("-strategy"));
    require(*strategy, wishes);
    if (call.has("-strategy"))
        project.applyStrategy(*found.run, strategy->getName());
    fulfil(project, *found.run, wishes);
    project.save();
    return Tcl_NewObj();
}

Tcl_Obj* apply(Call& call) {
    const RunOfProject found = changeableRun(call, 0);
    const HAXPStrategy& own = *found.run->getStrategy();
    const std::string wanted = call.count() > 1 ? call.word(1) : own.getName();
    const std::string name = flowStrategy(*own.getFlow(), wanted).getName();
    found.project->project->applyStrategy(*found.run, name);
    found.project->project->save();
    return Tcl_NewObj();
}

Tcl_Obj* sweep(Call& call) {
    OpenProject& open = call.session().current();
    const SweepRequest request = readSweep(call);
    // In a project that is thrown away: a sweep makes all of its runs or none.
    const auto trial = Project::open(open.project->getDir(), Project::kRead);
    const Runs planned = makeSweep(*trial, request);
    if (call.flag("-dryrun"))
        return newList(namesOf(planned));
    changeable(open);
    const Runs made = makeSweep(*open.project, request);
    open.project->save();
    return handlesOf(made);
}

Tcl_Obj* kill(Call& call) {
    OpenProject* open = nullptr;
    Runs runs = call.session().runs(call.words(), open);
    waitingFirst(runs);
    nlohmann::json all = nlohmann::json::object();
    std::string errors;
    for (HAXPExpRun* run : runs) {
        try {
            all[run->getName()] = stopJson(*run, workbench::stopRun(*run));
        } catch (const HEXUserException& error) {
            errors += (errors.empty() ? "" : "\n") + std::string(error.what());
        }
    }
    call.session().catchUp(*open);
    if (!errors.empty())
        fail(Code::kRefused, {}, tclAdvice(errors));
    return newValue(all);
}

Tcl_Obj* reset(Call& call) {
    OpenProject* open = nullptr;
    const Runs runs = call.session().runs(call.words(), open);
    Project& project = *changeable(*open).project;
    TclSession::refresh(runs);
    if (call.flag("-kill"))
        stopAll(*open, runs);
    call.session().catchUp(*open);
    const workbench::UndoGroup together(project);
    HSTVector<std::string> errors;
    bool isReset = true;
    for (HAXPExpRun* run : runs) {
        // One that can't be reset keeps no other back.
        try {
            isReset = workbench::resetRun(project, *run, call.text("-from"),
                                          !call.flag("-keepfiles"), errors, call.flag("-force")) &&
                      isReset;
        } catch (const HEXUserException& error) {
            if (runs.size() == 1)
                throw;
            errors.push_back(error.what());
            isReset = false;
        }
    }
    if (!isReset)
        fail(Code::kRefused, {}, tclAdvice(fmt::format("{}", fmt::join(errors, "\n"))));
    return Tcl_NewObj();
}

Tcl_Obj* remove(Call& call) {
    OpenProject* open = nullptr;
    Runs runs = call.session().runs(call.words(), open);
    changeable(*open);
    if (call.flag("-dependants"))
        addDependants(*open->project, runs);
    TclSession::refresh(runs);
    if (call.flag("-kill"))
        stopAll(*open, runs);
    call.session().catchUp(*open);
    for (const HAXPExpRun* run : runs) {
        if (TclSession::isPending(*open, *run))
            fail(Code::kRefused, {},
                 fmt::format("Run {0} is at work or waits. Stop it first: run kill {0}",
                             run->getName()));
    }
    call.session().remove(*open, runs);
    return Tcl_NewObj();
}

}  // namespace shell::tcl::run
