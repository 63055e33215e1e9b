// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/product.h"

#include <cstdlib>

#include "environment/installation/HUTEnv.h"
#include "environment/installation/Installation.h"
#include "environment/params/HPAParamMgr.h"
#include "runs/base/xperiment/HAXFBasicStepFilter.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "workbench/OpenStats.h"
#include "workbench/openFlows.h"

namespace workbench {

namespace {

std::string& binDirOfProcess() {
    static std::string folder;
    return folder;
}

/// The text of a variable that names a folder; empty unless it is an absolute path.
std::string folderInVariable(const char* variable) {
    const char* folder = getenv(variable);
    return folder == nullptr || *folder != '/' ? std::string() : folder;
}

/// Where the strategies of the user lie; empty for one without a home.
std::string defaultUserFolder() {
    const std::string config = folderInVariable("XDG_CONFIG_HOME");
    if (!config.empty())
        return config + "/xperiment";
    const std::string home = folderInVariable("HOME");
    return home.empty() ? home : home + "/.config/xperiment";
}

void declareInstallation() {
    Installation installation = Installation::getDefault();
    installation.productName = "tarnel";
    installation.version = "2026.1";
    installation.copyright = "Copyright the Xperiment authors. Apache-2.0 licence.";
    installation.isTarnel = true;
    if (installation.appDataDir.empty())
        installation.appDataDir = defaultUserFolder();
    HUTEnv::setInstallation(installation);
}

/// Steps keep report configurations, and report strategies the names of reports. Timing summaries
/// warn of violations, unless the user has said otherwise.
void setParameters() {
    HPAParamMgr& params = *HPAParamMgr::getParamMgr();
    params.setValueAsBool("project.enableReportConfiguration", true);
    params.setValueAsBool("runs.enableReportDisplayName", true);
    if (!params.hasValue("project.enableWarnOnViolation"))
        params.setValueAsBool("project.enableWarnOnViolation", true);
}

/// Whether the head of a run script can carry `path`, which stands there unquoted.
bool canStandUnquoted(const std::string& path) {
    return path.find_first_of(" \t\n'\"\\$`*?[];&|<>()#~") == std::string::npos;
}

/// The generated scripts put these folders in front of the search path; both are set,
/// since an empty one would mean the current folder. A folder that they can't carry
/// reaches the tools by the pre-commands, which quote it, and by this process's own
/// search path.
void exportSearchPath(const std::string& dir) {
    if (canStandUnquoted(dir)) {
        setenv("KPX_BINROOT", dir.c_str(), 1);
        setenv("KPX_PREPEND_PATH", dir.c_str(), 0);
    }
    const char* path = getenv("PATH");
    const bool isEmpty = path == nullptr || *path == '\0';
    setenv("PATH", (isEmpty ? dir : dir + ":" + path).c_str(), 1);
}

}  // namespace

void installProduct(const std::string& dir) {
    if (!binDirOfProcess().empty())
        return;
    binDirOfProcess() = dir;
    declareInstallation();
    setParameters();
    exportSearchPath(dir);
    if (HAXPStrategy::getStepFilter() == nullptr)
        HAXPStrategy::installFilter(new HAXFBasicStepFilter);
    OpenFlows::build();
    OpenStats::registerAll();
}

const std::string& binDir() {
    return binDirOfProcess();
}

}  // namespace workbench
