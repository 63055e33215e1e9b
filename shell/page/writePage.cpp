// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/page/writePage.h"

#include "environment/files/HUTFileUtils.h"
#include "shell/page/pageData.h"
#include "shell/page/pageFile.h"
#include "shell/runView.h"
#include "workbench/Project.h"

namespace shell {

const char kPageName[] = "xperiment.html";

std::string writePage(const Project& project, const std::vector<HAXPExpRun*>& runs,
                      const std::string& path) {
    std::string full = path.empty() ? project.getDir() + "/" + kPageName : path;
    HUTFileUtils::makeAbsolutePath(full);
    HUTFileUtils::replaceFile(full, pageWith(pageTemplate(), writtenPageData(project, runs)));
    return full;
}

std::string writtenPageData(const Project& project, const std::vector<HAXPExpRun*>& runs) {
    PageRequest request;
    request.runs = runs;
    lookForLife(request.runs);
    return pageData(project, request);
}

}  // namespace shell
