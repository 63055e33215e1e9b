// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// How a step gives up its results.

#include "environment/params/HPAParamMgr.h"
#include "runs/base/xperiment/HAXPExpInfoBase.h"
#include "runs/base/xperiment/HAXPFileSpec.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/runFiles.h"
#include "runs/base/xperiment/runPath.h"
#include "runs/base/xperiment/runStepData.h"
#include "runs/base/xperiment/stepMarkers.h"

using xperiment::removeGenerated;
using xperiment::removeRunFile;
using xperiment::removeRunPath;

namespace {

void removeAll(xperiment::RunPath& dir, const HSTVector<std::string>& names) {
    for (const std::string& name : names)
        removeRunFile(dir, name);
}

}  // namespace

bool HAXPExpRunStep::resetStep(const std::string& runDir, bool cleanFiles) {
    xperiment::RunPath dir(runDir);
    dir.open();
    return resetStep_(dir, cleanFiles);
}

bool HAXPExpRunStep::resetStep_(xperiment::RunPath& dir, bool cleanFiles) {
    const std::string& tracking = m_data->flowStep->getStatusTrackingStr();
    const bool markersAreGone = xperiment::StepMarkerFinder(dir, tracking).removeAll();
    resetStatus();
    if (!markersAreGone)
        return false;
    if (cleanFiles) {
        removeReportFiles_(dir);
        removeGeneratedFiles_(dir);
        removeRunFile(dir, m_data->flowStep->getMsgFileName());
    }
    resetStaleReasons();
    return true;
}

void HAXPExpRunStep::removeReportFiles_(xperiment::RunPath& dir) {
    if (HPAParamMgr::getParamMgr()->getValueIfExistAsBool("project.enableReportConfiguration",
                                                          false)) {
        resetReportConfigs();
        removeRunFile(dir, m_data->flowStep->getFlowStepId() + "_reports.log");
        return;
    }
    std::string path;
    for (const auto& report : m_data->reports) {
        if (!report->isAvailable())
            continue;
        report->getFullPath(path);
        removeRunPath(dir, path);
    }
}

void HAXPExpRunStep::removeGeneratedFiles_(xperiment::RunPath& dir) {
    const HAXPFileSpec* generated = m_data->flowStep->getGenFilter();
    if (generated == nullptr)
        return;
    HSTVector<std::string> names;
    if (const HAXPExpInfoBase* info = m_data->expInfo) {
        const auto universal = generated->createUniversalFileTypeRange();
        for (auto type = universal.first; type != universal.second; ++type) {
            names.clear();
            info->getFilesUniversal(type->getUniversalId(), names);
            for (const std::string& name : names)
                removeGenerated(dir, name);
        }
        for (const HAXPTypes::FileType type : generated->getFileTypes()) {
            names.clear();
            info->getFiles(type, names);
            removeAll(dir, names);
        }
    }
    for (const HAXPTypes::FileType type : generated->getFileTypes()) {
        const auto found = m_data->files.find(type);
        if (found != m_data->files.end())
            removeAll(dir, found->second);
    }
}
