// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPExpInfoBase.h"

#include <map>
#include <unordered_map>

#include "environment/containers/heapIter.h"
#include "environment/errors/HEXAlgException.h"
#include "environment/filemgmt/HADAFileMgr.h"
#include "environment/filemgmt/HADAFileSet.h"
#include "environment/filemgmt/HADAStaleReasons.h"
#include "environment/filemgmt/HADAUtils.h"
#include "environment/filemgmt/HPRMUtils.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFileType.h"
#include "runs/base/xperiment/HAXPFlowType.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HDGUIStatus.h"

namespace {

const std::string kNoFile;

/// The first file under `key`; a shared empty text for a key that isn't there.
template <class Table, class Key> const std::string& firstFile(const Table& table, const Key& key) {
    const auto found = table.find(key);
    return found == table.end() ? kNoFile : found->second.at(0);
}

template <class Table, class Key>
int copyFiles(const Table& table, const Key& key, HSTVector<std::string>& out) {
    const auto found = table.find(key);
    if (found != table.end())
        out = found->second;
    return static_cast<int>(out.size());
}

}  // namespace

struct HAXPExpInfoBase::Data {
    HAXPExpRunBase* run = nullptr;
    std::string runName;
    std::string description;
    HADAFileSet* srcSet = nullptr;
    std::unique_ptr<HADAFileSet> runSrcSet;
    std::unique_ptr<HAXPStrategy> runSnapshotStrategy;
    HAXPTypes::FlowType flowType = HAXPTypes::FLOW_UNKNOWN;
    long launchTime = 0;
    HADAStaleReasons staleReasons;
    std::unordered_map<HAXPTypes::FileType, HSTVector<std::string>> files;
    std::map<std::string, HSTVector<std::string>> universalFiles;
    bool needsResetForFlowChange = false;
    bool modifiedFilesChecked = false;
    bool reconstructed = false;
    std::string clusterConfigurationName;
    std::string jobIdentifier;
    std::shared_ptr<HAXPFlowType> universalFlowType;
};

HAXPExpInfoBase::HAXPExpInfoBase(HAXPExpRunBase* run, const std::string& name)
    : HUTGuiEventListener(name), m_data(std::make_unique<Data>()) {
    m_data->run = run;
    m_data->runName = name;
    m_data->files.max_load_factor(1.0F);
    m_data->files.reserve(3);
}

HAXPExpInfoBase::~HAXPExpInfoBase() {
    m_data->srcSet = nullptr;
    m_data->run = nullptr;
    m_data->runSrcSet.reset();
    m_data->runSnapshotStrategy.reset();
    m_data->universalFlowType.reset();
}

HAXPExpRunBase* HAXPExpInfoBase::getRun() const {
    return m_data->run;
}

const std::string& HAXPExpInfoBase::getRunName() const {
    return m_data->runName;
}

void HAXPExpInfoBase::setRunName(const std::string& name) {
    m_data->runName = name;
}

const std::string& HAXPExpInfoBase::getDescription() const {
    return m_data->description;
}

void HAXPExpInfoBase::setDescription(const std::string& description) {
    m_data->description = description;
}

HADAFileSet* HAXPExpInfoBase::getSrcSet() const {
    return m_data->srcSet;
}

void HAXPExpInfoBase::setSrcSet(HADAFileSet* srcSet, bool markDirty) {
    m_data->srcSet = srcSet;
    if (markDirty)
        setDirty();
}

HADAFileSet* HAXPExpInfoBase::getRunSrcSet() const {
    return m_data->runSrcSet.get();
}

void HAXPExpInfoBase::setRunSrcSet(HADAFileSet* ownedSrcSet) {
    (void)m_data->runSrcSet.release();
    m_data->runSrcSet.reset(ownedSrcSet);
}

HAXPStrategy* HAXPExpInfoBase::getRunSnapshotStrategy() const {
    return m_data->runSnapshotStrategy.get();
}

void HAXPExpInfoBase::setRunSnapshotStrategy(HAXPStrategy* ownedStrategy) {
    (void)m_data->runSnapshotStrategy.release();
    m_data->runSnapshotStrategy.reset(ownedStrategy);
}

HAXPTypes::FlowType HAXPExpInfoBase::getFlowType() const {
    return m_data->flowType;
}

void HAXPExpInfoBase::setFlowType(HAXPTypes::FlowType flowType) {
    m_data->flowType = flowType;
}

bool HAXPExpInfoBase::getUniversalFlowType(HAXPFlowType& out) const {
    if (m_data->universalFlowType == nullptr)
        return false;
    out = *m_data->universalFlowType;
    return true;
}

void HAXPExpInfoBase::setUniversalFlowType(const HAXPFlowType& flowType) {
    m_data->universalFlowType = std::make_shared<HAXPFlowType>(flowType);
}

bool HAXPExpInfoBase::isImplFlow() const {
    return m_data->flowType == HAXPTypes::FLOW_ENTIRE_DESIGN;
}

bool HAXPExpInfoBase::isSynthFlow() const {
    return m_data->flowType == HAXPTypes::FLOW_SYNTH;
}

bool HAXPExpInfoBase::isSimFlow() const {
    return false;
}

bool HAXPExpInfoBase::isBlockRun() const {
    return m_data->srcSet != nullptr && m_data->srcSet->getType() == 4;
}

bool HAXPExpInfoBase::isRMBlockRun() const {
    return HPRMUtils::isRMFileSet(m_data->srcSet);
}

long HAXPExpInfoBase::getLaunchTime() const {
    return m_data->launchTime;
}

bool HAXPExpInfoBase::needsResetForFlowChange() const {
    return m_data->needsResetForFlowChange;
}

void HAXPExpInfoBase::setNeedsResetForFlowChange(bool needsReset) {
    m_data->needsResetForFlowChange = needsReset;
}

bool HAXPExpInfoBase::isReconstructed() const {
    return m_data->reconstructed;
}

void HAXPExpInfoBase::setReconstructed(bool reconstructed) {
    m_data->reconstructed = reconstructed;
}

const std::string& HAXPExpInfoBase::getClusterConfigurationName() const {
    return m_data->clusterConfigurationName;
}

void HAXPExpInfoBase::setClusterConfigurationName(const std::string& name, bool markDirty) {
    if (name == m_data->clusterConfigurationName)
        return;
    m_data->clusterConfigurationName = name;
    if (markDirty)
        setDirty();
}

const std::string& HAXPExpInfoBase::getJobIdentifier() const {
    return m_data->jobIdentifier;
}

void HAXPExpInfoBase::setJobIdentifier(const std::string& identifier) {
    m_data->jobIdentifier = identifier;
}

bool HAXPExpInfoBase::isCompleteRunResetRequired() const {
    return !m_data->staleReasons.empty();
}

bool HAXPExpInfoBase::isPartialRun() const {
    const HAXPExpRunStep* first = m_data->run == nullptr ? nullptr : m_data->run->getFirstStep();
    return first == nullptr || first->getStatus()->getCode() != HDGUIStatus::statusNotStarted;
}

void HAXPExpInfoBase::setFile(HAXPTypes::FileType type, const std::string& file) {
    m_data->files[type] = HSTVector<std::string>(1, file);
}

void HAXPExpInfoBase::setFiles(HAXPTypes::FileType type, const HSTVector<std::string>& files) {
    m_data->files[type] = files;
}

const std::string& HAXPExpInfoBase::getFile(HAXPTypes::FileType type) const {
    return firstFile(m_data->files, type);
}

int HAXPExpInfoBase::getFiles(HAXPTypes::FileType type, HSTVector<std::string>& out) const {
    return copyFiles(m_data->files, type, out);
}

void HAXPExpInfoBase::clearFileHash() {
    m_data->files.clear();
}

HSTFwdKeyIter<HAXPTypes::FileType>* HAXPExpInfoBase::createFileTypeIter() const {
    return containers::heapKeyIter<HAXPTypes::FileType>(m_data->files);
}

void HAXPExpInfoBase::setFileUniversal(const HAXPFileType& type, const std::string& file) {
    m_data->universalFiles[type.getUniversalId()] = HSTVector<std::string>(1, file);
}

void HAXPExpInfoBase::setFilesUniversal(const HAXPFileType& type,
                                        const HSTVector<std::string>& files) {
    m_data->universalFiles[type.getUniversalId()] = files;
}

const std::string& HAXPExpInfoBase::getFileUniversal(const std::string& key) const {
    return firstFile(m_data->universalFiles, key);
}

int HAXPExpInfoBase::getFilesUniversal(const std::string& key, HSTVector<std::string>& out) const {
    return copyFiles(m_data->universalFiles, key, out);
}

void HAXPExpInfoBase::clearFileHashUniversal() {
    m_data->universalFiles.clear();
}

HSTFwdKeyIter<std::string>* HAXPExpInfoBase::createFileUniversalTypeIter() const {
    return containers::heapKeyIter<std::string>(m_data->universalFiles);
}

bool HAXPExpInfoBase::isStale() const {
    if (!m_data->staleReasons.empty())
        return true;
    return m_data->run != nullptr && m_data->run->getFirstStaleStep() != nullptr;
}

bool HAXPExpInfoBase::getStaleReasons(HADAStaleReasons& out) const {
    out.addCopy(m_data->staleReasons);
    if (m_data->run != nullptr) {
        const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(m_data->run->createRunStepIter());
        while (steps->hasNext())
            steps->next()->getStaleReasons(out);
    }
    return !out.empty();
}

void HAXPExpInfoBase::removeAllStaleReasons() {
    m_data->staleReasons.clear();
}

void HAXPExpInfoBase::updStaleReasons() {}

bool HAXPExpInfoBase::updStaleFileReasons(HADAFileSet*, HADAFileSet*,
                                          HADAStaleReason::StaleSummary) {
    return true;
}

void HAXPExpInfoBase::updStaleOptionReasons() {
    if (m_data->run == nullptr)
        return;
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(m_data->run->createRunStepIter());
    while (steps->hasNext())
        steps->next()->updateStaleReasons(m_data->run->getStrategy(),
                                          m_data->runSnapshotStrategy.get(), true);
}

void HAXPExpInfoBase::resetRun() {
    clearFileHash();
    removeAllEvents();
    removeAllStaleReasons();
    m_data->reconstructed = false;
    m_data->needsResetForFlowChange = false;
    m_data->launchTime = 0;
    m_data->runSrcSet.reset();
    m_data->runSnapshotStrategy.reset();
}

void HAXPExpInfoBase::handleEvent_(const HUTGuiEvent::GuiEventBase*) {}

HADAFileSet* HAXPExpInfoBase::createSnapshotSrcSet_(HADAFileSet* source, const std::string& name) {
    HADAFileMgr* fileMgr = source == nullptr ? nullptr : source->getFileMgr();
    if (fileMgr == nullptr)
        throw HEXAlgException("A file manager is required to create a snapshot file set.");
    std::unique_ptr<HADAFileSet> copy(fileMgr->createInternalFileSet(name, source->getType()));
    copy->setDataDir(m_data->runName);
    copy->setFileSetFileName(name + ".xml");
    HADAUtils::copyFileSet(source, copy.get(), false, name == "utils");
    return copy.release();
}

void HAXPExpInfoBase::setLaunchTime_(long seconds) {
    m_data->launchTime = seconds;
}

bool HAXPExpInfoBase::modifiedFilesChecked_() const {
    return m_data->modifiedFilesChecked;
}

void HAXPExpInfoBase::setModifiedFilesChecked_(bool checked) {
    m_data->modifiedFilesChecked = checked;
}

HADAStaleReasons& HAXPExpInfoBase::staleReasons_() {
    return m_data->staleReasons;
}
