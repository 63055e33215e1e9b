// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// How a step gives up its results.

#include "environment/params/HPAParamMgr.h"
#include "runs/base/xperiment/HAXPExpInfoBase.h"
#include "runs/base/xperiment/HAXPFileSpec.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/runFiles.h"
#include "runs/base/xperiment/runStepData.h"

using xperiment::removeGenerated;
using xperiment::removeRunFile;
using xperiment::removeRunPath;

namespace {

void removeAll(const std::string& runDir, const HSTVector<std::string>& names) {
    for (const std::string& name : names)
        removeRunFile(runDir, name);
}

}  // namespace

bool HAXPExpRunStep::resetStep(const std::string& runDir, bool cleanFiles) {
    const bool markersAreGone = m_data->flowStep->resetStep(runDir, m_data->expInfo);
    resetStatus();
    if (!markersAreGone)
        return false;
    if (cleanFiles) {
        removeReportFiles_(runDir);
        removeGeneratedFiles_(runDir);
        removeRunFile(runDir, m_data->flowStep->getMsgFileName());
    }
    resetStaleReasons();
    return true;
}

void HAXPExpRunStep::removeReportFiles_(const std::string& runDir) {
    if (HPAParamMgr::getParamMgr()->getValueIfExistAsBool("project.enableReportConfiguration",
                                                          false)) {
        resetReportConfigs();
        removeRunFile(runDir, m_data->flowStep->getFlowStepId() + "_reports.log");
        return;
    }
    std::string path;
    for (const auto& report : m_data->reports) {
        if (!report->isAvailable())
            continue;
        report->getFullPath(path);
        removeRunPath(runDir, path);
    }
}

void HAXPExpRunStep::removeGeneratedFiles_(const std::string& runDir) {
    const HAXPFileSpec* generated = m_data->flowStep->getGenFilter();
    if (generated == nullptr)
        return;
    const HAXPExpInfoBase* info = m_data->expInfo;
    if (info != nullptr) {
        const auto universal = generated->createUniversalFileTypeRange();
        for (auto type = universal.first; type != universal.second; ++type) {
            HSTVector<std::string> names;
            info->getFilesUniversal(type->getUniversalId(), names);
            for (const std::string& name : names)
                removeGenerated(runDir, name);
        }
        for (const HAXPTypes::FileType type : generated->getFileTypes()) {
            HSTVector<std::string> names;
            info->getFiles(type, names);
            removeAll(runDir, names);
        }
    }
    for (const HAXPTypes::FileType type : generated->getFileTypes()) {
        HSTVector<std::string> names;
        getFiles(type, names);
        removeAll(runDir, names);
    }
}
