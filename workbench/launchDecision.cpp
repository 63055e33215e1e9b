// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/launchDecision.h"

#include <boost/algorithm/string/join.hpp>
#include <string>

#include "environment/files/HUTFile.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "workbench/DesignInputs.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenRunInfo.h"
#include "workbench/fail.h"
#include "workbench/launchLease.h"
#include "workbench/links.h"
#include "workbench/runEvidence.h"

namespace workbench {

namespace {}  // namespace

const HAXPExpRunStep* firstStepToRun(HAXPExpRun& run) {
    run.updateStatus();
    run.getInfo().updStaleReasons();
    if (run.getInfo().isCompleteRunResetRequired() || run.getRunMode() != HAXPExpRun::kLaunched)
        return run.getFirstStep();
    const HAXPExpRunStep* first = run.getFirstIncompleteStep();
    const HAXPExpRunStep* stale = run.getFirstStaleStep();
    const bool isStaleFirst =
        stale != nullptr && (first == nullptr || run.getStepIndex(stale) < run.getStepIndex(first));
    return isStaleFirst ? stale : first;
}

void requireNotAtWork(const HAXPExpRun& run) {
    const int code = run.getStatus()->getCode();
    if (code != HDGUIStatus::statusRunning && code != HDGUIStatus::statusQueued)
        return;
    const RunEvidence& evidence = run.getEvidence();
    if (evidence.verdict == RunEvidence::Verdict::kUnknown)
        fail("@60-141@%s%s", run.getName(), boost::algorithm::join(evidence.lines, "; "));
    LaunchLease lease;
    const std::string queueMarker = run.getStrategy()->getFlow()->getQueueMarkerName();
    const bool isKnown =
        readLease(run.pathOf(queueMarker), lease) || readLease(run.pathOf(kLeaseName), lease);
    fail("@60-40@%s%s%s", run.getName(), code == HDGUIStatus::statusRunning ? "running" : "queued",
         isKnown ? ", launched " + leaseText(lease) : std::string());
}

void requireSources(const HAXPExpRun& run) {
    const DesignInputs& inputs = run.getInfo().getInputs();
    if (run.getInfo().isSynthFlow() && inputs.sources.empty())
        fail("@60-47@");
    for (const std::string& source : inputs.sources) {
        if (!HUTFile::isFile(source))
            fail("@60-41@%s%s", run.getName(), source);
    }
}

void requireOwnDirectory(const HAXPExpRun& run, const char* verb) {
    std::string dir;
    run.getRunDir(dir);
    if (!dir.empty() && isLink(dir))
        fail("@60-150@%s%s%s", run.getName(), verb, dir);
}

}  // namespace workbench
