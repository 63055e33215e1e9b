// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/userRunScript.h"

#include "environment/errors/HEXUserException.h"
#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrInstance.h"
#include "workbench/HAXPExpRun.h"
#include "workbench/OpenDataMgr.h"

namespace workbench {

namespace {

/// The same process goes on: the lock is free when the user's script and all that it
/// started are gone, and a script that was made from a generated one, and takes the lock
/// itself, doesn't wait for this one.
constexpr char kCall[] = "export MQ_LOG\nexec ./runme.user.sh >> \"$MQ_LOG\" 2>&1\n";

[[noreturn]] void failToUseScript(const HAXPExpRun& run, const std::string& path,
                                  const std::string& why) {
    throw HEXUserException(ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-131@%s%s%s",
                                             run.getName(), path, why));
}

std::string scriptText(const HAXPExpRun& run, const std::string& path, const std::string& file) {
    std::string text;
    std::string reason;
    if (!HUTFileUtils::readFile(file, kLargestRunScript, text, reason))
        failToUseScript(run, path, reason);
    return text;
}

void writeRunFile(const HAXPExpRun& run, const std::string& path, const std::string& name,
                  const std::string& text) {
    if (!HUTFileUtils::rewriteFile(run.pathOf(name), text, true))
        failToUseScript(run, path, run.pathOf(name) + " can't be written");
}

}  // namespace

void useRunScript(const HAXPExpRun& run, const std::string& path) {
    const std::string own = scriptText(run, path, path);
    if (own.empty())
        failToUseScript(run, path, "it is empty");
    const std::string generated = scriptText(run, path, run.pathOf("runme.sh"));
    const std::string::size_type steps = generated.find(OpenDataMgr::getStepsLine());
    if (steps == std::string::npos)
        failToUseScript(run, path, run.pathOf("runme.sh") + " has no place for it");
    writeRunFile(run, path, kUserScriptName, own);
    writeRunFile(run, path, "runme.sh",
                 generated.substr(0, steps) + kCall + OpenDataMgr::getLastLine() + "\n\n\n");
}

void dropRunScript(const HAXPExpRun& run) {
    HUTFile(run.pathOf(kUserScriptName)).rm();
}

}  // namespace workbench
