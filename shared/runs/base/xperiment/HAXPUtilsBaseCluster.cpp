// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
// Submit commands of clusters, as users type them.

#include <algorithm>
#include <array>

#include "environment/files/HUTFile.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/params/HPAParamMgr.h"
#include "environment/process/HUTFork.h"
#include "environment/process/HUTSysCall.h"
#include "environment/strings/HSTStrTokenizer.h"
#include "runs/base/xperiment/HAXPUtilsBase.h"

namespace {

HSTStrTokenizer wordsOf(const std::string& command) {
    static const std::string s_blank = " ";
    return {command, s_blank, false};
}

bool isInPath(const std::string& program) {
    std::string fullPath;
    return HUTFork::findInPath(program, fullPath);
}

std::string notFound(const std::string& program, const std::string& expected) {
    return program + " could not be found. Please make sure '" + expected +
           "' is in path or provide the correct full path.";
}

/// A job that talks to its terminal would have none.
bool isInteractive(const std::string& word) {
    static constexpr std::array<const char*, 6> kSwitches = {"-I",  "-Ip",  "-Is",
                                                             "-IS", "-ISp", "-IX"};
    return std::find(kSwitches.begin(), kSwitches.end(), word) != kSwitches.end();
}

/// Whether the file comes, and if so is removed. Waits two minutes: a busy cluster takes
/// that long to start a job.
bool comesInTime(const std::string& path) {
    constexpr int kLooks = 120;
    constexpr long kPauseMs = 1000;
    const HUTFile file(path);
    for (int look = 0; look < kLooks; ++look) {
        if (file.exists()) {
            file.rm();
            return true;
        }
        HUTSysCall::msSleep(kPauseMs);
    }
    return false;
}

}  // namespace

void HAXPUtilsBase::getDefaultLSFCmd(std::string& out) {
    out = "bsub -R select[type=X86_64] -N -q medium";
}

void HAXPUtilsBase::getDefaultClusterKillCmd(std::string& out) {
    out = "bkill -J";
}

bool HAXPUtilsBase::validateLSF(const std::string& cmd, HSTVector<std::string>& errors,
                                const std::string& dir) {
    HSTStrTokenizer words = wordsOf(cmd);
    std::string program;
    words.next(program);
    if (!isInPath(program)) {
        errors.push_back(notFound(program, "bsub"));
        return false;
    }
    std::string word;
    while (words.next(word)) {
        if (isInteractive(word)) {
            errors.emplace_back("Interactive mode switches -I,-Ip,-Is,-IS,-ISp,-IX cannot be used "
                                "when launching runs with LSF.");
            return false;
        }
    }
    if (dir.empty())
        return true;
    // The file shows that the machines of the cluster see the directory.
    const std::string testFile = dir + HUTFile::getDirSeparator() + "lsf_config_test.txt";
    HUTFile(testFile).rm();
    touchFileWithLSF(cmd, testFile);
    if (comesInTime(testFile))
        return true;
    errors.push_back(program + " could not access " + dir +
                     ". Please make sure project directory is accessible to LSF.");
    return false;
}

bool HAXPUtilsBase::validateSGE(const std::string& cmd, HSTVector<std::string>& errors,
                                const std::string&) {
    std::string program;
    wordsOf(cmd).next(program);
    if (program != "qsub" && program != "qsub.exe") {
        errors.push_back(program + " is not a valid SGE executable. 'qsub' is the only SGE "
                                   "executable supported by launch_runs");
        return false;
    }
    if (!isInPath(program)) {
        errors.push_back(notFound(program, "qsub"));
        return false;
    }
    return true;
}

void HAXPUtilsBase::touchFileWithLSF(const std::string& cmd, const std::string& file) {
    HUTFork fork;
    fork.setCmdLine(cmd, true);
    fork.addArg("touch");
    fork.addArg(file);
    if (fork.launch(false, true, true, true) < 1)
        ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kWarning, "@36-343@%s",
                                 cmd);
}

bool HAXPUtilsBase::isTemplatizedFlowEnabled() {
    return HPAParamMgr::getParamMgr()->getValueIfExistAsBool("runs.enableTemplatizedFlow", false);
}
