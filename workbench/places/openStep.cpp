// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/places/openStep.h"

#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "runs/base/xperiment/stepMarkers.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/launchLease.h"

namespace workbench {

bool hasOpenStep(const HAXPExpRun& run) {
    const HAXPExpRunStep* step = run.getLatestStep();
    return step != nullptr && step->getStatus()->getCode() == HDGUIStatus::statusRunning;
}

void closeOpenStep(HAXPExpRun& run, const LaunchLease& lease, const std::string& reason) {
    if (!hasOpenStep(run))
        return;
    const std::string& name = run.getLatestStep()->getFlowStep()->getStatusTrackingStr();
    const std::string marker = run.pathOf(xperiment::stepMarker(name, xperiment::errorMarker));
    if (!HUTFile::exists(marker))
        HUTFileUtils::rewriteFile(marker, reason + "\nlaunch: " + lease.id + "\n", false);
    run.updateStatus();
}

}  // namespace workbench
