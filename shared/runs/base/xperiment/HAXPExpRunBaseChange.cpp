// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// How the steps of a run come and go.

#include <algorithm>
#include <utility>

#include "environment/errors/HEXAlgException.h"
#include "environment/errors/HEXUserException.h"
#include "environment/options/HATOptGroup.h"
#include "runs/base/xperiment/HAXFBasicStepFilter.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPFlowStepOptions.h"
#include "runs/base/xperiment/runData.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"

using xperiment::RunLock;

namespace {

/// The filter of the process; without one the rules that hold for every product.
HAXPStepFilter& stepFilter() {
    static HAXFBasicStepFilter s_basic;
    HAXPStepFilter* installed = HAXPStrategy::getStepFilter();
    return installed == nullptr ? s_basic : *installed;
}

}  // namespace

void HAXPExpRunBase::nukeSteps() {
    // The handles are members of the steps.
    closeAllMessageHandles();
    const RunLock lock(m_data->mutex);
    for (const auto& step : m_data->steps)
        step->removeRun(this);
    m_data->steps.clear();
    ++m_data->stepChanges;
    dropUnusedStaticSpecs_();
}

void HAXPExpRunBase::addStep(const HAXPFlowStep* flowStep, bool markDirty, bool skipFilter) {
    if (flowStep == nullptr)
        throw HEXAlgException("NULL Step");
    HAXPStrategy& strategy = requireStrategy_();
    std::string reason;
    if (!skipFilter && !canAddStep(flowStep, reason))
        throw HEXUserException("Step '" + flowStep->getFlowStepId() + "' can't be added to run '" +
                               getName() + "': " + reason);
    const int stepsBefore = effectiveStepCount(false);
    const int entriesBefore = strategy.stepCount();
    HAXPExpRunStep* const latestBefore = getLatestStep();
    try {
        appendStep_(flowStep);
        updateStatus();
        if (markDirty)
            setDirty();
    } catch (...) {
        setLatestStep(latestBefore);
        dropStepsFrom_(stepsBefore);
        strategy.dropEntriesFrom_(entriesBefore);
        throw;
    }
}

bool HAXPExpRunBase::canAddStep(const HAXPFlowStep* flowStep, std::string& reason) {
    return stepFilter().canAddStep(flowStep, this, reason);
}

bool HAXPExpRunBase::canAddStep(const HAXPFlowStep* flowStep) {
    std::string reason;
    return canAddStep(flowStep, reason);
}

bool HAXPExpRunBase::canResetStep(const HAXPFlowStep* flowStep, std::string& reason) {
    return stepFilter().canResetStep(flowStep, this, reason);
}

bool HAXPExpRunBase::canResetStep(const HAXPFlowStep* flowStep) {
    std::string reason;
    return canResetStep(flowStep, reason);
}

bool HAXPExpRunBase::canRemoveStep(HAXPExpRunStep* step, std::string& reason) {
    return stepFilter().canRemoveStep(step, this, reason);
}

void HAXPExpRunBase::removeStep(HAXPExpRunStep* step, bool skipFilter) {
    HAXPStrategy& strategy = requireStrategy_();
    std::string reason;
    if (!skipFilter && !canRemoveStep(step, reason))
        return;
    std::unique_ptr<HAXPExpRunStep> removed = takeOut_(step);
    const HAXPFlowStep* flowStep = removed->getFlowStep();
    const HATOptGroup* options = removed->getOptions();
    // It points into the strategies, so it goes first.
    removed.reset();
    dropUnusedStaticSpecs_();
    strategy.dropEntry_(options);
    const bool isLastOfItsKind = getRunStep(flowStep) == nullptr;
    if (m_data->reportStrategy != nullptr && isLastOfItsKind)
        m_data->reportStrategy->removeStep(flowStep->getFlowStepId());
    if (strategy.stepCount() != effectiveStepCount(false))
        throw HEXAlgException("RunStep/Option mismatch");
    updateStatus();
    setDirty();
}

void HAXPExpRunBase::removeStep(const HAXPFlowStep* flowStep, bool skipFilter) {
    if (HAXPExpRunStep* step = getRunStep(flowStep))
        removeStep(step, skipFilter);
}

void HAXPExpRunBase::applyStrategy(const HAXPStrategy* strategy) {
    if (strategy == nullptr)
        throw HEXAlgException("Can't apply null strategy to run");
    HAXPExpInfoBase& info = requireInfo_();
    HAXPStrategy& own = requireStrategy_();
    own.takeOver_(strategy, true, m_data->strategyCopyFlag);
    setDescription(strategy->getDescription(), false);
    nukeSteps();
    buildSteps_();
    // Not before: until now the steps stood on groups that were gone.
    own.setDirty_();
    updateStatus();
    const HAXPExpRunStep* first = getFirstStep();
    if (first != nullptr && first->getStatus()->getCode() != HDGUIStatus::statusNotStarted)
        info.updStaleReasons();
    setDirty();
}

HATOptGroup* HAXPExpRunBase::createOptionsForStep(const HAXPFlowStep* flowStep) const {
    if (flowStep == nullptr)
        throw HEXAlgException("NULL Step");
    auto options = std::make_unique<HATOptGroup>(flowStep->getOptionsSpec());
    if (const HAXPStrategy* strategy = getStrategy()) {
        if (const HAXPFlowStepOptions* entry =
                strategy->getRunStepOptions(flowStep->getFlowStepId()))
            options->copy(entry->getOptions(), true);
    }
    return options.release();
}

void HAXPExpRunBase::appendStep_(const HAXPFlowStep* flowStep) {
    const HAXPFlowStepOptions* entry = requireStrategy_().addStep(flowStep, true);
    takeStep_(std::make_unique<HAXPExpRunStep>(flowStep, entry->getOptions(), entry->getAttrs(),
                                               m_data->expInfo));
}

void HAXPExpRunBase::takeStep_(std::unique_ptr<HAXPExpRunStep> step) {
    const RunLock lock(m_data->mutex);
    step->countStaleChangesIn_(m_data->stepChanges);
    m_data->steps.push_back(std::move(step));
    ++m_data->stepChanges;
}

std::unique_ptr<HAXPExpRunStep> HAXPExpRunBase::takeOut_(const HAXPExpRunStep* step) {
    const RunLock lock(m_data->mutex);
    auto& steps = m_data->steps;
    const auto at = std::find_if(steps.begin(), steps.end(),
                                 [step](const auto& owned) { return owned.get() == step; });
    if (at == steps.end())
        throw HEXAlgException("step not found");
    std::unique_ptr<HAXPExpRunStep> taken = std::move(*at);
    steps.erase(at);
    taken->removeRun(this);
    m_data->msgHandles.remove(&taken->getMsgSrcHandle());
    ++m_data->stepChanges;
    return taken;
}

void HAXPExpRunBase::dropStepsFrom_(int count) {
    const RunLock lock(m_data->mutex);
    auto& steps = m_data->steps;
    for (; static_cast<int>(steps.size()) > count; steps.pop_back()) {
        steps.back()->removeRun(this);
        m_data->msgHandles.remove(&steps.back()->getMsgSrcHandle());
    }
    ++m_data->stepChanges;
    dropUnusedStaticSpecs_();
}

void HAXPExpRunBase::buildSteps_() {
    const RunLock lock(m_data->mutex);
    const HAXPStrategy& strategy = requireStrategy_();
    m_data->steps.reserve(static_cast<std::size_t>(strategy.stepCount()));
    const std::unique_ptr<HSTFwdIter<HAXPFlowStepOptions*>> entries(
        strategy.createFlowStepOptionsIter());
    while (entries->hasNext()) {
        const HAXPFlowStepOptions* entry = entries->next();
        takeStep_(std::make_unique<HAXPExpRunStep>(
            strategy.getFlow()->getFlowStepForFSId(entry->getOptGrpId()), entry->getOptions(),
            entry->getAttrs(), m_data->expInfo));
    }
}
