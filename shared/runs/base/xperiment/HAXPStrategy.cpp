// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPStrategy.h"

#include <algorithm>
#include <utility>

#include "environment/containers/heapIter.h"
#include "environment/errors/HEXAlgException.h"
#include "environment/options/HATOptGroup.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPFlowStepOptions.h"
#include "runs/base/xperiment/HAXPStepFilter.h"
#include "runs/base/xperiment/HAXPStratDB.h"

namespace {

/// Whether the choice between bitstream and device image leaves out a step.
bool isOtherOutput(const std::string& stepId, boost::logic::tribool deviceImage) {
    if (boost::logic::indeterminate(deviceImage))
        return false;
    return stepId == (deviceImage ? "write_bitstream" : "write_device_image");
}

/// The step `stepId` of `flow`, or null.
const HAXPFlowStep* flowStepOf(const HAXPFlow* flow, const std::string& stepId) {
    return flow == nullptr ? nullptr : flow->getFlowStepForFSId(stepId);
}

/// A step that is in no flow is nothing that a filter could know.
bool isLetIn(const HAXPFlowStep* step) {
    HAXPStepFilter* filter = HAXPStrategy::getStepFilter();
    return filter == nullptr || step == nullptr || filter->canAddToStrategy(step);
}

bool haveSameSpecs(const HAXPFlowStepOptions& a, const HAXPFlowStepOptions& b) {
    return a.getOptionsSpec() == b.getOptionsSpec() && a.getAttrsSpec() == b.getAttrsSpec();
}

bool haveSameValues(const HAXPFlowStepOptions& a, const HAXPFlowStepOptions& b) {
    return !(*a.getOptions() != *b.getOptions()) && !(*a.getAttrs() != *b.getAttrs());
}

}  // namespace

HAXPStepFilter* HAXPStrategy::sp_stepFilter = nullptr;

HAXPStrategy::HAXPStrategy() {
    initStrat_(nullptr);
}

HAXPStrategy::HAXPStrategy(const HAXPFlow* flow) {
    initStrat_(flow);
}

HAXPStrategy::~HAXPStrategy() noexcept(false) {
    nukeVecs();
}

void HAXPStrategy::setName(const std::string& name) {
    m_name = name;
    setDirty_();
}

void HAXPStrategy::setDescription(const std::string& description) {
    m_description = description;
    setDirty_();
}

void HAXPStrategy::setFlow(const HAXPFlow* flow, bool addDefaultSteps) {
    m_flow = flow;
    nukeVecs();
    if (flow == nullptr || !addDefaultSteps)
        return;
    const std::unique_ptr<HSTFwdIter<HAXPFlowStep*>> steps(flow->createDefaultFlowStepIter());
    const auto count = static_cast<std::size_t>(flow->defaultFlowStepCount());
    m_stepOptions.reserve(count);
    m_options.reserve(count);
    while (steps->hasNext())
        addStep(steps->next(), false);
}

bool HAXPStrategy::isEnabled() const {
    return m_flow == nullptr || m_flow->isEnabled();
}

int HAXPStrategy::stepCount() const {
    return static_cast<int>(m_options.size());
}

HSTFwdIter<HATOptGroup*>* HAXPStrategy::createOptionsIter() const {
    return containers::heapIter<HATOptGroup*>(m_options);
}

HSTFwdIter<HAXPFlowStepOptions*>* HAXPStrategy::createFlowStepOptionsIter() const {
    return containers::heapIterOfOwned<HAXPFlowStepOptions*>(m_stepOptions);
}

HATOptGroup* HAXPStrategy::getOptions(const std::string& id) const {
    const auto found = std::find_if(m_options.begin(), m_options.end(),
                                    [&](HATOptGroup* group) { return group->getOptGrpId() == id; });
    return found == m_options.end() ? nullptr : *found;
}

HAXPFlowStepOptions* HAXPStrategy::getRunStepOptions(const std::string& id) const {
    const auto found = std::find_if(m_stepOptions.begin(), m_stepOptions.end(),
                                    [&](const auto& entry) { return entry->getOptGrpId() == id; });
    return found == m_stepOptions.end() ? nullptr : found->get();
}

void HAXPStrategy::attach(HAXPStratDB* database) {
    m_database = database;
}

void HAXPStrategy::attach(HATOptGroupObserver* observer) {
    m_observer = observer;
    for (const auto& entry : m_stepOptions) {
        entry->getOptions()->attach(observer);
        entry->getAttrs()->attach(observer);
    }
}

HAXPFlowStepOptions* HAXPStrategy::addStep(const HAXPFlowStep* step, bool markDirty) {
    if (!m_userDefined)
        throw HEXAlgException("can't alter a pre-defined strategy");
    if (step == nullptr)
        throw HEXAlgException("NULL Step");
    HAXPFlowStepOptions* entry = addStep_(step->getOptionsSpec(), step->getAttrsSpec());
    if (markDirty)
        setDirty_();
    return entry;
}

void HAXPStrategy::removeStep(const std::string& id) {
    const auto group = std::find_if(m_options.begin(), m_options.end(), [&](HATOptGroup* options) {
        return options->getOptGrpId() == id;
    });
    if (group != m_options.end())
        m_options.erase(group);
    const auto entry = std::find_if(m_stepOptions.begin(), m_stepOptions.end(),
                                    [&](const auto& step) { return step->getOptGrpId() == id; });
    if (entry != m_stepOptions.end())
        m_stepOptions.erase(entry);
}

void HAXPStrategy::copyStrategy(const HAXPStrategy* source) {
    copyOptions_(source, false, boost::logic::indeterminate);
    setDirty_();
}

void HAXPStrategy::copyStrat(const HAXPStrategy* source, bool ignoreFilter,
                             boost::logic::tribool deviceImage) {
    takeOver_(source, ignoreFilter, deviceImage);
    setDirty_();
}

bool HAXPStrategy::differsFrom(HAXPStrategy* other, bool ignoreFilter) const {
    if (other == nullptr)
        throw HEXAlgException("Strat::differsFrom : NULL strat");
    if (m_flow != other->m_flow)
        return true;
    auto mine = m_stepOptions.begin();
    const auto last = other->m_stepOptions.end();
    for (auto theirs = other->m_stepOptions.begin(); theirs != last;) {
        if (mine == m_stepOptions.end())
            return theirs + 1 != last;
        const HAXPFlowStepOptions& step = **mine++;
        if (haveSameSpecs(step, **theirs)) {
            if (!haveSameValues(step, **theirs))
                return true;
            ++theirs;
        } else if (ignoreFilter || isLetIn(flowStepOf(m_flow, step.getOptGrpId()))) {
            return true;
        }
    }
    return false;
}

void HAXPStrategy::nukeVecs() {
    m_options.clear();
    m_stepOptions.clear();
}

void HAXPStrategy::installFilter(HAXPStepFilter* filter) {
    if (sp_stepFilter != nullptr)
        throw HEXAlgException("Step Filter already installed!");
    sp_stepFilter = filter;
}

HAXPStepFilter* HAXPStrategy::getStepFilter() {
    return sp_stepFilter;
}

void HAXPStrategy::optionsChangedCallback_(HATOptGroup*) {
    setDirty_();
}

HAXPFlowStepOptions* HAXPStrategy::addStep_(const HATOptGroupSpec* options,
                                            const HATOptGroupSpec* attrs) {
    std::unique_ptr<HAXPFlowStepOptions> entry = makeEntry_(options, attrs);
    m_options.push_back(entry->getOptions());
    try {
        m_stepOptions.push_back(std::move(entry));
    } catch (...) {
        m_options.pop_back();
        throw;
    }
    return m_stepOptions.back().get();
}

void HAXPStrategy::copyOptions_(const HAXPStrategy* source, bool ignoreFilter,
                                boost::logic::tribool deviceImage) {
    if (!m_userDefined)
        throw HEXAlgException("can't alter a pre-defined strategy");
    if (source == nullptr)
        throw HEXAlgException("Strategy::copyOptions : NULL strat");
    // Copied first, taken over then: a source that is this strategy keeps its steps,
    // and a throw half-way leaves what was.
    Entries entries = copyEntries_(*source, ignoreFilter, deviceImage);
    setFlow(source->m_flow, false);
    setEntries_(std::move(entries));
}

void HAXPStrategy::initStrat_(const HAXPFlow* flow) {
    m_database = nullptr;
    m_observer = this;
    m_userDefined = true;
    m_internal = false;
    setFlow(flow, true);
}

void HAXPStrategy::setDirty_() {
    if (m_database != nullptr)
        m_database->strategyModifiedCallback(this);
}

std::unique_ptr<HAXPFlowStepOptions> HAXPStrategy::makeEntry_(const HATOptGroupSpec* options,
                                                              const HATOptGroupSpec* attrs) {
    auto entry = std::make_unique<HAXPFlowStepOptions>(options, attrs);
    entry->getOptions()->attach(m_observer);
    entry->getAttrs()->attach(m_observer);
    return entry;
}

HAXPStrategy::Entries HAXPStrategy::copyEntries_(const HAXPStrategy& source, bool ignoreFilter,
                                                 boost::logic::tribool deviceImage) {
    Entries copies;
    for (const auto& entry : source.m_stepOptions) {
        const HAXPFlowStep* step = flowStepOf(source.m_flow, entry->getOptGrpId());
        if (step == nullptr)
            throw HEXAlgException("Strategy: step '" + entry->getOptGrpId() +
                                  "' isn't in the flow");
        if (isOtherOutput(step->getFlowStepId(), deviceImage) || !(ignoreFilter || isLetIn(step)))
            continue;
        copies.push_back(makeEntry_(entry->getOptionsSpec(), entry->getAttrsSpec()));
        copies.back()->getOptions()->copy(entry->getOptions(), false);
        copies.back()->getAttrs()->copy(entry->getAttrs(), false);
    }
    return copies;
}

void HAXPStrategy::setEntries_(Entries entries) {
    std::vector<HATOptGroup*> groups;
    groups.reserve(entries.size());
    for (const auto& entry : entries)
        groups.push_back(entry->getOptions());
    m_stepOptions = std::move(entries);
    m_options = std::move(groups);
}

void HAXPStrategy::takeOver_(const HAXPStrategy* source, bool ignoreFilter,
                             boost::logic::tribool deviceImage) {
    copyOptions_(source, ignoreFilter, deviceImage);
    m_name = source->m_name;
    m_description = source->m_description;
}

void HAXPStrategy::dropEntriesFrom_(int count) {
    while (stepCount() > count)
        m_options.pop_back();
    while (static_cast<int>(m_stepOptions.size()) > count)
        m_stepOptions.pop_back();
}

void HAXPStrategy::dropEntry_(const HATOptGroup* options) {
    const auto group = std::find(m_options.begin(), m_options.end(), options);
    if (group != m_options.end())
        m_options.erase(group);
    const auto entry =
        std::find_if(m_stepOptions.begin(), m_stepOptions.end(),
                     [options](const auto& step) { return step->getOptions() == options; });
    if (entry != m_stepOptions.end())
        m_stepOptions.erase(entry);
}
