// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/HAXPDataMgr.h"

#include "environment/errors/HEXError.h"
#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrInstance.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPUtilsBase.h"

HAXPDataMgr::HAXPDataMgr() = default;

HAXPDataMgr::~HAXPDataMgr() = default;

void HAXPDataMgr::scriptPreCmds(HAXPExpRunBase* run, std::string& jsCmds, std::string& shCmds,
                                std::string& htrCmds) {
    scriptPreCmds_(run, jsCmds, shCmds, htrCmds);
}

void HAXPDataMgr::scriptPostCmds(HAXPExpRunBase* run, std::string& jsCmds, std::string& shCmds) {
    scriptPostCmds_(run, jsCmds, shCmds);
}

bool HAXPDataMgr::shouldFilter(const HATAttrSpec* spec, const HATOptGroup* group,
                               const HAXPExpRunBase* run) {
    std::string reason;
    const bool filtered = filter_(spec, group, run, reason);
    if (filtered)
        ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "runs", ComMsgMgr::kInfo, "@36-46@%s%s%s%s",
                                 group->getOptGrpId(), spec->getName(),
                                 run == nullptr ? std::string() : run->getName(), reason);
    return filtered;
}

void HAXPDataMgr::exportData(HAXPExpRunBase* run, HAXPLaunchOptions* options, HDGUIStatus& status) {
    exportData_(run, options, status);
}

bool HAXPDataMgr::prepRunForExport(HAXPExpRunBase* run, HSTVector<std::string>& files,
                                   HDGUIStatus& status) {
    return prepRunForExport_(run, files, status);
}

void HAXPDataMgr::assignRunDir(HAXPExpRunBase* run, const std::string& baseDir) {
    std::string base = baseDir;
    HUTFileUtils::makeAbsolutePath(base);
    std::string dir;
    HAXPUtilsBase::genRunDir(run, base, dir);
    if (!HUTFile(dir).mkDirRecursive())
        throw HEXError(ComMsgMgrInstance("runs", ComMsgMgr::kError, "@36-66@%s", dir));
    run->setRunDir(dir, true);
}

void HAXPDataMgr::scriptPreCmds_(HAXPExpRunBase*, std::string& jsCmds, std::string& shCmds,
                                 std::string& htrCmds) {
    jsCmds.clear();
    shCmds.clear();
    htrCmds.clear();
}

void HAXPDataMgr::scriptPostCmds_(HAXPExpRunBase*, std::string& jsCmds, std::string& shCmds) {
    jsCmds.clear();
    shCmds.clear();
}

bool HAXPDataMgr::filter_(const HATAttrSpec*, const HATOptGroup*, const HAXPExpRunBase*,
                          std::string&) {
    return false;
}

bool HAXPDataMgr::prepRunForExport_(HAXPExpRunBase*, HSTVector<std::string>&, HDGUIStatus&) {
    return true;
}
