// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/process/HUTProcHandleXMLParser.h"
#include "environment/process/HUTProcessHandle.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "runs/base/xperiment/stepMarkers.h"

namespace {

/// A record that can't be read this often won't get better.
constexpr int kMaxParseAttempts = 10;

}  // namespace

void HAXPFlowStep::updateStatus(HDGUIStatus* status, HUTProcessHandle* handle,
                                const std::string& runDir) const {
    updStatus_(status, handle, runDir);
}

bool HAXPFlowStep::resetStep(const std::string& runDir, HAXPExpInfoBase*) const {
    xperiment::RunPath dir(runDir);
    dir.open();
    return xperiment::StepMarkerFinder(dir, getStatusTrackingStr()).removeAll();
}

void HAXPFlowStep::updStatus_(HDGUIStatus* status, HUTProcessHandle* handle,
                              const std::string& runDir) const {
    const xperiment::StepState state = xperiment::readStepState(runDir, getStatusTrackingStr());
    if (state.hasHandle)
        readHandle_(handle, runDir);
    handle->setStartStamp(state.startStamp);
    handle->setEndStamp(state.endStamp);
    status->setCode(state.code);
}

bool HAXPFlowStep::getStatusFile_(const std::string& runDir, const std::string& kind,
                                  std::string& path) const {
    xperiment::RunPath dir(runDir);
    xperiment::StepMarkerFinder markers(dir, getStatusTrackingStr());
    if (!markers.find(kind))
        return false;
    path = markers.path();
    return true;
}

bool HAXPFlowStep::statusExists_(const std::string& runDir, const std::string& kind,
                                 long& stamp) const {
    xperiment::RunPath dir(runDir);
    xperiment::StepMarkerFinder markers(dir, getStatusTrackingStr());
    if (!markers.find(kind))
        return false;
    stamp = markers.stamp();
    return true;
}

bool HAXPFlowStep::nukeStatusFile_(const std::string& runDir, const std::string& kind) const {
    xperiment::RunPath dir(runDir);
    return xperiment::StepMarkerFinder(dir, getStatusTrackingStr()).remove(kind);
}

void HAXPFlowStep::readHandle_(HUTProcessHandle* handle, const std::string& runDir) const {
    if (handle->isComplete() || handle->parseAttemptsCount() >= kMaxParseAttempts)
        return;
    HUTProcHandleXMLParser parser;
    parser.parsePH(xperiment::markerPath(runDir, xperiment::stepMarker(getStatusTrackingStr(),
                                                                       xperiment::beginMarker)),
                   handle);
}
