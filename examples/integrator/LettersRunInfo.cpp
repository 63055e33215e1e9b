// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "LettersRunInfo.h"

#include <memory>

#include <sys/stat.h>

#include "environment/containers/HSTFwdIter.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"

namespace {

long sizeOf(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 ? static_cast<long>(info.st_size) : -1;
}

}  // namespace

LettersRunInfo::LettersRunInfo(HAXPExpRunBase* run, const std::string& name)
    : HAXPExpInfoBase(run, name) {
    // handleEvent_() hears events of this name from now on.
    addEvent("text saved");
}

void LettersRunInfo::recordLaunch() {
    m_launchedSize = sizeOf(m_text);
}

void LettersRunInfo::updStaleReasons() {
    removeAllStaleReasons();
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(getRun()->createRunStepIter());
    while (steps->hasNext()) {
        HAXPExpRunStep* step = steps->next();
        step->resetStaleReasons();
        // A real product compares contents; for an example the size will do.
        if (m_launchedSize >= 0 && sizeOf(m_text) != m_launchedSize)
            step->updateStaleReasonsForSwParamChange();
    }
}

bool LettersRunInfo::updStaleFileReasons(HADAFileSet*, HADAFileSet*,
                                         HADAStaleReason::StaleSummary) {
    updStaleReasons();
    return isStale();
}

void LettersRunInfo::resetRun() {
    HAXPExpInfoBase::resetRun();
    m_launchedSize = -1;
    // The base forgot the events too.
    addEvent("text saved");
}

void LettersRunInfo::handleEvent_(const HUTGuiEvent::GuiEventBase*) {
    updStaleReasons();
}
