// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/OpenDataMgr.h"

#include <memory>

#include "environment/containers/HSTFwdIter.h"
#include "environment/process/commandLine.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HAXPUtilsBase.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "runs/base/xpreport/HAXRReportConfig.h"
#include "workbench/launchLease.h"
#include "workbench/product.h"
#include "workbench/runLock.h"

namespace {

/// Tells the wrapper which steps to pass over.
const char kSkipVariable[] = "XPERIMENT_SKIP_STEPS";

/// What follows would work wherever the script was started.
constexpr char kNeedDirectory[] = R"(cd "$MQ_PWD" || exit 1
)";

constexpr char kCleanPaths[] = R"(# An empty element of a search path means the current folder.
xp_clean() {
  xp_path=$1
  while :; do
    case $xp_path in
      :*) xp_path=${xp_path#:} ;;
      *:) xp_path=${xp_path%:} ;;
      *::*) xp_path=${xp_path%%::*}:${xp_path#*::} ;;
      *) break ;;
    esac
  done
}
xp_clean @BIN@:"$PATH"
PATH=$xp_path
export PATH
xp_clean "$LD_LIBRARY_PATH"
LD_LIBRARY_PATH=$xp_path
if [ -n "$LD_LIBRARY_PATH" ]; then
  export LD_LIBRARY_PATH
else
  unset LD_LIBRARY_PATH
fi
)";

constexpr char kTakeLock[] = R"(
# Held until the last process of this run is gone.
exec 9>>@LOCK@
if command -v flock > /dev/null 2>&1; then
  flock -w 10 9 || { echo "another launch of this run is at work" >> "$MQ_LOG"; exit 1; }
fi
)";

/// A cluster may start a job long after its run was launched anew, or reset.
constexpr char kTakeIdentity[] = R"(
# Only the launch that the lease names works here. Who starts this script by hand
# belongs to it.
xp_lease=
if [ -f @LEASE@ ]; then
  while [ -z "$xp_lease" ] && read -r xp_line; do
    case $xp_line in
      '<Launch '*' Id="'*'"'*) xp_lease=${xp_line#*' Id="'}; xp_lease=${xp_lease%%'"'*} ;;
    esac
  done < @LEASE@
fi
if [ -z "${@LAUNCH@-}" ]; then
  @LAUNCH@=$xp_lease
fi
if [ "$@LAUNCH@" != "$xp_lease" ]; then
  echo "launch $@LAUNCH@ of this run ends: the run was launched anew, or reset, since" >> "$MQ_LOG"
  exit 1
fi
if [ -n "$@LAUNCH@" ]; then
  export @LAUNCH@
else
  unset @LAUNCH@
fi
)";

/// The tracking names of the disabled steps of `run`, blanks between them.
std::string disabledSteps(const HAXPExpRunBase& run) {
    std::string names;
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run.createRunStepIter());
    while (steps->hasNext()) {
        const HAXPExpRunStep* step = steps->next();
        if (!step->isEnabled())
            HAXPUtilsBase::addStr(names, step->getFlowStep()->getStatusTrackingStr());
    }
    return names;
}

/// Whether a static report is the run's log, not what a tool leaves.
bool isLog(const std::string& file) {
    const std::string::size_type dot = file.rfind('.');
    return dot != std::string::npos && (file.substr(dot) == ".tds" || file.substr(dot) == ".tdi");
}

/// Gives the run's log the name by which its report is known; nothing without one.
std::string linkLog(const HAXPExpRunBase& run) {
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(run.createRunStepIter());
    while (steps->hasNext()) {
        const std::unique_ptr<HSTFwdIter<HAXRReportConfig*>> reports(
            steps->next()->createReportConfigIter());
        while (reports->hasNext()) {
            const HAXRReportConfig* report = reports->next();
            const std::string& file = report->getReportFile();
            if (report->isStaticReport() && isLog(file))
                return "ln -sf \"$MQ_LOG\" " + process::quoteWord(file) + "\n";
        }
    }
    return {};
}

/// `text` with each `mark` in it replaced.
std::string filled(std::string text, const std::string& mark, const std::string& value) {
    std::string::size_type at = 0;
    while ((at = text.find(mark, at)) != std::string::npos) {
        text.replace(at, mark.size(), value);
        at += value.size();
    }
    return text;
}

std::string takeIdentity() {
    return filled(filled(kTakeIdentity, "@LEASE@", workbench::kLeaseName), "@LAUNCH@",
                  workbench::kLaunchVariable);
}

}  // namespace

OpenDataMgr::OpenDataMgr() = default;

OpenDataMgr::~OpenDataMgr() = default;

const std::string& OpenDataMgr::getStepsLine() {
    static const std::string line = "# the steps of the run";
    return line;
}

const std::string& OpenDataMgr::getLastLine() {
    static const std::string line = "# end of the run script";
    return line;
}

void OpenDataMgr::scriptPreCmds_(HAXPExpRunBase* run, std::string& jsCmds, std::string& shCmds,
                                 std::string& htrCmds) {
    const std::string skip = disabledSteps(*run);
    const std::string queueMarker = run->getStrategy()->getFlow()->getQueueMarkerName();
    shCmds = kNeedDirectory +
             filled(kCleanPaths, "@BIN@", process::quoteWord(workbench::binDir())) +
             filled(kTakeLock, "@LOCK@", workbench::kRunLockName) + takeIdentity() + "rm -f '" +
             queueMarker + "'\n" + linkLog(*run) + kSkipVariable + "='" + skip + "'\nexport " +
             kSkipVariable + "\n" + getStepsLine();
    jsCmds = std::string("ProcEnv(\"") + kSkipVariable + "\") = \"" + skip + "\";";
    htrCmds.clear();
    if (!skip.empty())
        htrCmds = "# disabled steps, to be left out: " + skip + "\n";
}

void OpenDataMgr::scriptPostCmds_(HAXPExpRunBase*, std::string& jsCmds, std::string& shCmds) {
    jsCmds.clear();
    shCmds = getLastLine();
}

void OpenDataMgr::exportData_(HAXPExpRunBase*, HAXPLaunchOptions*, HDGUIStatus& status) {
    status.setCode(HDGUIStatus::statusError);
    status.setText("Not exported");
    status.setDetailText("A run of the workbench keeps its results in its run directory");
}
