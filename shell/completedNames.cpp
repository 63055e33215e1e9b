// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/completedNames.h"

#include <algorithm>
#include <map>
#include <memory>
#include <set>

#include "environment/containers/HSTFwdIter.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"
#include "shell/listOptions.h"
#include "shell/runComparison.h"
#include "shell/strategyNames.h"
#include "workbench/ice40/devices.h"
#include "workbench/projectNames.h"
#include "workbench/strategies.h"
#include "workbench/strategyOptions.h"

namespace shell {

namespace {

using Adder = void (*)(Completion&, const NameContext&);

void addNew(Completion& completion, const std::string& name, const std::string& text = "") {
    const bool known = std::any_of(completion.candidates.begin(), completion.candidates.end(),
                                   [&name](const auto& one) { return one.name == name; });
    if (!name.empty() && !known)
        completion.candidates.push_back({name, text});
}

workbench::ProjectNames projectNames(const NameContext& context) {
    return workbench::readProjectNames(context.projectDir);
}

void addRuns(Completion& completion, const NameContext& context) {
    // No run has the name of another, whereas thousands may be of one family.
    for (const auto& run : projectNames(context).runs)
        completion.candidates.push_back({run.name, run.isSynthesis ? "synthesis" : "run"});
}

void addRunsAndFamilies(Completion& completion, const NameContext& context) {
    addRuns(completion, context);
    std::set<std::string> families;
    std::set<std::string> sweeps;
    for (const auto& run : projectNames(context).runs) {
        families.insert(run.family);
        sweeps.insert(run.sweep);
    }
    for (const std::string& family : families)
        addNew(completion, family, "family");
    for (const std::string& sweep : sweeps)
        addNew(completion, sweep, "sweep");
}

void addFamilies(Completion& completion, const NameContext& context) {
    for (const auto& run : projectNames(context).runs)
        addNew(completion, run.family, "family");
}

void addSyntheses(Completion& completion, const NameContext& context) {
    for (const auto& run : projectNames(context).runs) {
        if (run.isSynthesis)
            addNew(completion, run.name, "synthesis");
    }
}

void addReportNames(Completion& completion, const NameContext& context) {
    for (const auto& run : projectNames(context).runs) {
        const bool isMeant = context.arguments.empty() || run.name == context.arguments.front();
        for (const std::string& report : isMeant ? run.reports : std::vector<std::string>())
            addNew(completion, report, "report");
    }
}

void addFlows(Completion& completion, const NameContext&) {
    for (const HAXPFlow* flow : allFlows())
        addNew(completion, flowWord(*flow), "flow");
}

void addSteps(Completion& completion, const NameContext&) {
    for (const HAXPFlow* flow : allFlows()) {
        const std::unique_ptr<HSTFwdIter<HAXPFlowStep*>> steps(flow->createAllFlowStepIter());
        while (steps->hasNext())
            addNew(completion, steps->next()->getAbbrev(), "step");
    }
}

void addStrategies(Completion& completion, const NameContext& context) {
    const bool isOfStrategies = context.verb.compare(0, 9, "strategy ") == 0;
    for (const HAXPFlow* flow : allFlows()) {
        for (const HAXPStrategy* strategy : workbench::strategiesOf(*flow))
            addNew(completion, isOfStrategies ? fullName(*strategy) : strategy->getName(),
                   "strategy");
    }
}

void addReportStrategies(Completion& completion, const NameContext& context) {
    const bool isOfStrategies = context.verb.compare(0, 15, "reportstrategy ") == 0;
    for (const HAXPFlow* flow : allFlows()) {
        for (const HAXRReportStrategy* strategy : workbench::reportStrategiesOf(*flow))
            addNew(completion, isOfStrategies ? fullName(*strategy) : strategy->getName(),
                   "report strategy");
    }
}

void addStrategiesOfKind(Completion& completion, const NameContext& context) {
    const bool isOfReports = context.verb.compare(0, 15, "reportstrategy ") == 0;
    (isOfReports ? addReportStrategies : addStrategies)(completion, context);
}

void addSettings(Completion& completion, const NameContext&) {
    for (const HAXPFlow* flow : allFlows()) {
        const HAXPStrategy plain(flow);
        for (const workbench::StrategyOption& option : workbench::optionsOf(plain))
            addNew(completion, option.fullName() + "=", "option");
    }
}

void addDevices(Completion& completion, const NameContext&) {
    for (const ice40::Device& device : ice40::devices())
        addNew(completion, device.name, "device");
}

void addMetrics(Completion& completion, const NameContext&) {
    for (const Metric& metric : knownMetrics({}))
        addNew(completion, metric.word, metric.label);
}

void addSortKeys(Completion& completion, const NameContext&) {
    for (const std::string& key : sortKeys())
        addNew(completion, key);
}

void addStatusWords(Completion& completion, const NameContext&) {
    for (const std::string& word : statusWords())
        addNew(completion, word);
}

void addShells(Completion& completion, const NameContext&) {
    for (const char* shell : {"bash", "zsh", "fish"})
        addNew(completion, shell);
}

void askForFiles(Completion& completion, const NameContext&) {
    completion.kind = Completion::kFiles;
}

void askForFolders(Completion& completion, const NameContext&) {
    completion.kind = Completion::kFolders;
}

/// By the words of the declarations.
const std::map<std::string, Adder>& adders() {
    static const std::map<std::string, Adder> all{
        {"run", addRuns},
        {"other", addRuns},
        {"runs", addRunsAndFamilies},
        {"--family", addFamilies},
        {"--synth", addSyntheses},
        {"report", addReportNames},
        {"reports", addReportNames},
        {"--flow", addFlows},
        {"step", addSteps},
        {"--to", addSteps},
        {"--from", addSteps},
        {"--step", addSteps},
        {"strategy", addStrategiesOfKind},
        {"strategies", addStrategiesOfKind},
        {"first", addStrategiesOfKind},
        {"second", addStrategiesOfKind},
        {"--strategy", addStrategies},
        {"--strategies", addStrategies},
        {"reportstrategy", addReportStrategies},
        {"--reports", addReportStrategies},
        {"settings", addSettings},
        {"--set", addSettings},
        {"--device", addDevices},
        {"--goal", addMetrics},
        {"--by", addMetrics},
        {"--then", addMetrics},
        {"--require", addMetrics},
        {"--sort", addSortKeys},
        {"--status", addStatusWords},
        {"shell", addShells},
        {"dir", askForFolders},
        {"-C", askForFolders},
        {"--include", askForFolders},
        {"file", askForFiles},
        {"files", askForFiles},
        {"--source", askForFiles},
        {"--constraints", askForFiles},
        {"--output", askForFiles},
    };
    return all;
}

}  // namespace

Completion namesFor(const std::string& what, const NameContext& context) {
    Completion completion;
    const auto found = adders().find(what);
    if (found != adders().end())
        found->second(completion, context);
    return completion;
}

bool isList(const std::string& what) {
    return what == "--strategies" || what == "--synth" || what == "--goal" || what == "--status";
}

}  // namespace shell
