// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "LettersDataMgr.h"

#include <cstdio>

#include "LettersStep.h"
#include "environment/options/HATAttrSpec.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HDGUIStatus.h"

void LettersDataMgr::scriptPreCmds_(HAXPExpRunBase*, std::string& jsCmds, std::string& shCmds,
                                    std::string& htrCmds) {
    shCmds = "LC_ALL=C\nexport LC_ALL";
    jsCmds = "ProcEnv(\"LC_ALL\") = \"C\";";
    htrCmds.clear();
}

void LettersDataMgr::scriptPostCmds_(HAXPExpRunBase*, std::string& jsCmds, std::string& shCmds) {
    jsCmds.clear();
    shCmds = "# end of letters";
}

bool LettersDataMgr::filter_(const HATAttrSpec* spec, const HATOptGroup*, const HAXPExpRunBase* run,
                             std::string& reason) {
    if (spec->getName() != "backwards" || run->getName() != "forwards")
        return false;
    reason = "a run of this name sorts forwards";
    return true;
}

bool LettersDataMgr::prepRunForExport_(HAXPExpRunBase*, HSTVector<std::string>& files,
                                       HDGUIStatus&) {
    files.push_back(LettersStep::kResult);
    return true;
}

void LettersDataMgr::exportData_(HAXPExpRunBase* run, HAXPLaunchOptions*, HDGUIStatus& status) {
    std::string dir;
    run->getRunDir(dir);
    const std::string from = dir + "/" + LettersStep::kResult;
    const bool isMoved = std::rename(from.c_str(), (dir + ".txt").c_str()) == 0;
    status.setCode(isMoved ? HDGUIStatus::statusDone : HDGUIStatus::statusError);
    status.setText(isMoved ? "Exported" : "There is no result to export");
}
