// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// The reports of a run: how they come, go and are told apart.

#include <algorithm>
#include <set>
#include <utility>

#include "environment/containers/HSTFwdIter.h"
#include "environment/errors/HEXAlgException.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/options/HATOptGroup.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/runData.h"
#include "runs/base/xpreport/HAXRReportConfig.h"
#include "runs/base/xpreport/HAXRReportSpec.h"
#include "runs/base/xpreport/HAXRReportSpecMgr.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"
#include "runs/base/xpreport/reportConfigUtil.h"

using xperiment::RunLock;
using xperiment::Steps;

namespace {

/// The report strategy whose reports partly start switched off.
const std::string kDefaultReports = "Tarnel Implementation Default Reports";

/// A report that every run of a kind of flow leaves.
struct StaticReport {
    const char* stepId;
    const char* specName;
    const char* shortDesc;
};

constexpr StaticReport kImplementationReports[] = {
    {"write_bitstream", "report_sayline", "Sayline Report"},
    {"route_design", "implementation_log", "Tarnel Implementation Log"},
    {"write_bitstream", "implementation_log", "Tarnel Implementation Log"},
};

constexpr StaticReport kSynthesisReports[] = {
    {"synth_design", "synthesis_report", "Tarnel Synthesis Report"},
};

/// A step of a run that has its flow step.
bool isWhole(const std::unique_ptr<HAXPExpRunStep>& step) {
    return step != nullptr && step->getFlowStep() != nullptr;
}

/// The first step with exactly this id; null if none.
HAXPExpRunStep* stepWithId(const Steps& steps, const std::string& stepId) {
    const auto found = std::find_if(steps.begin(), steps.end(), [&stepId](const auto& step) {
        return isWhole(step) && step->getFlowStep()->getFlowStepId() == stepId;
    });
    return found == steps.end() ? nullptr : found->get();
}

bool hasReportFile(const HAXPExpRunStep& step, const std::string& file) {
    const std::unique_ptr<HSTFwdIter<HAXRReportConfig*>> configs(step.createReportConfigIter());
    while (configs->hasNext()) {
        if (configs->next()->getReportFile() == file)
            return true;
    }
    return false;
}

/// Whether `accept` takes none of the steps.
template <class Accept> bool noneOf(const Steps& steps, Accept accept) {
    return std::none_of(steps.begin(), steps.end(),
                        [&accept](const auto& step) { return isWhole(step) && accept(*step); });
}

/// Whether the specification is that of a report without a command.
bool isStatic(const HAXRReportSpec& spec) {
    const HATOptGroup* const options = spec.getOptions();
    return options != nullptr && options->getOptGrpPrettyDisplayName().empty();
}

/// Whether the default strategy for implementation leaves the timing of the step to
/// whoever asks for it.
bool isTimingOnDemand(const std::string& stepId, const std::string& specName) {
    return specName == "report_timing_summary" && stepId != "route_design" &&
           stepId != "post_route_phys_opt_design";
}

bool isReuseOfPlacement(const std::string& stepId, const std::string& specName) {
    return specName == "report_incremental_reuse" && stepId == "place_design";
}

void refuseStep() {
    ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kError, "@36-376@");
}

void refuseSpec() {
    ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kError, "@36-369@");
}

void refuseName(const std::string& name) {
    ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kError, "@36-371@%s", name);
}

}  // namespace

void xperiment::DeleteReportStrategy::operator()(HAXRReportStrategy* strategy) const {
    strategy->nukeSteps();
    delete strategy;
}

void HAXPExpRunBase::applyReportStrategy(const HAXRReportStrategy* reportStrategy) {
    if (reportStrategy == nullptr)
        throw HEXAlgException("Can't apply null report strategy to run");
    requireReportStrategy_().copyStrat(reportStrategy);
    deleteAllReportConfigs(false);
    buildReports_();
    addStaticReports();
    updateStatus();
    setDirty();
}

HAXRReportConfig* HAXPExpRunBase::createReportConfig(const std::string& name, HAXPExpRunStep* step,
                                                     HAXRReportSpec* spec,
                                                     const std::string& displayName,
                                                     bool markDirty) {
    if (step == nullptr)
        return refuseStep(), nullptr;
    if (spec == nullptr)
        return refuseSpec(), nullptr;
    if (hasReport_(*step, name))
        return refuseName(name), nullptr;
    if (step->getFlowStep() == nullptr)
        return refuseStep(), nullptr;
    if (!isUniqueReportConfigName(name))
        return refuseName(name), nullptr;
    auto owned = std::make_unique<HAXRReportConfig>(name, step->getFlowStep()->getFlowStepId(),
                                                    spec, this, isStatic(*spec), displayName);
    owned->update(false);
    HAXRReportConfig* const config = owned.get();
    {
        const RunLock lock(m_data->mutex);
        step->addReportConfig(owned.release());
    }
    if (markDirty)
        setDirty();
    if (HATOptGroup* const options = config->getOptions())
        options->attach(this);
    return config;
}

HAXRReportConfig* HAXPExpRunBase::createReportConfig(const std::string& name,
                                                     const std::string& stepId,
                                                     HAXRReportSpec* spec,
                                                     const std::string& displayName,
                                                     bool markDirty) {
    HAXPExpRunStep* step = nullptr;
    {
        const RunLock lock(m_data->mutex);
        step = stepWithId(m_data->steps, stepId);
    }
    return step == nullptr ? nullptr : createReportConfig(name, step, spec, displayName, markDirty);
}

void HAXPExpRunBase::createStaticReport(const std::string& stepId, const std::string& specName,
                                        const std::string& shortDesc) {
    const std::string name = reportConfigUtil::createReportName(this, stepId, specName);
    std::unique_ptr<HAXRReportSpec> spec(
        HAXRReportSpecMgr::getGlobal()->getStaticReportSpec(shortDesc));
    HAXRReportConfig* const config = createReportConfig(name, stepId, spec.get(), specName, false);
    if (config == nullptr)
        return;
    config->setShortDesc(shortDesc);
    const RunLock lock(m_data->mutex);
    m_data->staticSpecs.push_back(std::move(spec));
}

void HAXPExpRunBase::addStaticReports() {
    const HAXPFlow* const flow =
        m_data->reportStrategy == nullptr ? nullptr : m_data->reportStrategy->getFlow();
    if (flow == nullptr)
        return;
    const auto addAll = [this](const auto& reports) {
        for (const StaticReport& report : reports)
            createStaticReport(report.stepId, report.specName, report.shortDesc);
    };
    if (flow->supportsFlowType(HAXPTypes::FLOW_ENTIRE_DESIGN))
        addAll(kImplementationReports);
    else if (flow->supportsFlowType(HAXPTypes::FLOW_SYNTH))
        addAll(kSynthesisReports);
}

bool HAXPExpRunBase::deleteReportConfig(HAXRReportConfig* config) {
    if (config == nullptr)
        return false;
    {
        const RunLock lock(m_data->mutex);
        HAXPExpRunStep* const step = stepWithId(m_data->steps, config->getAssociatedStepName());
        if (step == nullptr || !step->deleteReportConfig(config->getName()))
            return false;
        dropUnusedStaticSpecs_();
    }
    setDirty();
    return true;
}

void HAXPExpRunBase::deleteAllReportConfigs(bool markDirty) {
    {
        const RunLock lock(m_data->mutex);
        for (const auto& step : m_data->steps)
            step->deleteAllReportConfigs();
        dropUnusedStaticSpecs_();
    }
    if (markDirty)
        setDirty();
}

int HAXPExpRunBase::getTotalConfigCount() const {
    const RunLock lock(m_data->mutex);
    int count = 0;
    for (const auto& step : m_data->steps)
        count += step->getConfigCount();
    return count;
}

bool HAXPExpRunBase::isUniqueReportFileName(const std::string& file) const {
    const RunLock lock(m_data->mutex);
    return noneOf(m_data->steps,
                  [&file](const HAXPExpRunStep& step) { return hasReportFile(step, file); });
}

bool HAXPExpRunBase::isUniqueReportConfigName(const std::string& name) const {
    const RunLock lock(m_data->mutex);
    return noneOf(m_data->steps, [&name](const HAXPExpRunStep& step) {
        return step.getReportConfig(name) != nullptr;
    });
}

bool HAXPExpRunBase::isUniqueReportConfigDisplayName(const std::string& displayName) const {
    const RunLock lock(m_data->mutex);
    return noneOf(m_data->steps, [&displayName](const HAXPExpRunStep& step) {
        return step.getReportConfigByDisplayName(displayName) != nullptr;
    });
}

bool HAXPExpRunBase::copyNameIfSameAsRunReportStrategy(const HAXRReportStrategy* reportStrategy) {
    if (reportStrategy == nullptr)
        return false;
    const xperiment::OwnedReportStrategy snapshot(
        reportConfigUtil::createReportStrategySnapshot(this));
    if (snapshot == nullptr || snapshot->differsFrom(reportStrategy))
        return false;
    setReportStrategyName(reportStrategy->getName());
    setDirty();
    return true;
}

bool HAXPExpRunBase::isReportGenerationNeeded() const {
    const RunLock lock(m_data->mutex);
    return std::any_of(m_data->steps.begin(), m_data->steps.end(),
                       [](const auto& step) { return step->isReportGenerationNeeded(); });
}

HAXRReportStrategy& HAXPExpRunBase::requireReportStrategy_() const {
    if (m_data->reportStrategy == nullptr)
        throw HEXAlgException("ExpRun: no report strategy");
    return *m_data->reportStrategy;
}

bool HAXPExpRunBase::hasReport_(const HAXPExpRunStep& step, const std::string& name) const {
    const RunLock lock(m_data->mutex);
    return step.getReportConfig(name) != nullptr;
}

void HAXPExpRunBase::buildReports_() {
    const HAXRReportStrategy& strategy = requireReportStrategy_();
    const std::unique_ptr<HSTFwdIter<std::string>> stepIds(strategy.createFlowStepIter());
    while (stepIds->hasNext()) {
        const std::string stepId = stepIds->next();
        const std::unique_ptr<HSTFwdIter<HAXRReportSpec*>> specs(
            strategy.createReportSpecIter(stepId));
        while (specs != nullptr && specs->hasNext())
            buildReport_(stepId, specs->next());
    }
}

void HAXPExpRunBase::buildReport_(const std::string& stepId, HAXRReportSpec* spec) {
    HAXRReportConfig* const config = addReport_(stepId, spec);
    if (config == nullptr || getReportStrategyName() != kDefaultReports)
        return;
    if (isTimingOnDemand(stepId, spec->getName())) {
        config->setEnabled(false, false);
    } else if (isReuseOfPlacement(stepId, spec->getName())) {
        // One before the placement, one behind it.
        config->setEnabled(false, false);
        config->preGenerate(true);
        if (HAXRReportConfig* const second = addReport_(stepId, spec))
            second->setEnabled(false, false);
    }
}

HAXRReportConfig* HAXPExpRunBase::addReport_(const std::string& stepId, HAXRReportSpec* spec) {
    const std::string name = reportConfigUtil::createReportName(this, stepId, spec->getName());
    return createReportConfig(name, stepId, spec, spec->getDisplayName(), true);
}

void HAXPExpRunBase::alignReportNames_(const std::string& oldName, const std::string& newName) {
    const RunLock lock(m_data->mutex);
    for (const auto& step : m_data->steps)
        step->alignReportNamesWithRun(oldName, newName);
}

void HAXPExpRunBase::dropUnusedStaticSpecs_() {
    const RunLock lock(m_data->mutex);
    auto& specs = m_data->staticSpecs;
    if (specs.empty())
        return;
    std::set<const HAXRReportSpec*> used;
    for (const auto& step : m_data->steps) {
        const std::unique_ptr<HSTFwdIter<HAXRReportConfig*>> configs(
            step->createReportConfigIter());
        while (configs->hasNext())
            used.insert(configs->next()->getReportSpec());
    }
    specs.erase(std::remove_if(specs.begin(), specs.end(),
                               [&used](const auto& spec) { return used.count(spec.get()) == 0; }),
                specs.end());
}
