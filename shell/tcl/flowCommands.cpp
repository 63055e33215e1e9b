// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include <nlohmann/json.hpp>
#include <tcl.h>

#include "environment/options/HATAttrSpec.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "shell/strategyNames.h"
#include "shell/tcl/tclAction.h"
#include "shell/tcl/tclValue.h"
#include "workbench/optionText.h"
#include "workbench/strategyOptions.h"

namespace shell::tcl {

namespace {

Tcl_Obj* listFlows(Call&) {
    std::vector<std::string> words;
    for (const HAXPFlow* flow : allFlows())
        words.push_back(flowWord(*flow));
    return newList(words);
}

/// The ids of the steps, once each, in order.
nlohmann::json stepsJson(const HAXPStrategy& plain) {
    nlohmann::json steps = nlohmann::json::array();
    for (const workbench::StrategyOption& option : workbench::optionsOf(plain)) {
        if (steps.empty() || steps.back() != option.step())
            steps.push_back(option.step());
    }
    return steps;
}

Tcl_Obj* listSteps(Call& call) {
    const HAXPStrategy plain(&flowNamed(call.word(0)));
    return newValue(stepsJson(plain));
}

Tcl_Obj* describeFlow(Call& call) {
    const HAXPFlow& flow = flowNamed(call.word(0));
    const HAXPStrategy plain(&flow);
    return newValue({{"flow", flowWord(flow)},
                     {"id", flow.getFlowId()},
                     {"name", flow.getName()},
                     {"steps", stepsJson(plain)}});
}

Tcl_Obj* describeOptions(Call& call) {
    const HAXPStrategy plain(&flowNamed(call.word(0)));
    Tcl_Obj* dict = Tcl_NewDictObj();
    for (const workbench::StrategyOption& option : workbench::optionsOf(plain)) {
        if (call.count() > 1 && call.word(1) != option.step())
            continue;
        Tcl_DictObjPut(nullptr, dict, newText(option.fullName()),
                       newValue({{"default", workbench::defaultText(*option.spec)},
                                 {"description", option.spec->getDescription()}}));
    }
    return dict;
}

}  // namespace

const Ensemble& flowEnsemble() {
    static const Ensemble ensemble{
        "flow",
        "what flows there are, with their steps and options",
        {
            {"list", "", "the flows", 0, 0, {}, listFlows},
            {"info", "FLOW", "a dict: id, name, steps", 1, 1, {}, describeFlow},
            {"steps", "FLOW", "the ids of its steps, in order", 1, 1, {}, listSteps},
            {"options",
             "FLOW ?STEP?",
             "a dict of its options, each with default and description",
             1,
             2,
             {},
             describeOptions},
        }};
    return ensemble;
}

}  // namespace shell::tcl
