// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xpreport/HAXRReportStrategy.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "environment/containers/heapIter.h"
#include "environment/errors/HEXAlgException.h"
#include "environment/strings/HSTStrUtils.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xpreport/HAXRReportSpec.h"
#include "runs/base/xpreport/HAXRReportStratDB.h"

namespace {

using Specs = HSTVector<HAXRReportSpec*>;

void deleteAll(const Specs& specs) {
    for (const HAXRReportSpec* spec : specs)
        delete spec;
}

/// Whether each report of `mine` finds one of its own in `theirs`.
bool haveSameReports(const Specs& mine, Specs theirs) {
    if (mine.size() != theirs.size())
        return false;
    for (const HAXRReportSpec* spec : mine) {
        const auto match = std::find_if(theirs.begin(), theirs.end(), [&](HAXRReportSpec* other) {
            return spec->getName() == other->getName() && spec->isEqual(other);
        });
        if (match == theirs.end())
            return false;
        theirs.erase(match);
    }
    return true;
}

}  // namespace

HAXRReportStrategy::HAXRReportStrategy(const HAXPFlow* flow) {
    initStrat_(flow);
}

HAXRReportStrategy::~HAXRReportStrategy() noexcept(false) {
    m_database = nullptr;
    m_observer = nullptr;
}

void HAXRReportStrategy::setName(const std::string& name) {
    m_name = name;
    setDirty_();
}

void HAXRReportStrategy::setDescription(const std::string& description) {
    m_description = description;
    setDirty_();
}

std::uint32_t HAXRReportStrategy::specCount(const std::string& stepId) const {
    const Specs* const specs = findSpecs_(stepId);
    return specs == nullptr ? noEntry : static_cast<std::uint32_t>(specs->size());
}

HSTFwdIter<std::string>* HAXRReportStrategy::createFlowStepIter() const {
    return containers::heapIter<std::string>(m_stepOrder);
}

HSTFwdIter<HAXRReportSpec*>*
HAXRReportStrategy::createReportSpecIter(const std::string& stepId) const {
    const Specs* const specs = findSpecs_(stepId);
    return specs == nullptr ? nullptr : containers::heapIter<HAXRReportSpec*>(*specs);
}

void HAXRReportStrategy::attach(HAXRReportStratDB* database) {
    m_database = database;
}

void HAXRReportStrategy::attach(HATOptGroupObserver* observer) {
    m_observer = observer;
    for (const auto& [stepId, specs] : m_stepSpecs) {
        for (HAXRReportSpec* spec : specs)
            spec->attach(observer);
    }
}

HAXRReportSpec* HAXRReportStrategy::addSpec(const std::string& stepId, HAXRReportSpec* ownedSpec,
                                            bool notify) {
    if (!mayChange_(stepId, ownedSpec))
        return nullptr;
    append_(stepId, ownedSpec);
    if (notify)
        setDirty_();
    return ownedSpec;
}

void HAXRReportStrategy::removeSpec(const std::string& stepId, HAXRReportSpec* spec, bool notify) {
    if (!mayChange_(stepId, spec))
        return;
    const auto step = m_stepSpecs.find(stepId);
    if (step == m_stepSpecs.end())
        throw HEXAlgException("Step is not present in user strategy");
    Specs& specs = step->second;
    const auto found = std::find(specs.begin(), specs.end(), spec);
    if (found != specs.end())
        specs.erase(found);
    if (notify)
        setDirty_();
}

void HAXRReportStrategy::removeStep(const std::string& stepId) {
    const auto step = m_stepSpecs.find(stepId);
    if (step == m_stepSpecs.end())
        return;
    deleteAll(step->second);
    m_stepSpecs.erase(step);
}

void HAXRReportStrategy::nukeSteps() {
    for (const auto& [stepId, specs] : m_stepSpecs)
        deleteAll(specs);
    m_stepSpecs.clear();
    m_stepOrder.clear();
}

HAXRReportSpec* HAXRReportStrategy::findReportSpec(const std::string& stepId,
                                                   const std::string& reportName) const {
    return findReportSpec(stepId, reportName, VersionInfo{});
}

HAXRReportSpec* HAXRReportStrategy::findReportSpec(const std::string& stepId,
                                                   const std::string& reportName,
                                                   const VersionInfo& version) const {
    const auto isMeant = [&](const HAXRReportSpec* spec) {
        return HSTStrUtils::equalToCI(spec->getName(), reportName) &&
               (version.isLatest() || spec->getVersion() == version);
    };
    for (const std::string& id : m_stepOrder) {
        const Specs* const specs = HSTStrUtils::equalToCI(id, stepId) ? findSpecs_(id) : nullptr;
        if (specs == nullptr)
            continue;
        const auto found = std::find_if(specs->begin(), specs->end(), isMeant);
        if (found != specs->end())
            return *found;
    }
    return nullptr;
}

bool HAXRReportStrategy::isUniqueReportSpecDisplayName(const std::string& stepId,
                                                       const std::string& displayName) const {
    const Specs* const specs = findSpecs_(stepId);
    if (specs == nullptr)
        throw HEXAlgException("Step is not present in user strategy");
    return std::none_of(specs->begin(), specs->end(), [&](const HAXRReportSpec* spec) {
        return spec->getDisplayName() == displayName;
    });
}

void HAXRReportStrategy::copyStrategy(const HAXRReportStrategy* other) {
    copyOptions_(other);
    setDirty_();
}

void HAXRReportStrategy::copyStrat(const HAXRReportStrategy* other) {
    copyOptions_(other);
    m_name = other->m_name;
    m_description = other->m_description;
    setDirty_();
}

bool HAXRReportStrategy::differsFrom(const HAXRReportStrategy* other, bool) const {
    if (other == nullptr)
        throw HEXAlgException("Invalid input report strategey");
    if (m_flow != other->m_flow || m_stepSpecs.size() != other->m_stepSpecs.size())
        return true;
    return !std::equal(m_stepSpecs.begin(), m_stepSpecs.end(), other->m_stepSpecs.begin(),
                       [](const auto& mine, const auto& theirs) {
                           return mine.first == theirs.first &&
                                  haveSameReports(mine.second, theirs.second);
                       });
}

void HAXRReportStrategy::optionsChangedCallback_(HATOptGroup*) {
    setDirty_();
}

void HAXRReportStrategy::initStrat_(const HAXPFlow* flow) {
    m_flow = flow;
    m_database = nullptr;
    m_observer = this;
    m_userDefined = true;
    m_internal = false;
    m_modified = false;
    m_nameOnly = false;
}

void HAXRReportStrategy::setDirty_() {
    if (m_database != nullptr)
        m_database->strategyModifiedCallback(this);
}

void HAXRReportStrategy::copyOptions_(const HAXRReportStrategy* other) {
    if (!m_userDefined)
        throw HEXAlgException("can't alter a pre-defined report strategy");
    if (other == nullptr)
        throw HEXAlgException("Report Strategy::copyOptions : NULL strat");
    if (other->m_flow == nullptr) {
        m_flow = nullptr;
        return;
    }
    // Copied first, put in place then: a source that is this strategy keeps its
    // reports, and a throw half-way leaves what was.
    std::vector<std::pair<std::string, std::unique_ptr<HAXRReportSpec>>> copies;
    for (const std::string& stepId : other->m_stepOrder) {
        if (const Specs* const specs = other->findSpecs_(stepId)) {
            for (const HAXRReportSpec* spec : *specs)
                copies.emplace_back(stepId, std::make_unique<HAXRReportSpec>(*spec));
        }
    }
    m_flow = other->m_flow;
    m_modified = other->m_modified;
    nukeSteps();
    for (auto& [stepId, spec] : copies) {
        append_(stepId, spec.get());
        static_cast<void>(spec.release());
    }
    // A database that saves then never saves half of the reports.
    for (std::size_t told = 0; told < copies.size(); ++told)
        setDirty_();
}

bool HAXRReportStrategy::mayChange_(const std::string& stepId, const HAXRReportSpec* spec) const {
    if (!m_userDefined)
        throw HEXAlgException("can't alter a pre-defined strategy");
    if (spec == nullptr)
        throw HEXAlgException("NULL report spec");
    if (m_flow == nullptr)
        return false;
    if (m_flow->getFlowStepForFSId(stepId) == nullptr)
        throw HEXAlgException("NULL Step");
    return true;
}

void HAXRReportStrategy::append_(const std::string& stepId, HAXRReportSpec* ownedSpec) {
    ownedSpec->attach(m_observer);
    if (std::find(m_stepOrder.begin(), m_stepOrder.end(), stepId) == m_stepOrder.end())
        m_stepOrder.push_back(stepId);
    m_stepSpecs[stepId].push_back(ownedSpec);
}

const HAXRReportStrategy::Specs* HAXRReportStrategy::findSpecs_(const std::string& stepId) const {
    const auto found = m_stepSpecs.find(stepId);
    return found == m_stepSpecs.end() ? nullptr : &found->second;
}
