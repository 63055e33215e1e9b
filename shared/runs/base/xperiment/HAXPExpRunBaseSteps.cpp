// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// The steps of a run: selection, and what the selection says of the run.

#include <algorithm>

#include "environment/containers/heapIter.h"
#include "environment/files/HUTFile.h"
#include "environment/strings/HSTStringUtils.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/runData.h"
#include "runs/base/xperiment/stepMarkers.h"

using xperiment::RunLock;
using xperiment::Steps;

namespace {

bool isUsable(const HAXPExpRunStep& step) {
    return step.isEnabled() && !step.isVirtual();
}

/// Whether the step ends a run with what the device is loaded with.
bool writesDeviceImage(const HAXPExpRunStep& step) {
    const std::string& id = step.getFlowStep()->getFlowStepId();
    return id == "write_bitstream" || id == "write_device_image";
}

int codeOf(const HAXPExpRunStep& step) {
    return step.getStatus()->getCode();
}

/// The place of `step` in `steps`; their number for a stranger.
std::size_t placeOf(const Steps& steps, const HAXPExpRunStep* step) {
    const auto found = std::find_if(steps.begin(), steps.end(),
                                    [step](const auto& entry) { return entry.get() == step; });
    return static_cast<std::size_t>(found - steps.begin());
}

int countEnabled(const Steps& steps) {
    return static_cast<int>(std::count_if(steps.begin(), steps.end(),
                                          [](const auto& step) { return step->isEnabled(); }));
}

template <class It, class Accept> HAXPExpRunStep* firstOf(It first, It last, Accept accept) {
    const It found =
        std::find_if(first, last, [&accept](const auto& step) { return accept(*step); });
    return found == last ? nullptr : found->get();
}

}  // namespace

HSTFwdIter<HAXPExpRunStep*>* HAXPExpRunBase::createRunStepIter() const {
    const RunLock lock(m_data->mutex);
    return containers::heapIterOfOwned<HAXPExpRunStep*>(m_data->steps);
}

HAXPExpRunStep* HAXPExpRunBase::getRunStep(const HAXPFlowStep* flowStep) const {
    if (flowStep == nullptr)
        return nullptr;
    return firstStep_(
        [flowStep](const HAXPExpRunStep& step) { return step.getFlowStep() == flowStep; });
}

int HAXPExpRunBase::effectiveStepCount(bool enabledOnly) const {
    const RunLock lock(m_data->mutex);
    return enabledOnly ? countEnabled(m_data->steps) : static_cast<int>(m_data->steps.size());
}

int HAXPExpRunBase::getStepIndex(const HAXPExpRunStep* step) const {
    const RunLock lock(m_data->mutex);
    const std::size_t place = placeOf(m_data->steps, step);
    return place == m_data->steps.size() ? 0 : static_cast<int>(place);
}

HAXPExpRunStep* HAXPExpRunBase::getFirstStep() const {
    return firstStep_([](const HAXPExpRunStep&) { return true; });
}

HAXPExpRunStep* HAXPExpRunBase::getFirstNonVirtualEnabledStep() const {
    const RunLock lock(m_data->mutex);
    if (HAXPExpRunStep* usable = firstStep_(isUsable))
        return usable;
    return m_data->steps.empty() ? nullptr : m_data->steps.back().get();
}

HAXPExpRunStep* HAXPExpRunBase::getFirstStaleStep() const {
    return firstStep_([](const HAXPExpRunStep& step) { return step.isStale(); });
}

HAXPExpRunStep* HAXPExpRunBase::getFirstStaleOrOwnStep(const std::string& stepId) const {
    std::string id = stepId;
    HSTStringUtils::to_lower(id);
    const RunLock lock(m_data->mutex);
    updatePlaces_();
    const std::size_t place = m_data->places.firstStaleOr(id);
    return place < m_data->steps.size() ? m_data->steps[place].get() : nullptr;
}

HAXPExpRunStep* HAXPExpRunBase::getLastDoneStep() const {
    return lastStep_([](const HAXPExpRunStep& step) {
        return isUsable(step) && codeOf(step) == HDGUIStatus::statusDone;
    });
}

HAXPExpRunStep* HAXPExpRunBase::getLastAttemptedStep() const {
    return lastStep_([](const HAXPExpRunStep& step) {
        const int code = codeOf(step);
        return isUsable(step) &&
               (code == HDGUIStatus::statusRunning || code == HDGUIStatus::statusDone ||
                code == HDGUIStatus::statusError);
    });
}

HAXPExpRunStep* HAXPExpRunBase::getLastStep() const {
    return lastStep_([](const HAXPExpRunStep& step) { return step.isEnabled(); });
}

HAXPExpRunStep* HAXPExpRunBase::getDefaultLastStep() const {
    return getLastStep();
}

void HAXPExpRunBase::setToStepId(const std::string& abbrev) {
    const RunLock lock(m_data->mutex);
    m_data->toStepId = abbrev;
}

std::string& HAXPExpRunBase::getToStepId(std::string& abbrev) const {
    const RunLock lock(m_data->mutex);
    abbrev = m_data->toStepId;
    if (abbrev.empty()) {
        if (const HAXPExpRunStep* last = getDefaultLastStep())
            abbrev = last->getFlowStep()->getAbbrev();
    }
    return abbrev;
}

HAXPExpRunStep* HAXPExpRunBase::getToStep() const {
    const RunLock lock(m_data->mutex);
    std::string abbrev;
    getToStepId(abbrev);
    return firstStep_([&abbrev](const HAXPExpRunStep& step) {
        return HSTStringUtils::iequals(step.getFlowStep()->getAbbrev(), abbrev);
    });
}

HAXPExpRunStep* HAXPExpRunBase::getNextStep(const HAXPExpRunStep* step,
                                            bool skipVirtualAtStart) const {
    const RunLock lock(m_data->mutex);
    HAXPExpRunStep* next = nullptr;
    if (step != nullptr)
        next = successor_(step);
    else
        next = skipVirtualAtStart ? getFirstNonVirtualEnabledStep() : getFirstStep();
    while (next != nullptr && !next->isEnabled())
        next = successor_(next);
    return next;
}

HAXPExpRunStep* HAXPExpRunBase::getPrevStep(const HAXPExpRunStep* step) const {
    const RunLock lock(m_data->mutex);
    std::size_t place = placeOf(m_data->steps, step);
    if (place == m_data->steps.size())
        return nullptr;
    while (place-- > 0) {
        if (m_data->steps[place]->isEnabled())
            return m_data->steps[place].get();
    }
    return nullptr;
}

HAXPExpRunStep* HAXPExpRunBase::getFirstIncompleteStep() const {
    return getNextStep(getLastDoneStep(), false);
}

HAXPExpRunStep* HAXPExpRunBase::getResetFromStep() const {
    return getNextStep(getLastDoneStep(), true);
}

HAXPExpRunStep* HAXPExpRunBase::getEffectiveNextStep() const {
    return getNextStep(getLastDoneStep(), true);
}

int HAXPExpRunBase::getNextSteps(HSTVector<std::string>& names) const {
    const HAXPExpRunStep* next = getEffectiveNextStep();
    const RunLock lock(m_data->mutex);
    bool isAhead = false;
    for (const auto& step : m_data->steps) {
        isAhead = isAhead || step.get() == next;
        if (isAhead && isUsable(*step))
            names.push_back(step->getFlowStep()->getAbbrev());
    }
    return static_cast<int>(names.size());
}

HAXPExpRunStep* HAXPExpRunBase::getEffectivePrevStep() const {
    return getLastAttemptedStep();
}

bool HAXPExpRunBase::canResetPrevStep() const {
    return getEffectivePrevStep() != nullptr;
}

bool HAXPExpRunBase::canLaunchNextStep() const {
    const HAXPExpRunStep* last = getLastStep();
    if (last == nullptr || statusCode_() == HDGUIStatus::statusRunning)
        return false;
    const int code = codeOf(*last);
    return code != HDGUIStatus::statusDone && code != HDGUIStatus::statusError;
}

bool HAXPExpRunBase::isANonInitStep(const HAXPExpRunStep* step) const {
    std::string dir;
    getRunDir(dir);
    if (dir.empty() || step == nullptr)
        return false;
    const std::string marker =
        xperiment::stepMarker(step->getFlowStep()->getStatusTrackingStr(), "begin");
    return HUTFile::exists(xperiment::markerPath(dir, marker));
}

bool HAXPExpRunBase::hasNonInitRunStepAfter(const HAXPExpRunStep* step) const {
    const RunLock lock(m_data->mutex);
    bool behind = false;
    return firstStep_([this, step, &behind](const HAXPExpRunStep& entry) {
               const bool counts = behind && entry.isEnabled();
               behind = behind || &entry == step;
               return counts && isANonInitStep(&entry);
           }) != nullptr;
}

bool HAXPExpRunBase::canAddReport(const HAXPExpRunStep* step) const {
    if (step == nullptr)
        return false;
    if (!isUsable(*step))
        return !hasNonInitRunStepAfter(step);
    return !writesDeviceImage(*step) || codeOf(*step) == HDGUIStatus::statusNotStarted;
}

bool HAXPExpRunBase::isPartiallyDone() const {
    const HAXPExpRunStep* done = getLastDoneStep();
    if (done == nullptr || done->isVirtual())
        return false;
    return done != getDefaultLastStep() && done != getLastStep();
}

bool HAXPExpRunBase::needsReset() const {
    const RunMode mode = getRunMode();
    if (mode == kUnknown)
        return true;
    if (m_data->expInfo != nullptr && m_data->expInfo->needsResetForFlowChange())
        return true;
    if (isPartiallyDone())
        return false;
    return statusCode_() != HDGUIStatus::statusNotStarted || mode == kLaunched;
}

void HAXPExpRunBase::updatePlaces_() const {
    const RunLock lock(m_data->mutex);
    xperiment::StepPlaces& places = m_data->places;
    const unsigned long changes = m_data->stepChanges;
    if (places.changes == changes)
        return;
    places.byId.clear();
    places.firstStale = m_data->steps.size();
    for (std::size_t at = m_data->steps.size(); at-- > 0;) {
        const HAXPExpRunStep& step = *m_data->steps[at];
        if (step.isStale())
            places.firstStale = at;
        std::string id = step.getFlowStep()->getFlowStepId();
        HSTStringUtils::to_lower(id);
        places.byId[id] = at;
    }
    places.changes = changes;
}

HAXPExpRunStep* HAXPExpRunBase::successor_(const HAXPExpRunStep* step) const {
    const RunLock lock(m_data->mutex);
    const std::size_t next = placeOf(m_data->steps, step) + 1;
    return next < m_data->steps.size() ? m_data->steps[next].get() : nullptr;
}

template <class Accept> HAXPExpRunStep* HAXPExpRunBase::firstStep_(Accept accept) const {
    const RunLock lock(m_data->mutex);
    return firstOf(m_data->steps.begin(), m_data->steps.end(), accept);
}

template <class Accept> HAXPExpRunStep* HAXPExpRunBase::lastStep_(Accept accept) const {
    const RunLock lock(m_data->mutex);
    return firstOf(m_data->steps.rbegin(), m_data->steps.rend(), accept);
}
