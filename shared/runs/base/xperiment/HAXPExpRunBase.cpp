// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPExpRunBase.h"

#include <algorithm>
#include <exception>

#include "environment/containers/heapIter.h"
#include "environment/errors/HEXAlgException.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrSrcHandle.h"
#include "runs/base/xperiment/HAXPStatMgr.h"
#include "runs/base/xperiment/HAXPStatSpec.h"
#include "runs/base/xperiment/runData.h"
#include "runs/base/xpreport/HAXRReportSpec.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"

using xperiment::RunLock;
using RunHandles = mqi::tcltasks::native_cache<HAXPExpRunBase*>;

template class mqi::tcltasks::native_cache<HAXPExpRunBase*>;

HAXPExpRunBase::HAXPExpRunBase(const std::string& name, const HAXPStrategy* strategy,
                               const HAXRReportStrategy* reportStrategy)
    : m_data(std::make_unique<Data>()) {
    if (strategy == nullptr)
        throw HEXAlgException("ExpRun: null strategy");
    HAXPExpRunBase::initRun_(name, strategy, reportStrategy);
}

HAXPExpRunBase::HAXPExpRunBase(const std::string& name, const HAXPFlow* flow)
    : m_data(std::make_unique<Data>()) {
    if (flow == nullptr)
        throw HEXAlgException("ExpRun: null flow");
    const HAXPStrategy defaults(flow);
    HAXPExpRunBase::initRun_(name, &defaults, nullptr);
}

HAXPExpRunBase::~HAXPExpRunBase() noexcept(false) {
    std::exception_ptr fromScripting;
    try {
        RunHandles::release(this);
    } catch (...) {
        fromScripting = std::current_exception();
    }
    finish_();
    if (fromScripting != nullptr && std::uncaught_exceptions() == 0)
        std::rethrow_exception(fromScripting);
}

std::string HAXPExpRunBase::getName() const {
    return m_data->expInfo == nullptr ? std::string() : m_data->expInfo->getRunName();
}

std::string HAXPExpRunBase::getDescription() const {
    return m_data->expInfo == nullptr ? std::string() : m_data->expInfo->getDescription();
}

void HAXPExpRunBase::setDescription(const std::string& description, bool markDirty) {
    requireInfo_().setDescription(description);
    if (markDirty)
        setDirty();
}

void HAXPExpRunBase::renameRun(const std::string& newName) {
    HAXPExpInfoBase& info = requireInfo_();
    const std::string oldName = info.getRunName();
    info.setRunName(newName);
    RunHandles::rename(this, newName);
    alignReportNames_(oldName, newName);
    setDirty();
}

HAXPExpInfoBase* HAXPExpRunBase::getExpInfoBase() const {
    return m_data->expInfo;
}

void HAXPExpRunBase::setExpInfoBase(HAXPExpInfoBase* ownedInfo) {
    if (m_data->expInfo != ownedInfo)
        delete m_data->expInfo;
    m_data->expInfo = ownedInfo;
}

HDGUIStatus* HAXPExpRunBase::getStatus() const {
    return m_data->status.get();
}

HAXPStrategy* HAXPExpRunBase::getStrategy() const {
    return m_data->strategy.get();
}

HAXRReportStrategy* HAXPExpRunBase::getReportStrategy() const {
    return m_data->reportStrategy.get();
}

void HAXPExpRunBase::setStrategyName(const std::string& name) {
    requireStrategy_().setName(name);
}

void HAXPExpRunBase::setReportStrategyName(const std::string& name) {
    if (m_data->reportStrategy != nullptr)
        m_data->reportStrategy->setName(name);
}

std::string HAXPExpRunBase::getReportStrategyName() const {
    return m_data->reportStrategy == nullptr ? std::string() : m_data->reportStrategy->getName();
}

void HAXPExpRunBase::getRunDir(std::string& dir) const {
    const RunLock lock(m_data->mutex);
    dir = m_data->runDir;
}

void HAXPExpRunBase::setRunDir(const std::string& dir, bool update) {
    {
        const RunLock lock(m_data->mutex);
        m_data->runDir = dir;
    }
    if (update)
        updateRun();
}

HAXPExpRunBase::RunMode HAXPExpRunBase::getRunMode() const {
    const RunLock lock(m_data->mutex);
    return m_data->runMode;
}

void HAXPExpRunBase::setRunMode(RunMode mode) {
    const RunLock lock(m_data->mutex);
    m_data->runMode = mode;
}

HAXPExpRunStep* HAXPExpRunBase::getLatestStep() const {
    const RunLock lock(m_data->mutex);
    return m_data->latestStep;
}

void HAXPExpRunBase::setLatestStep(HAXPExpRunStep* step) {
    const RunLock lock(m_data->mutex);
    m_data->latestStep = step;
}

bool HAXPExpRunBase::isActivated() const {
    return isActivated_();
}

void HAXPExpRunBase::checkToActivateRun() {
    {
        const RunLock lock(m_data->mutex);
        m_data->activated = !m_data->runDir.empty();
    }
    updateRun();
}

void HAXPExpRunBase::deactivateRun() {
    {
        const RunLock lock(m_data->mutex);
        m_data->activated = false;
    }
    updateRun();
}

int HAXPExpRunBase::statCount() const {
    return static_cast<int>(m_data->stats.size());
}

HSTFwdIter<HAXPStat*>* HAXPExpRunBase::createStatIter() const {
    return containers::heapIterOfOwned<HAXPStat*>(m_data->stats);
}

void HAXPExpRunBase::createStats() {
    const std::unique_ptr<HSTFwdIter<HAXPStat*>> prototypes(
        HAXPStatMgr::getGlobal()->createStatIter());
    while (prototypes->hasNext())
        m_data->stats.emplace_back(prototypes->next()->clone());
}

HAXPStat* HAXPExpRunBase::getStat(HAXPStatSpec* spec) const {
    if (spec == nullptr)
        return nullptr;
    const auto found =
        std::find_if(m_data->stats.begin(), m_data->stats.end(), [spec](const auto& stat) {
            return stat->getStatSpec()->getName() == spec->getName();
        });
    return found == m_data->stats.end() ? nullptr : found->get();
}

bool HAXPExpRunBase::hasErrorStat() const {
    return std::any_of(m_data->stats.begin(), m_data->stats.end(),
                       [](const auto& stat) { return stat->isError(); });
}

void HAXPExpRunBase::updateStats() {
    for (const auto& stat : m_data->stats)
        stat->updateStat(this);
}

void HAXPExpRunBase::resetStats() {
    for (const auto& stat : m_data->stats)
        stat->resetStat();
    closeAllMessageHandles();
}

void HAXPExpRunBase::deleteStats() {
    m_data->stats.clear();
}

HSTFwdIter<ComMsgMgrSrcHandle*>* HAXPExpRunBase::createMsgMgrHandlesIter() const {
    return containers::heapIter<ComMsgMgrSrcHandle*>(m_data->msgHandles);
}

void HAXPExpRunBase::closeAllMessageHandles() {
    const RunLock lock(m_data->mutex);
    for (ComMsgMgrSrcHandle* handle : m_data->msgHandles)
        ComMsgMgr::unloadMsgSrc(*handle);
    m_data->msgHandles.clear();
}

void HAXPExpRunBase::updateStatus() {}

void HAXPExpRunBase::setRunStatus(HAXPExpRunStep*, int) {}

void HAXPExpRunBase::updateRun() {
    updateStatus();
    std::string dir;
    getRunDir(dir);
    if (!dir.empty() && getRunMode() == kLaunched) {
        updateReports(dir);
        updateStats();
    } else {
        resetReports();
        resetStats();
    }
}

void HAXPExpRunBase::updateReports(const std::string& runDir) {
    const RunLock lock(m_data->mutex);
    for (const auto& step : m_data->steps) {
        const int code = step->getStatus()->getCode();
        if (code == HDGUIStatus::statusDone || code == HDGUIStatus::statusError)
            step->updateReports(runDir);
        else
            step->resetReports();
    }
}

void HAXPExpRunBase::resetReports() {
    const RunLock lock(m_data->mutex);
    for (const auto& step : m_data->steps)
        step->resetReports();
}

void HAXPExpRunBase::initRun_(const std::string&, const HAXPStrategy*, const HAXRReportStrategy*) {
    const RunLock lock(m_data->mutex);
    m_data->activated = false;
    m_data->runMode = kNotLaunched;
    m_data->latestStep = nullptr;
    m_data->status.reset();
    m_data->expInfo = nullptr;
    m_data->strategy.reset();
    m_data->reportStrategy.reset();
    m_data->strategyCopyFlag = false;
}

void HAXPExpRunBase::optionsChangedCallback_(HATOptGroup*) {
    setDirty();
}

void HAXPExpRunBase::setDirtyCallback_() {}

void HAXPExpRunBase::setStatus_(HDGUIStatus* ownedStatus) {
    m_data->status.reset(ownedStatus);
}

void HAXPExpRunBase::setStrategy_(HAXPStrategy* ownedStrategy) {
    m_data->strategy.reset(ownedStrategy);
}

void HAXPExpRunBase::setReportStrategy_(HAXRReportStrategy* ownedStrategy) {
    if (m_data->reportStrategy.get() != ownedStrategy)
        m_data->reportStrategy.reset(ownedStrategy);
}

void HAXPExpRunBase::setStrategyCopyFlag_(bool flag) {
    m_data->strategyCopyFlag = flag;
}

void HAXPExpRunBase::addMsgHandle_(ComMsgMgrSrcHandle* handle) {
    if (handle == nullptr)
        return;
    const RunLock lock(m_data->mutex);
    HSTSList<ComMsgMgrSrcHandle*>& handles = m_data->msgHandles;
    if (std::find(handles.begin(), handles.end(), handle) == handles.end())
        handles.push_back(handle);
}

bool HAXPExpRunBase::isActivated_() const {
    const RunLock lock(m_data->mutex);
    return m_data->activated;
}

int HAXPExpRunBase::statusCode_() const {
    return m_data->status == nullptr ? HDGUIStatus::statusNotStarted : m_data->status->getCode();
}

HAXPExpInfoBase& HAXPExpRunBase::requireInfo_() const {
    if (m_data->expInfo == nullptr)
        throw HEXAlgException("ExpRun: no run information");
    return *m_data->expInfo;
}

HAXPStrategy& HAXPExpRunBase::requireStrategy_() const {
    if (m_data->strategy == nullptr)
        throw HEXAlgException("ExpRun: no strategy");
    return *m_data->strategy;
}

void HAXPExpRunBase::finish_() {
    closeAllMessageHandles();
    deleteStats();
    m_data->status.reset();
    nukeSteps();
    m_data->strategy.reset();
    m_data->reportStrategy.reset();
    const RunLock lock(m_data->mutex);
    m_data->latestStep = nullptr;
    m_data->activated = false;
}
