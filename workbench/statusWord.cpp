// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/statusWord.h"

#include "runs/base/xperiment/HDGUIStatus.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/abandon.h"

namespace workbench {

std::string statusWord(const HAXPExpRun& run) {
    const std::string& text = run.getStatus()->getText();
    switch (run.getStatus()->getCode()) {
    case HDGUIStatus::statusQueued:
        return "queued";
    case HDGUIStatus::statusRunning:
        return text == HAXPExpRun::kUnknownText ? "unknown" : "running";
    case HDGUIStatus::statusDone:
        return "done";
    case HDGUIStatus::statusError:
        break;
    default:
        return "not started";
    }
    if (text == HAXPExpRun::kLostText)
        return "lost";
    const bool stopped = text == HAXPExpRun::kStoppedText || text == HAXPExpRun::kStoppedInText;
    if (!stopped)
        return "failed";
    return abandonmentOf(run) ? "abandoned" : "stopped";
}

const char* stepStatusWord(int code) {
    switch (code) {
    case HDGUIStatus::statusRunning:
        return "running";
    case HDGUIStatus::statusDone:
        return "done";
    case HDGUIStatus::statusError:
        return "failed";
    default:
        return "not started";
    }
}

bool isOver(int code) {
    return code == HDGUIStatus::statusDone || code == HDGUIStatus::statusError;
}

std::string flowWord(const HAXPExpRun& run) {
    return run.getInfo().isSynthFlow() ? "synth" : "impl";
}

}  // namespace workbench
