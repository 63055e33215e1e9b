// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// The scripts that make the reports of a finished step apart from the run.

#include "runs/base/xperiment/HAXPScriptWriter.h"

#include "environment/containers/HSTFwdIter.h"
#include "environment/containers/HSTVector.h"
#include "environment/files/HUTFileUtils.h"
#include "environment/installation/HUTEnv.h"
#include "environment/messages/ComMsgMgr.h"
#include "runs/base/xperiment/HAXPExpInfoBase.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFlowStep.h"
#include "runs/base/xperiment/HAXPTypes.h"
#include "runs/base/xperiment/scriptFrame.h"
#include "runs/base/xperiment/scriptText.h"
#include "runs/base/xperiment/scriptTools.h"

using xperiment::fill;

namespace {

constexpr char kTool[] = "tarnel";
constexpr char kBitstreamStep[] = "write_bitstream";

constexpr char kShCommand[] = "EAStep @{tool}@{args} -tclargs @{step}";
constexpr char kJsCommand[] = R"(ZUMStep( "@{tool}",
         "@{args} -tclargs @{step}" );
)";

/// The report scripts of a step; those of no step have the wrappers alone.
xperiment::ScriptSet reportScripts(const std::string& step) {
    const std::string stem = step + "_reports";
    return {
        "reports generation script", stem + ".sh",       stem + ".js", stem + ".bat", stem + ".log",
        "ZUMWrapReports.sh",         "ZUMWrapReports.js"};
}

/// What every call of the tool has, each word behind a blank.
std::string toolArgs(const HAXPExpInfoBase* info) {
    HSTVector<std::string> loaderArgs;
    HUTEnv::getLoaderArgs(loaderArgs);
    std::string args;
    for (const std::string& arg : loaderArgs)
        args += " " + arg;
    const std::string tclFile =
        info == nullptr ? std::string() : info->getFile(HAXPTypes::FILE_REPORTS_TCL);
    return args + " -nolog -nojournal -notrace -mode batch -product " + HUTEnv::getProductName() +
           " -source " + tclFile;
}

/// Writes the scripts of one step after another.
class ReportScripts {
public:
    /// The run stays as it is until the last one is written.
    explicit ReportScripts(const HAXPExpRunBase* run)
        : m_dir(xperiment::scriptDirOf(run)), m_paths(xperiment::searchPaths()),
          m_args(toolArgs(run->getExpInfoBase())) {
        run->getRunDir(m_runDir);
    }

    void write(const std::string& step) const {
        const xperiment::ScriptSet set = reportScripts(step);
        HUTFileUtils::rewriteFile(
            m_dir + set.sh, shHead(set, m_paths, m_runDir) + command_(kShCommand, step), true);
        HUTFileUtils::rewriteFile(
            m_dir + set.js,
            jsHead(set, m_paths) + command_(kJsCommand, step) + xperiment::jsFooter(), false);
        xperiment::writeBat(m_dir + set.bat, batScript(set));
    }

private:
    std::string command_(const char* text, const std::string& step) const {
        return fill(text, {{"tool", kTool}, {"args", m_args}, {"step", step}});
    }

    /// With a separator at its end, and as the run names it.
    std::string m_dir;
    std::string m_runDir;
    xperiment::SearchPaths m_paths;
    std::string m_args;
};

}  // namespace

void HAXPScriptWriter::writeReportScript() {
    copyReportsHelperScripts();
    writeReportScript_();
}

void HAXPScriptWriter::copyReportsHelperScripts() {
    xperiment::copyWrappers(reportScripts(""), xperiment::scriptDirOf(m_run));
}

void HAXPScriptWriter::writeReportScript_() {
    if (!xperiment::ToolSearch().exists(kTool))
        ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kCriticalWarning,
                                 "@36-16@%s", kTool);
    const ReportScripts scripts(m_run);
    const HAXPExpInfoBase* info = m_run->getExpInfoBase();
    const std::unique_ptr<HSTFwdIter<HAXPExpRunStep*>> steps(m_run->createRunStepIter());
    // An implementation begins with reading the design, which leaves no checkpoint.
    if (info != nullptr && info->isImplFlow() && steps->hasNext())
        steps->next();
    while (steps->hasNext()) {
        const HAXPExpRunStep* step = steps->next();
        const std::string id = step->getFlowStep()->getFlowStepId();
        if (!step->isReportGenerationNeeded() || id == kBitstreamStep)
            continue;
        std::string dcp;
        getOutputDcp(step, dcp);
        if (dcp.empty()) {
            ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kError, "@36-383@%s",
                                     id);
            return;
        }
        scripts.write(id);
    }
}
