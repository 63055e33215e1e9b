// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/cluster/jobArray.h"

#include <algorithm>
#include <memory>

#include "environment/containers/HSTFwdIter.h"
#include "environment/errors/HEXUserException.h"
#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrInstance.h"
#include "environment/process/commandLine.h"
#include "workbench/launchLease.h"
#include "workbench/links.h"
#include "workbench/ownFolder.h"

namespace cluster {

namespace {

constexpr char kHead[] = R"(#!/bin/sh
# Each task of this array works on the run of its number.
case "${@VARIABLE@-}" in
)";

constexpr char kTail[] = R"(  *) exit 0 ;;
esac
cd "$xp_dir" || exit 1
# The run was reset since.
[ -f runme.sh ] || exit 0
@LAUNCH@=$xp_launch
export @LAUNCH@
exec /bin/sh "$xp_dir/runme.sh" >> runme.log 2>&1
)";

constexpr char kEnd[] = ".sh";

std::string withValue(std::string text, const std::string& mark, const std::string& value) {
    for (std::string::size_type at = 0; (at = text.find(mark, at)) != std::string::npos;
         at += value.size())
        text.replace(at, mark.size(), value);
    return text;
}

std::string folderOf(const std::string& projectDir) {
    return workbench::ownFolder(projectDir) + "/arrays";
}

}  // namespace

std::string arrayScript(const std::vector<ArrayTask>& tasks, const std::string& variable) {
    std::string script = withValue(kHead, "@VARIABLE@", variable);
    for (const ArrayTask& task : tasks)
        script += "  " + std::to_string(task.number) +
                  ") xp_launch=" + process::quoteWord(task.launchId) +
                  " xp_dir=" + process::quoteWord(task.runDir) + " ;;\n";
    return script + withValue(kTail, "@LAUNCH@", workbench::kLaunchVariable);
}

std::string writeArrayScript(const std::string& projectDir, const std::string& name,
                             const std::string& text) {
    const std::string folder = folderOf(projectDir);
    std::string path = folder + HUTFile::getDirSeparator() + name + kEnd;
    const bool isThere = workbench::makeOwnFolder(projectDir) && !workbench::isLink(folder) &&
                         HUTFile(folder).mkDir();
    if (isThere)
        workbench::makeWayForFile(path);
    if (!isThere || !HUTFileUtils::rewriteFile(path, text, true))
        throw HEXUserException(
            ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-201@%s", path));
    return path;
}

void dropArrayScripts(const std::string& projectDir, const std::vector<std::string>& names) {
    const std::string folder = folderOf(projectDir);
    if (workbench::isLink(workbench::ownFolder(projectDir)) || workbench::isLink(folder) ||
        !HUTFile(folder).isDir())
        return;
    const std::unique_ptr<HSTFwdIter<HUTFile>> files(HUTFile(folder).createFileIter());
    while (files->hasNext()) {
        std::string file;
        files->next().getName(file);
        const std::string name = file.substr(0, file.rfind('.'));
        if (std::find(names.begin(), names.end(), name) == names.end())
            HUTFileUtils::removeBelow(folder, file);
    }
}

}  // namespace cluster
