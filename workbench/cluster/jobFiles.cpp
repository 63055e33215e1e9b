// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/cluster/jobFiles.h"

#include "environment/errors/HEXAll.h"
#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "workbench/cluster/jobId.h"

namespace cluster {

namespace {

std::string pathIn(const std::string& runDir, const char* name) {
    return runDir + HUTFile::getDirSeparator() + name;
}

}  // namespace

std::string readJobId(const std::string& runDir) {
    constexpr std::size_t kMostBytes = 64;
    std::string id;
    if (!HUTFileUtils::readFile(pathIn(runDir, kJobIdName), kMostBytes, id) || !parseJobId(id))
        return {};
    return id;
}

bool writeJobId(const std::string& runDir, const std::string& id, std::string& reason) {
    const std::string path = pathIn(runDir, kJobIdName);
    try {
        // A link of that name isn't followed to where it leads.
        HUTFile(path).rm();
        HUTFileUtils::replaceFile(path, id);
        return true;
    } catch (const HEXAll& error) {
        reason = error.what();
        return false;
    }
}

void writeJobLog(const std::string& runDir, const std::string& text) {
    HUTFileUtils::rewriteFile(pathIn(runDir, kJobLogName), text, false);
}

void removeJobFiles(const std::string& runDir) {
    HUTFile(pathIn(runDir, kJobIdName)).rm();
    HUTFile(pathIn(runDir, kJobLogName)).rm();
}

}  // namespace cluster
