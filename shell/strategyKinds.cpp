// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/strategyKinds.h"

#include <boost/logic/tribool.hpp>
#include <nlohmann/json.hpp>

#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "runs/base/xperiment/HAXPMgr.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "workbench/optionText.h"
#include "workbench/strategies.h"
#include "workbench/strategyFiles.h"
#include "workbench/strategyOptions.h"

namespace shell {

namespace {

bool isChanged(const workbench::StrategyOption& option) {
    return !option.group->isDefault(option.spec);
}

std::string valueOf(const workbench::StrategyOption& option) {
    return workbench::optionText(*option.group, *option.spec);
}

std::string defaultOf(const workbench::StrategyOption& option) {
    return workbench::defaultText(*option.spec);
}

}  // namespace

std::vector<HAXPStrategy*> StrategyKind::all(const HAXPFlow& flow) {
    return workbench::strategiesOf(flow);
}

HAXPStrategy* StrategyKind::find(const HAXPFlow& flow, const std::string& name) {
    return workbench::findStrategy(flow, name);
}

StrategyKind::Owned StrategyKind::makeNew(const HAXPFlow& flow) {
    return std::make_unique<HAXPStrategy>(&flow);
}

StrategyKind::Owned StrategyKind::makeCopy(const HAXPStrategy& source) {
    auto copy = std::make_unique<HAXPStrategy>();
    copy->copyStrat(&source, true, boost::logic::indeterminate);
    return copy;
}

void StrategyKind::setOption(HAXPStrategy& strategy, const Setting& setting) {
    workbench::setOption(strategy, setting.name, setting.value);
}

HAXPStrategy* StrategyKind::admit(const HAXPStrategy& source, const std::string& name) {
    return HAXPMgr::getGlobal()->copyStrategy(&source, name);
}

void StrategyKind::takeOver(HAXPStrategy& strategy, const HAXPStrategy& source) {
    strategy.copyStrat(&source, true, boost::logic::indeterminate);
}

void StrategyKind::rename(HAXPStrategy& strategy, const std::string& name) {
    HAXPMgr::getGlobal()->renameStrategy(&strategy, name);
}

void StrategyKind::remove(HAXPStrategy& strategy) {
    HAXPMgr::getGlobal()->deleteStrategy(&strategy);
}

std::string StrategyKind::summary(const HAXPStrategy& strategy) {
    std::string text;
    for (const auto& option : workbench::optionsOf(strategy)) {
        if (isChanged(option))
            text += (text.empty() ? "" : " ") + option.name() + "=" + valueOf(option);
    }
    return text;
}

Rows StrategyKind::rows(const HAXPStrategy& strategy) {
    Rows rows{{"", "Step", "Option", "Value", "Default", "What it does"}, {}};
    for (const auto& option : workbench::optionsOf(strategy))
        rows.rows.push_back({isChanged(option) ? "*" : " ", option.step(), option.name(),
                             valueOf(option), defaultOf(option), option.spec->getDescription()});
    return rows;
}

nlohmann::json StrategyKind::json(const HAXPStrategy& strategy, bool all) {
    nlohmann::json options = nlohmann::json::array();
    for (const auto& option : workbench::optionsOf(strategy)) {
        if (all || isChanged(option))
            options.push_back({{"step", option.step()},
                               {"option", option.name()},
                               {"value", valueOf(option)},
                               {"default", defaultOf(option)},
                               {"changed", isChanged(option)}});
    }
    return options;
}

std::vector<Difference> StrategyKind::differences(HAXPStrategy& first, HAXPStrategy& second) {
    std::vector<Difference> all;
    for (const auto& found : workbench::differences(first, second))
        all.push_back({found.step, found.name, found.first, found.second});
    return all;
}

std::vector<StrategyKind::Owned> StrategyKind::read(const std::string& path) {
    return workbench::readStrategyFile(path);
}

void StrategyKind::write(HAXPStrategy& strategy, const std::string& path, bool replace) {
    workbench::writeStrategyFile(strategy, path, replace);
}

}  // namespace shell
