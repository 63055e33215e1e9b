// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// How a run is stopped: here, on another host, or through its cluster.

#include "environment/cluster/HCClusterConf.h"
#include "environment/cluster/HCClusterConfMgr.h"
#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "environment/installation/HUTEnv.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/params/HPAParamMgr.h"
#include "environment/process/HUTFork.h"
#include "environment/process/HUTProcHandleXMLParser.h"
#include "environment/process/HUTProcessHandle.h"
#include "environment/process/HUTSysCall.h"
#include "environment/strings/HSTStrTokenizer.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPUtilsBase.h"
#include "runs/base/xperiment/runData.h"
#include "runs/base/xperiment/runFiles.h"
#include "runs/base/xperiment/stepMarkers.h"

using xperiment::pathIn;

namespace {

bool isSet(const char* parameter) {
    return HPAParamMgr::getParamMgr()->getValueIfExistAsBool(parameter, false);
}

/// Has the scripts of the run start no further step. A directory that is gone isn't made.
void askToStop(const std::string& runDir) {
    if (HUTFile(runDir).isDir())
        HUTFileUtils::rewriteFile(pathIn(runDir, xperiment::stopMarker), "", false);
}

}  // namespace

/// Stops a launched run for a reset, and says what its failure means for the outputs.
///
/// Each step below answers whether the run is stopped. Until one of them is sure,
/// `m_emptyDir` and `m_errors`, which are the caller's, follow what is known so far.
class HAXPExpRunBase::Stopper {
public:
    Stopper(HAXPExpRunBase& run, const std::string& runDir, HSTVector<std::string>& errors,
            bool& emptyDir)
        : m_run(run), m_runDir(runDir), m_errors(errors), m_emptyDir(emptyDir) {}

    bool stop() {
        askToStop(m_runDir);
        if (endHere_())
            return true;
        m_errors.push_back(m_message);
        m_emptyDir = isSet("project.enableLSFforRuns");
        if (!m_emptyDir)
            return false;
        return ranHere_() ? giveUp_() : endElsewhere_();
    }

private:
    /// Two attempts: what doesn't end at once is often about to.
    bool endHere_() {
        constexpr long kPauseMs = 500;
        if (!findRunning_())
            return true;
        completeRecord_();
        if (m_handle->killProcess(m_message, true))
            return true;
        HUTSysCall::msSleep(kPauseMs);
        m_run.updateStatus();
        return !findRunning_() || m_handle->killProcess(m_message, true);
    }

    /// Whether a step runs; its process is to be ended then.
    bool findRunning_() {
        const HAXPExpRunStep* step = m_run.getLatestStep();
        m_handle = step == nullptr ? nullptr : step->getProcInfo();
        return step != nullptr && step->getStatus()->getCode() == HDGUIStatus::statusRunning;
    }

    /// A step whose marker tells of no process may run in that of the whole run.
    void completeRecord_() {
        const std::string ofProcess =
            xperiment::stepMarker(xperiment::tarnelProcess, xperiment::beginMarker);
        if (!m_handle->isPartialComplete() && isThere_(ofProcess))
            HUTProcHandleXMLParser().parsePH(pathIn(m_runDir, ofProcess), m_handle);
    }

    bool isThere_(const std::string& name) const {
        return !m_runDir.empty() && HUTFile::exists(pathIn(m_runDir, name));
    }

    bool ranHere_() const {
        std::string host;
        m_handle->getHostname(host);
        return host == HUTEnv::getHostName();
    }

    bool giveUp_() {
        m_emptyDir = false;
        return false;
    }

    bool endElsewhere_() {
        try {
            return isThere_(xperiment::jobIdFile) ? endJob_() : endRemotely_();
        } catch (...) {
            m_errors.push_back(failure_());
            return false;
        }
    }

    bool endRemotely_() {
        m_errors.clear();
        if (m_handle->killRemoteProcess(m_message))
            return true;
        m_errors.push_back(m_message);
        return giveUp_();
    }

    bool endJob_() {
        const std::string jobId = m_run.readClusterJobIdentifier_();
        if (jobId.empty()) {
            m_errors.push_back(failure_() + " Could not find the job id.");
            return giveUp_();
        }
        const HCClusterConf* conf = clusterConf_();
        if (conf == nullptr && endLsfJob_())
            return noteEnd_(jobId);
        m_emptyDir = false;
        return conf != nullptr && endJobOf_(*conf, jobId) && noteEnd_(jobId);
    }

    /// The configuration that the run names; null when it isn't there.
    const HCClusterConf* clusterConf_() const {
        const std::string& name = m_run.requireInfo_().getClusterConfigurationName();
        return name.empty() ? nullptr : HCClusterConfMgr::getInstance()->getClusterConf(name);
    }

    /// LSF calls a job by what was submitted, which is the run script's path.
    bool endLsfJob_() {
        std::string command;
        HAXPUtilsBase::getDefaultClusterKillCmd(command);
        return m_run.killRun(command, pathIn(m_runDir, xperiment::runScriptFile), false);
    }

    bool endJobOf_(const HCClusterConf& conf, const std::string& jobId) {
        return isSet("runs.enableClusterConf") && !conf.getKillCmd().empty() &&
               m_run.killRun(conf.getKillCmd(), jobId, true);
    }

    bool noteEnd_(const std::string& jobId) {
        ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kInfo, "@36-557@%s",
                                 jobId);
        m_errors.clear();
        m_emptyDir = true;
        return true;
    }

    std::string failure_() const { return "Failed to kill the run '" + m_run.getName() + "' job."; }

    HAXPExpRunBase& m_run;
    const std::string& m_runDir;
    HSTVector<std::string>& m_errors;
    bool& m_emptyDir;
    HUTProcessHandle* m_handle = nullptr;
    /// Why the last attempt failed.
    std::string m_message;
};

bool HAXPExpRunBase::stopForReset_(const std::string& runDir, bool killFirst,
                                   HSTVector<std::string>& errors, bool& emptyDir) {
    if (executesInProcess_()) {
        askToStop(runDir);
        emptyDir = true;
        return true;
    }
    if (!killFirst || getRunMode() != kLaunched)
        return true;
    return Stopper(*this, runDir, errors, emptyDir).stop();
}

bool HAXPExpRunBase::executesInProcess_() const {
    const HAXPFlow* flow = requireStrategy_().getFlow();
    return isSet("runs.enableTemplatizedFlows") && isSet("runs.launchI2FlowInProcess") &&
           flow != nullptr && flow->isLaunchedLocally();
}

bool HAXPExpRunBase::killRun(const std::string& killCommand, const std::string& argument,
                             bool /*ignored*/) {
    if (isSet("runs.debug"))
        ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kInfo, "@36-556@%s",
                                 argument);
    HSTStrTokenizer words(killCommand, " ", false);
    std::string program;
    words.next(program);
    std::string fullPath;
    // A command would see the part before the zero alone, and perhaps end another job.
    const bool isWord = argument.find('\0') == std::string::npos;
    if (!isWord || !HUTFork::findInPath(program, fullPath))
        return false;
    HUTFork fork;
    fork.setCmdLine(killCommand, true);
    fork.addArg(argument);
    return fork.launch(true, false, true, true) == 0;
}

std::string HAXPExpRunBase::readClusterJobIdentifier_() const {
    // No identifier is that long: what is longer isn't one, and might not fit into memory.
    constexpr std::size_t kMostBytes = std::size_t{64} << 20;
    std::string runDir;
    getRunDir(runDir);
    const std::string path = pathIn(runDir, xperiment::jobIdFile);
    std::string jobId;
    if (runDir.empty() || !HUTFile::exists(path) ||
        !HUTFileUtils::readFile(path, kMostBytes, jobId))
        return {};
    if (isSet("runs.debug"))
        ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kInfo, "@36-555@%s",
                                 jobId);
    return jobId;
}
