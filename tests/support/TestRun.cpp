// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "tests/support/TestRun.h"

#include <memory>
#include <stdexcept>

#include "environment/containers/HSTFwdIter.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"
#include "tests/support/TestFlow.h"

namespace test {

namespace {

using StepIter = std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>>;

}  // namespace

void TestRunInfo::resetRun() {
    if (onReset)
        onReset();
    HAXPExpInfoBase::resetRun();
}

TestRun::TestRun(const std::string& name, const HAXPStrategy* strategy)
    : TestRun(name, strategy, nullptr) {}

TestRun::TestRun(const std::string& name, const HAXPStrategy* strategy,
                 const HAXRReportStrategy* reportStrategy)
    : HAXPExpRunBase(name, strategy, reportStrategy) {
    TestRun::initRun_(name, strategy, reportStrategy);
}

TestRun::TestRun(const std::string& name, const HAXPFlow* flow) : HAXPExpRunBase(name, flow) {
    const HAXPStrategy defaults(flow);
    TestRun::initRun_(name, &defaults, nullptr);
}

TestRun::~TestRun() noexcept(false) {
    onUpdateStatus = nullptr;
    onDirty = nullptr;
    setExpInfoBase(nullptr);
}

TestRunInfo& TestRun::info() const {
    return static_cast<TestRunInfo&>(*getExpInfoBase());
}

HAXPExpRunStep* TestRun::step(const std::string& id) const {
    const StepIter steps(createRunStepIter());
    while (steps->hasNext()) {
        HAXPExpRunStep* candidate = steps->next();
        if (candidate->getFlowStep()->getFlowStepId() == id)
            return candidate;
    }
    throw std::logic_error("the run has no step " + id);
}

std::vector<std::string> TestRun::stepIds() const {
    std::vector<std::string> ids;
    const StepIter steps(createRunStepIter());
    while (steps->hasNext())
        ids.push_back(idOf(steps->next()));
    return ids;
}

std::string TestRun::idOf(const HAXPExpRunStep* step) {
    return step == nullptr ? "none" : step->getFlowStep()->getFlowStepId();
}

void TestRun::setCode(const std::string& id, int code) {
    step(id)->getStatus()->setCode(code);
}

void TestRun::setCode(int code) {
    getStatus()->setCode(code);
}

void TestRun::setEnabled(const std::string& id, bool enabled) {
    setBool(step(id)->getAttrs(), "EnableStepBool", enabled);
}

void TestRun::updateStatus() {
    ++statusUpdates;
    if (onUpdateStatus)
        onUpdateStatus();
    std::string dir;
    getRunDir(dir);
    if (!dir.empty() && getRunMode() == kLaunched)
        followMarkers_(dir);
}

void TestRun::setRunStatus(HAXPExpRunStep* step, int status) {
    statusesSet.emplace_back(step, status);
    (step == nullptr ? getStatus() : step->getStatus())->setCode(status);
}

HAXPExpRunStep* TestRun::getDefaultLastStep() const {
    return defaultLastStep == nullptr ? HAXPExpRunBase::getDefaultLastStep() : defaultLastStep;
}

void TestRun::initRun_(const std::string& name, const HAXPStrategy* strategy,
                       const HAXRReportStrategy* reportStrategy) {
    setExpInfoBase(new TestRunInfo(this, name));
    setStatus_(new HDGUIStatus("Not Started", "Not Started"));
    setStrategy_(new HAXPStrategy);
    getStrategy()->setInternal(true);
    getStrategy()->attach(static_cast<HATOptGroupObserver*>(this));
    applyStrategy(strategy);
    if (reportStrategy != nullptr) {
        setReportStrategy_(new HAXRReportStrategy(getStrategy()->getFlow()));
        getReportStrategy()->setInternal(true);
        applyReportStrategy(reportStrategy);
    }
    createStats();
    statusUpdates = 0;
    dirtyCalls = 0;
    optionCalls = 0;
}

void TestRun::optionsChangedCallback_(HATOptGroup* group) {
    ++optionCalls;
    HAXPExpRunBase::optionsChangedCallback_(group);
}

void TestRun::setDirtyCallback_() {
    ++dirtyCalls;
    HAXPExpRunBase::setDirtyCallback_();
    if (onDirty)
        onDirty();
}

void TestRun::followMarkers_(const std::string& dir) {
    bool failed = false;
    HAXPExpRunStep* latest = nullptr;
    const StepIter steps(createRunStepIter());
    while (steps->hasNext()) {
        HAXPExpRunStep* candidate = steps->next();
        candidate->updateStatus(dir);
        const int code = candidate->getStatus()->getCode();
        failed = failed || code == HDGUIStatus::statusError;
        if (code != HDGUIStatus::statusNotStarted)
            latest = candidate;
    }
    setLatestStep(latest);
    const HAXPExpRunStep* last = getLastStep();
    const bool done = last != nullptr && last->getStatus()->getCode() == HDGUIStatus::statusDone;
    if (failed)
        setCode(HDGUIStatus::statusError);
    else if (done)
        setCode(HDGUIStatus::statusDone);
    else
        setCode(latest != nullptr ? HDGUIStatus::statusRunning : HDGUIStatus::statusNotStarted);
}

void StrategyRecorder::strategyModifiedCallback_(HAXPStrategy* strategy) {
    changed.push_back(strategy);
    if (onChange)
        onChange();
}

}  // namespace test
