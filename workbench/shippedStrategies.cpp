// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/shippedStrategies.h"

#include "environment/errors/HEXAlgException.h"
#include "environment/options/HATOptGroup.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "workbench/openFlows.h"
#include "workbench/optionText.h"

namespace workbench {

namespace {

struct Setting {
    const char* stepId;
    const char* option;
    const char* value;
};

struct Shipped {
    const char* name;
    const char* description;
    std::vector<Setting> settings;
};

const std::vector<Shipped>& synthesisStrategies() {
    static const std::vector<Shipped> all{
        {"Default", "The tool's own defaults", {}},
        {"Performance",
         "Maps with the device's delays in view",
         {{"synth_design", "abc9", "true"}, {"synth_design", "device_family", "hx"}}},
        {"Area",
         "Maps with abc9 and lets it move logic across flip-flops",
         {{"synth_design", "abc9", "true"}, {"synth_design", "dff", "true"}}},
        {"Hierarchy", "Keeps the modules apart", {{"synth_design", "noflatten", "true"}}},
    };
    return all;
}

const std::vector<Shipped>& implementationStrategies() {
    static const std::vector<Shipped> all{
        {"Default", "The tool's own defaults", {}},
        {"Performance",
         "Places with more weight on the critical paths",
         {{"place_design", "heap_timingweight", "30"}, {"place_design", "heap_critexp", "4"}}},
        {"Explore", "The defaults from another starting point", {{"place_design", "seed", "3"}}},
        {"LowGlobals",
         "Leaves enables and resets off the global nets",
         {{"place_design", "no_promote_globals", "true"}}},
        {"Annealing", "Places by simulated annealing; slow", {{"place_design", "placer", "sa"}}},
    };
    return all;
}

const std::vector<Shipped>& shippedFor(const HAXPFlow& flow) {
    static const std::vector<Shipped> none;
    if (&flow == OpenFlows::getSynthesis())
        return synthesisStrategies();
    return &flow == OpenFlows::getImplementation() ? implementationStrategies() : none;
}

void apply(const Setting& setting, const HAXPStrategy& strategy) {
    HATOptGroup* group = strategy.getOptions(setting.stepId);
    const HATAttrSpec* spec = group == nullptr ? nullptr : group->getAttrSpecByName(setting.option);
    std::string reason = "no such option";
    if (spec == nullptr || !setOptionText(*group, *spec, setting.value, reason))
        throw HEXAlgException(std::string("shipped strategy: ") + setting.option + ": " + reason);
}

}  // namespace

std::vector<std::string> shippedStrategyNames(const HAXPFlow& flow) {
    std::vector<std::string> names;
    for (const Shipped& shipped : shippedFor(flow))
        names.emplace_back(shipped.name);
    return names;
}

std::unique_ptr<HAXPStrategy> makeShippedStrategy(const HAXPFlow& flow, const std::string& name) {
    for (const Shipped& shipped : shippedFor(flow)) {
        if (name != shipped.name)
            continue;
        auto strategy = std::make_unique<HAXPStrategy>(&flow);
        strategy->setName(shipped.name);
        strategy->setDescription(shipped.description);
        for (const Setting& setting : shipped.settings)
            apply(setting, *strategy);
        strategy->setUserDefined(false);
        return strategy;
    }
    return nullptr;
}

}  // namespace workbench
