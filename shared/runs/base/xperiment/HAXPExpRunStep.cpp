// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPExpRunStep.h"

#include <algorithm>

#include "environment/containers/heapIter.h"
#include "environment/files/HUTFile.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/options/HATOptGroup.h"
#include "runs/base/xperiment/HAXPExpInfoBase.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/runStepData.h"
#include "runs/base/xperiment/stepCheckpoints.h"
#include "runs/base/xpreport/HAXRReportConfig.h"

namespace {

const std::string kEnabledDbId = "EnableStepBool";
const std::string kPreHookDbId = "PreStepTclHook";
const std::string kPostHookDbId = "PostStepTclHook";

/// The name of a handle that was unloaded.
const std::string kNoMessages = "empty";

}  // namespace

HAXPExpRunStep::HAXPExpRunStep(const HAXPFlowStep* flowStep, HATOptGroup* options,
                               HATOptGroup* attrs, HAXPExpInfoBase* expInfo)
    : m_data(std::make_unique<Data>()) {
    m_data->expInfo = expInfo;
    m_data->flowStep = flowStep;
    m_data->options = options;
    m_data->attrs = attrs;
    m_data->status = std::make_unique<HDGUIStatus>("Not Started", "Not Started");
    m_data->procInfo = std::make_unique<HUTProcessHandle>();
    m_data->files.max_load_factor(1.0F);
    m_data->files.reserve(3);
    createReports(expInfo);
}

HAXPExpRunStep::~HAXPExpRunStep() {
    deleteReports();
    deleteAllReportConfigs();
    m_data->status.reset();
    m_data->procInfo.reset();
    unloadMessages_();
    m_data->flowStep = nullptr;
    m_data->options = nullptr;
    m_data->attrs = nullptr;
    m_data->staleReasons.change().clear();
}

const HAXPFlowStep* HAXPExpRunStep::getFlowStep() const {
    return m_data->flowStep;
}

HATOptGroup* HAXPExpRunStep::getOptions() const {
    return m_data->options;
}

HATOptGroup* HAXPExpRunStep::getAttrs() const {
    return m_data->attrs;
}

HDGUIStatus* HAXPExpRunStep::getStatus() const {
    return m_data->status.get();
}

HUTProcessHandle* HAXPExpRunStep::getProcInfo() const {
    return m_data->procInfo.get();
}

bool HAXPExpRunStep::isVirtual() const {
    return m_data->flowStep->isVirtual();
}

bool HAXPExpRunStep::isEnabled() const {
    if (m_data->attrs == nullptr)
        return true;
    const HATAttrSpec* spec = m_data->attrs->getAttrSpecForDbId(kEnabledDbId);
    return spec == nullptr || m_data->attrs->getBoolVal(spec);
}

std::string HAXPExpRunStep::getPreHook() const {
    std::string file = hookFile_(kPreHookDbId);
    if (!file.empty() && !HUTFile::exists(file))
        ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kWarning, "@36-526@%s%s",
                                 file, m_data->flowStep->getName());
    return file;
}

std::string HAXPExpRunStep::getPostHook() const {
    std::string file = hookFile_(kPostHookDbId);
    if (!file.empty() && !HUTFile::exists(file))
        ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kWarning, "@36-525@%s%s",
                                 file, m_data->flowStep->getName());
    return file;
}

void HAXPExpRunStep::setFile(HAXPTypes::FileType type, const std::string& file) {
    m_data->files[type] = HSTVector<std::string>(1, file);
}

void HAXPExpRunStep::setFiles(HAXPTypes::FileType type, const HSTVector<std::string>& files) {
    m_data->files[type] = files;
}

const std::string& HAXPExpRunStep::getFile(HAXPTypes::FileType type) const {
    static const std::string s_none;
    const auto found = m_data->files.find(type);
    return found == m_data->files.end() ? s_none : found->second.at(0);
}

int HAXPExpRunStep::getFiles(HAXPTypes::FileType type, HSTVector<std::string>& files) const {
    const auto found = m_data->files.find(type);
    if (found != m_data->files.end())
        files = found->second;
    return static_cast<int>(files.size());
}

void HAXPExpRunStep::clearFileHash() {
    m_data->files.clear();
}

HSTFwdKeyIter<HAXPTypes::FileType>* HAXPExpRunStep::createFileTypeIter() const {
    return containers::heapKeyIter<HAXPTypes::FileType>(m_data->files);
}

std::string HAXPExpRunStep::getDcpFile() const {
    const std::string& stepId = m_data->flowStep->getFlowStepId();
    HAXPTypes::FileType type = HAXPTypes::FILE_UNKNOWN;
    // Synthesis leaves a netlist that no later step of its run starts from.
    if (stepId == "synth_design" || !xperiment::findCheckpointType(stepId, type))
        return {};
    return m_data->expInfo == nullptr ? std::string() : m_data->expInfo->getFile(type);
}

void HAXPExpRunStep::createReports(HAXPExpInfoBase* expInfo) {
    const std::unique_ptr<HSTFwdIter<HAXPFileSpec*>> specs(
        m_data->flowStep->createReportSpecIter());
    while (specs->hasNext())
        m_data->reports.push_back(std::make_unique<HAXPFileCheck>(specs->next(), expInfo));
}

int HAXPExpRunStep::reportCount() const {
    return static_cast<int>(m_data->reports.size());
}

HSTFwdIter<HAXPFileCheck*>* HAXPExpRunStep::createReportIter() const {
    return containers::heapIterOfOwned<HAXPFileCheck*>(m_data->reports);
}

void HAXPExpRunStep::updateReports(const std::string& runDir) {
    for (const auto& report : m_data->reports)
        report->updateFile(runDir);
}

void HAXPExpRunStep::resetReports() {
    for (const auto& report : m_data->reports)
        report->resetFile();
}

void HAXPExpRunStep::deleteReports() {
    m_data->reports.clear();
}

void HAXPExpRunStep::addRun(HAXPExpRunBase* run) {
    std::vector<HAXPExpRunBase*>& runs = m_data->runs;
    if (run != nullptr && std::find(runs.begin(), runs.end(), run) == runs.end())
        runs.push_back(run);
}

void HAXPExpRunStep::removeRun(HAXPExpRunBase* run) {
    if (run == nullptr)
        return;
    std::vector<HAXPExpRunBase*>& runs = m_data->runs;
    runs.erase(std::remove(runs.begin(), runs.end(), run), runs.end());
}

HSTFwdIter<HAXPExpRunBase*>* HAXPExpRunStep::createRunIter() const {
    return containers::heapIter<HAXPExpRunBase*>(m_data->runs);
}

bool HAXPExpRunStep::isStale() const {
    return !m_data->staleReasons.get().empty();
}

bool HAXPExpRunStep::getStaleReasons(HADAStaleReasons& reasons) const {
    reasons.addCopy(m_data->staleReasons.get());
    return isStale();
}

void HAXPExpRunStep::removeStaleReason(HADAStaleReason::StaleSummary summary) {
    m_data->staleReasons.change().remove(summary);
}

void HAXPExpRunStep::resetStaleReasons() {
    m_data->staleReasons.change().clear();
}

bool HAXPExpRunStep::updateStatus(const std::string& runDir) {
    const int before = m_data->status->getCode();
    m_data->flowStep->updateStatus(m_data->status.get(), m_data->procInfo.get(), runDir);
    return m_data->status->getCode() != before && updateReportConfigs();
}

void HAXPExpRunStep::resetStatus() {
    unloadMessages_();
    m_data->status->setCode(HDGUIStatus::statusNotStarted);
    m_data->procInfo->reset();
}

ComMsgMgrSrcHandle& HAXPExpRunStep::getMsgSrcHandle() const {
    return m_data->msgSrcHandle;
}

ComMsgMgrSrcHandle* HAXPExpRunStep::getComMsgMgrSrcHandle(const std::string& runDir) {
    ComMsgMgrSrcHandle& handle = m_data->msgSrcHandle;
    if (!handle.getFile().empty())
        return &handle;
    const int code = m_data->status->getCode();
    if (code != HDGUIStatus::statusDone && code != HDGUIStatus::statusError)
        return nullptr;
    const std::string& name = m_data->flowStep->getMsgFileName();
    if (name.empty() || runDir.empty())
        return nullptr;
    const std::string path = runDir + HUTFile::getDirSeparator() + name;
    if (!HUTFile::isFile(path))
        return nullptr;
    handle = ComMsgMgr::loadMsgSrc(path, m_data->flowStep->getName());
    return &handle;
}

void HAXPExpRunStep::countStaleChangesIn_(std::atomic<unsigned long>& counter) {
    m_data->staleReasons.countIn(counter);
}

std::string HAXPExpRunStep::hookFile_(const std::string& dbId) const {
    if (m_data->attrs == nullptr)
        return {};
    const HATAttrSpec* spec = m_data->attrs->getAttrSpecForDbId(dbId);
    return spec == nullptr ? std::string() : m_data->attrs->getFileVal(spec);
}

void HAXPExpRunStep::unloadMessages_() {
    ComMsgMgr::unloadMsgSrc(m_data->msgSrcHandle);
    m_data->msgSrcHandle = ComMsgMgrSrcHandle(kNoMessages);
}
