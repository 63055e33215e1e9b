// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// The report configurations of a step.

#include <algorithm>
#include <utility>

#include "environment/containers/heapIter.h"
#include "environment/messages/ComMsgMgr.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/runStepData.h"
#include "runs/base/xpreport/HAXRReportConfig.h"

namespace {

using Configs = std::vector<std::unique_ptr<HAXRReportConfig>>;

Configs::const_iterator findNamed(const Configs& configs, const std::string& name) {
    return std::find_if(configs.begin(), configs.end(),
                        [&name](const auto& config) { return config->getName() == name; });
}

HAXRReportConfig* configAt(const Configs& configs, Configs::const_iterator at) {
    return at == configs.end() ? nullptr : at->get();
}

}  // namespace

void HAXPExpRunStep::addReportConfig(HAXRReportConfig* ownedConfig) {
    std::unique_ptr<HAXRReportConfig> config(ownedConfig);
    if (config != nullptr)
        m_data->reportConfigs.push_back(std::move(config));
}

HAXRReportConfig* HAXPExpRunStep::getReportConfig(const std::string& name) const {
    return configAt(m_data->reportConfigs, findNamed(m_data->reportConfigs, name));
}

HAXRReportConfig*
HAXPExpRunStep::getReportConfigByDisplayName(const std::string& displayName) const {
    const Configs& configs = m_data->reportConfigs;
    return configAt(configs, std::find_if(configs.begin(), configs.end(), [&](const auto& config) {
                        return config->getDisplayName() == displayName;
                    }));
}

int HAXPExpRunStep::getConfigCount() const {
    return static_cast<int>(m_data->reportConfigs.size());
}

HSTFwdIter<HAXRReportConfig*>* HAXPExpRunStep::createReportConfigIter() const {
    return containers::heapIterOfOwned<HAXRReportConfig*>(m_data->reportConfigs);
}

bool HAXPExpRunStep::deleteReportConfig(const std::string& name) {
    Configs& configs = m_data->reportConfigs;
    const auto found = findNamed(configs, name);
    if (found == configs.end()) {
        ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kError, "@36-370@%s%s",
                                 name, m_data->flowStep->getFlowStepId());
        return false;
    }
    const auto place = configs.begin() + (found - configs.cbegin());
    const std::unique_ptr<HAXRReportConfig> config = std::move(*place);
    configs.erase(place);
    config->reset(false);
    return true;
}

void HAXPExpRunStep::deleteAllReportConfigs() {
    m_data->reportConfigs.clear();
}

bool HAXPExpRunStep::updateReportConfigs() {
    bool changed = false;
    for (const auto& config : m_data->reportConfigs)
        changed = config->update(false) || changed;
    return changed;
}

void HAXPExpRunStep::resetReportConfigs() {
    for (const auto& config : m_data->reportConfigs)
        config->reset(false);
}

bool HAXPExpRunStep::isReportGenerationNeeded() const {
    const Configs& configs = m_data->reportConfigs;
    return isEnabled() && std::any_of(configs.begin(), configs.end(), [](const auto& config) {
               return config->isGenerationRequired();
           });
}

void HAXPExpRunStep::alignReportNamesWithRun(const std::string& oldRunName,
                                             const std::string& newRunName) {
    for (const auto& config : m_data->reportConfigs)
        config->replaceRunSubStringInName(oldRunName, newRunName);
}
