// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// What makes the results of a step stale: changes of sources, options and parameters.

#include <algorithm>

#include "environment/filemgmt/HADAFileSet.h"
#include "environment/filemgmt/HADAFileSetChangeSummary.h"
#include "environment/filemgmt/HADAStaleOption.h"
#include "environment/filemgmt/HDDACompositeFile.h"
#include "environment/filemgmt/HDDAGenerationTarget.h"
#include "environment/filemgmt/HDDASrcFileType.h"
#include "environment/filemgmt/HDDASrcFilter.h"
#include "environment/filemgmt/HDDAUtils.h"
#include "environment/params/HPAParamMgr.h"
#include "environment/strings/HSTStringUtils.h"
#include "runs/base/xperiment/HAXPExpInfoBase.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HAXPUtilsBase.h"
#include "runs/base/xperiment/runStepData.h"

namespace {

using Summary = HADAFileSetChangeSummary;

HADAStaleReason::RunType runTypeOf(const HAXPExpInfoBase* info) {
    return info != nullptr && info->isImplFlow() ? HADAStaleReason::RT_IMPL
                                                 : HADAStaleReason::RT_SYNTH;
}

using StaleOptions = std::vector<std::unique_ptr<HADAStaleOption>>;

/// Owns what a comparison found, also when it throws half-way.
struct FoundOptions {
    FoundOptions() = default;
    ~FoundOptions() { static_cast<void>(take()); }

    FoundOptions(const FoundOptions&) = delete;
    FoundOptions& operator=(const FoundOptions&) = delete;

    StaleOptions take() {
        StaleOptions owned;
        owned.reserve(list.size());
        for (HADAStaleOption* option : list)
            owned.emplace_back(option);
        list.clear();
        return owned;
    }

    HSTVector<HADAStaleOption*> list;
};

/// What differs between the two strategies in the step `stepId`.
StaleOptions compare(HAXPStrategy* current, HAXPStrategy* snapshot, const std::string& stepId,
                     bool enabledStateOnly) {
    FoundOptions found;
    if (enabledStateOnly)
        HAXPUtilsBase::compareEnabledState(current, snapshot, stepId, found.list);
    else
        HAXPUtilsBase::compareStrategies(current, snapshot, stepId, found.list);
    return found.take();
}

bool isOfSameFlow(const HAXPStrategy& a, const HAXPStrategy& b) {
    const HAXPFlow* flowA = a.getFlow();
    const HAXPFlow* flowB = b.getFlow();
    if (flowA == nullptr || flowB == nullptr)
        return flowA == flowB;
    return flowA->getFlowId() == flowB->getFlowId();
}

/// The kind of reason that a change of `fileSet` gives; SS_NONE for sets on which no
/// result depends, and for null.
HADAStaleReason::StaleSummary summaryOf(const HADAFileSet* fileSet) {
    if (fileSet == nullptr)
        return HADAStaleReason::SS_NONE;
    switch (fileSet->getType()) {
    case HDDATypes::FST_DESIGN_SRCS:
    case HDDATypes::FST_BLOCK_SRCS:
        return HADAStaleReason::SS_DESIGN_SRCS_CHANGED;
    case HDDATypes::FST_CONSTRS:
        return HADAStaleReason::SS_CONSTRS_CHANGED;
    case HDDATypes::FST_SIM_SRCS:
        return HADAStaleReason::SS_SIM_SRCS_CHANGED;
    case HDDATypes::FST_UTILS:
        return HADAStaleReason::SS_UTILS_CHANGED;
    default:
        return HADAStaleReason::SS_NONE;
    }
}

bool isBlockDesign(const HDDASrcFile& file) {
    return file.getFileType()->getId() == HDDATypes::SFT_BLOCK_DESIGN;
}

/// Hooks of a run and its reference checkpoints are sources of its own kind.
void addKindsOfUtils(HDDASrcFilter& filter) {
    filter.addSFType(HDDATypes::SFT_TCL);
    if (HPAParamMgr::getParamMgr()->getValueIfExistAsBool("project.handleIncrementalDcpFiles",
                                                          false))
        filter.addSFType(HDDATypes::SFT_CHECKPOINT);
}

/// Whether added and removed files are notes alone, whose changes make nothing stale.
bool isAboutNotesAlone(const Summary& summary) {
    HDDASrcFilter notes;
    notes.addSFType(HDDATypes::SFT_NOTES);
    bool alone = false;
    for (const auto collection : {Summary::FSCS_ADDED, Summary::FSCS_REMOVED}) {
        if (!summary.hasFileChange(collection, &notes))
            continue;
        const auto& files = summary.getFiles(collection);
        alone = std::all_of(files.begin(), files.end(),
                            [&notes](const HDDASrcFile* file) { return notes.filterSF(file); });
    }
    return alone;
}

/// Whether the image of the device takes in an output of `file` that is newer than
/// `launchTime`.
bool hasNewerImage(HDDASrcFile& file, long launchTime) {
    const HDDACompositeFile* composite = file.getCompositeFile();
    if (!HDDAUtils::isCompositeInActiveTop(composite))
        return false;
    const HDDAGenerationTarget* target = composite->getGenerationTarget(HDDATypes::GT_DEVICE_IMAGE);
    return target != nullptr && target->getState() == HDDATypes::GS_GENERATED &&
           target->getTimeStamp() > launchTime;
}

}  // namespace

void HAXPExpRunStep::initRunStepSrcFilter(HDDASrcFilter& filter) const {
    filter.setExcludeDisabled(true);
    if (const HAXPExpInfoBase* info = m_data->expInfo) {
        if (info->isSynthFlow())
            filter.setUsedInSynthesisFilter(true, false);
        if (info->isImplFlow())
            filter.setUsedInImplementationFilter(true, false);
        if (info->isSimFlow())
            filter.setUsedInSimulationFilter(true, false);
    }
    const HDDASrcFilter& ofStep = *m_data->flowStep->getSrcFilter();
    const std::unique_ptr<HSTFwdIter<HDDATypes::SFTId>> types(ofStep.createSFTypeIter());
    while (types->hasNext())
        filter.addSFType(types->next());
    if (ofStep.hasCompositeFileType())
        filter.addCompositeFileType();
}

bool HAXPExpRunStep::updateStaleReasons(HADAFileSetChangeSummary* summary, HDDASrcFile* srcFile) {
    if (summary == nullptr || m_data->status->getCode() == HDGUIStatus::statusNotStarted)
        return false;
    HADAFileSet* fileSet = summary->getFileSet();
    const bool isUtils = fileSet != nullptr && fileSet->getType() == HDDATypes::FST_UTILS;
    HDDASrcFilter filter;
    initRunStepSrcFilter(filter);
    if (isUtils)
        addKindsOfUtils(filter);
    bool changed =
        filter.sfTypeCount() > 0 && HADAStaleReasons::hasChanges(summary, &filter, srcFile);
    if (changed && isUtils && m_data->expInfo != nullptr)
        changed = HADAStaleReasons::hasChanges(summary, m_data->expInfo->getRunName());
    if (isAboutNotesAlone(*summary))
        changed = false;
    if (hasOnlyBDAdded(summary)) {
        // Whether the design takes the block in shows once its graph is up to date.
        m_data->eventContext.fileSet = fileSet;
        changed = false;
    } else if (changed && summaryOf(fileSet) != HADAStaleReason::SS_NONE) {
        m_data->staleReasons.change()
            .addOrUpdate(summaryOf(fileSet), summary, &filter)
            ->setRunType(runTypeOf(m_data->expInfo));
    }
    checkDeviceImage_(fileSet);
    return changed;
}

bool HAXPExpRunStep::updateStaleReasons(HAXPStrategy* current, HAXPStrategy* snapshot,
                                        bool compareAll) {
    if (current == nullptr || snapshot == nullptr)
        return false;
    const bool sameFlow = isOfSameFlow(*current, *snapshot);
    if (m_data->expInfo != nullptr)
        m_data->expInfo->setNeedsResetForFlowChange(!sameFlow);
    return sameFlow && rebuildOptionReasons_(current, snapshot, compareAll);
}

void HAXPExpRunStep::updateStaleReasonsForSwParamChange() {
    m_data->staleReasons.change().remove(HADAStaleReason::SS_SW_PARAM_CHANGED);
    HADAStaleOption option;
    option.setStaleOptionDetails("SW_Param_change", "SW_Param_change", "0", "");
    m_data->staleReasons.change()
        .addOrUpdate(HADAStaleReason::SS_SW_PARAM_CHANGED, &option)
        ->setRunType(runTypeOf(m_data->expInfo));
}

bool HAXPExpRunStep::updateStaleReasonsPostGraphUpdate(HADAFileSetChangeSummary*) {
    const auto& added = m_data->eventContext.bdFiles;
    const bool matters = std::any_of(added.begin(), added.end(), [](const HDDASrcFile* file) {
        return !file->getAttrs().isAutoDisabled();
    });
    const HADAStaleReason::StaleSummary kind = summaryOf(m_data->eventContext.fileSet);
    if (matters && kind != HADAStaleReason::SS_NONE)
        m_data->staleReasons.change().addOrUpdate(kind)->setRunType(runTypeOf(m_data->expInfo));
    m_data->eventContext.clear();
    return matters;
}

bool HAXPExpRunStep::hasOnlyBDAdded(HADAFileSetChangeSummary* summary) {
    if (summary == nullptr)
        return false;
    constexpr auto kAdded = Summary::FSCS_ADDED;
    constexpr auto kAddedInside = Summary::FSCS_COMPOSITE_SRCS_ADDED;
    auto& known = m_data->eventContext.bdFiles;
    const auto isKnown = [&known](const HDDASrcFile* file) {
        return isBlockDesign(*file) && std::find(known.begin(), known.end(), file) != known.end();
    };
    for (int i = 0; i < Summary::FSCS_LIMIT; ++i) {
        const auto& files = summary->getFiles(static_cast<Summary::enumFSCSFileCollection>(i));
        if (std::any_of(files.begin(), files.end(), isKnown))
            return true;
    }
    for (int i = 0; i < Summary::FSCS_LIMIT; ++i) {
        const auto collection = static_cast<Summary::enumFSCSFileCollection>(i);
        if (collection != kAdded && collection != kAddedInside &&
            summary->filesCount(collection) != 0)
            return false;
    }
    for (const auto collection : {kAdded, kAddedInside}) {
        for (HDDASrcFile* file : summary->getFiles(collection)) {
            if (!isBlockDesign(*file))
                return false;
            if (!isKnown(file))
                known.push_back(file);
        }
    }
    return summary->filesCount(kAdded) + summary->filesCount(kAddedInside) > 0;
}

void HAXPExpRunStep::checkDeviceImage_(const HADAFileSet* fileSet) {
    if (fileSet == nullptr || m_data->expInfo == nullptr ||
        !HSTStringUtils::iequals(m_data->flowStep->getFlowStepId(), "write_device_image"))
        return;
    HDDASrcFilter composites;
    composites.addCompositeFileType();
    composites.setExcludeDisabled(true);
    const std::unique_ptr<HSTFwdIter<HDDASrcFile*>> files(fileSet->createSrcFileIter(&composites));
    while (files->hasNext()) {
        if (hasNewerImage(*files->next(), m_data->expInfo->getLaunchTime()))
            return updateStaleReasonsForSwParamChange();
    }
}

bool HAXPExpRunStep::rebuildOptionReasons_(HAXPStrategy* current, HAXPStrategy* snapshot,
                                           bool compareAll) {
    const bool hasRun = m_data->status->getCode() != HDGUIStatus::statusNotStarted;
    StaleOptions differing;
    if (compareAll || (hasRun && isEnabled()))
        differing = compare(current, snapshot, m_data->flowStep->getFlowStepId(), !hasRun);
    m_data->staleReasons.change().remove(HADAStaleReason::SS_OPTION_CHANGED);
    if (differing.empty())
        return false;
    HADAStaleReason* reason = nullptr;
    for (const auto& option : differing)
        reason = m_data->staleReasons.change().addOrUpdate(HADAStaleReason::SS_OPTION_CHANGED,
                                                           option.get());
    reason->setRunType(runTypeOf(m_data->expInfo));
    return true;
}
