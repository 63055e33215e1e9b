// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "LettersRun.h"

#include <memory>

#include "LettersRunInfo.h"
#include "environment/containers/HSTFwdIter.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HDGUIStatus.h"

LettersRun::LettersRun(const std::string& name, const HAXPStrategy* strategy, HAXPStratDB* owner)
    : HAXPExpRunBase(name, strategy, nullptr) {
    // The base's constructor can't reach this override.
    LettersRun::initRun_(name, strategy, nullptr);
    getStrategy()->attach(owner);
    m_isDirty = false;
}

LettersRun::~LettersRun() noexcept(false) {
    // While this class is whole: steps and information object ask their run.
    nukeSteps();
    setExpInfoBase(nullptr);
}

LettersRunInfo& LettersRun::getInfo() const {
    return *static_cast<LettersRunInfo*>(getExpInfoBase());
}

void LettersRun::initRun_(const std::string& name, const HAXPStrategy* strategy,
                          const HAXRReportStrategy*) {
    setExpInfoBase(new LettersRunInfo(this, name));
    setStatus_(new HDGUIStatus);
    setStrategy_(new HAXPStrategy);
    // The run itself hears of changed options, by optionsChangedCallback_().
    getStrategy()->attach(static_cast<HATOptGroupObserver*>(this));
    applyStrategy(strategy);
    createStats();
}

void LettersRun::updateStatus() {
    std::string dir;
    getRunDir(dir);
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(createRunStepIter());
    while (!dir.empty() && steps->hasNext()) {
        HAXPExpRunStep* step = steps->next();
        step->updateStatus(dir);
        getStatus()->setCode(step->getStatus()->getCode());
    }
}

void LettersRun::setRunStatus(HAXPExpRunStep* step, int status) {
    step->getStatus()->setCode(status);
    getStatus()->setCode(status);
}

HAXPExpRunStep* LettersRun::getDefaultLastStep() const {
    return getFirstStep();
}

void LettersRun::setDirtyCallback_() {
    m_isDirty = true;
}

void LettersRun::optionsChangedCallback_(HATOptGroup* group) {
    HAXPExpRunBase::optionsChangedCallback_(group);
    getInfo().updStaleOptionReasons();
}
