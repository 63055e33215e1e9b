// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ownFolder.h"

#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "workbench/links.h"

namespace workbench {

std::string ownFolder(const std::string& projectDir) {
    return projectDir + HUTFile::getDirSeparator() + kOwnFolderName;
}

bool makeOwnFolder(const std::string& projectDir) {
    const std::string folder = ownFolder(projectDir);
    if (isLink(folder))
        return false;
    if (HUTFile(folder).isDir())
        return true;
    if (!HUTFile(folder).mkDir())
        return false;
    HUTFileUtils::rewriteFile(folder + HUTFile::getDirSeparator() + ".gitignore", "*\n", false);
    return true;
}

}  // namespace workbench
