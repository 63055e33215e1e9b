// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/strategies.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>
#include <thread>
#include <tuple>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "environment/containers/HSTFwdIter.h"
#include "environment/errors/HEXAll.h"
#include "environment/errors/HEXFileNotFoundException.h"
#include "environment/errors/HEXUserException.h"
#include "environment/files/HUTFile.h"
#include "environment/installation/HUTEnv.h"
#include "environment/installation/Installation.h"
#include "environment/messages/ComMsgMgr.h"
#include "environment/messages/ComMsgMgrInstance.h"
#include "environment/options/HATAttrSpec.h"
#include "environment/options/HATOptGroup.h"
#include "environment/options/HATOptGroupSpec.h"
#include "runs/base/xperiment/HAXPFlow.h"
#include "runs/base/xperiment/HAXPFlowStepOptions.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HAXPStrategyMgr.h"
#include "runs/base/xpreport/HAXRReportStrategy.h"
#include "workbench/entryRules.h"
#include "workbench/optionText.h"

namespace workbench {

namespace {

const char kExtension[] = "psg";
const char kDefaultName[] = "Default";
const char kStrategiesLock[] = ".strategies.lock";

constexpr std::chrono::milliseconds kPause{20};

template <class Strategy>
std::vector<Strategy*> sorted(const std::unique_ptr<HSTFwdIter<Strategy*>>& strategies) {
    std::vector<Strategy*> all;
    while (strategies->hasNext())
        all.push_back(strategies->next());
    const auto rank = [](const Strategy* strategy) {
        const bool isShipped = !strategy->isUserDefined();
        return std::make_tuple(!isShipped, !isShipped || strategy->getName() != kDefaultName,
                               strategy->getName());
    };
    std::stable_sort(all.begin(), all.end(),
                     [&rank](const Strategy* a, const Strategy* b) { return rank(a) < rank(b); });
    return all;
}

void requireGroupValues(const HATOptGroup& group) {
    for (const auto& spec : group.getOptionsSpec()->getAttrSpecs()) {
        if (group.isSet(spec.get()))
            requireOptionText(group.getOptGrpId() + "." + spec->getName(),
                              optionText(group, *spec));
    }
}

[[noreturn]] void failToUse(const std::string& folder, const std::string& reason) {
    throw HEXUserException(
        ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-61@%s%s", folder, reason));
}

/// The folder for what is the user's, made if need be.
std::string userFolder() {
    std::string folder = HUTEnv::getInstallation().appDataDir;
    if (folder.empty())
        throw HEXUserException(ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-62@"));
    std::error_code failed;
    std::filesystem::create_directories(folder, failed);
    if (failed)
        failToUse(folder, failed.message());
    return folder;
}

}  // namespace

void restoreStrategies() {
    static bool s_isRestored = false;
    if (s_isRestored)
        return;
    s_isRestored = true;
    try {
        HAXPStrategyMgr::getGlobal()->restoreAllStrategies(kExtension, true);
    } catch (const HEXFileNotFoundException& error) {
        ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "workbench", ComMsgMgr::kWarning,
                                 "@60-64@%s", error.what());
    } catch (const HEXAll& error) {
        ComMsgMgr::sendMsg::eval(0, __FILE__, __LINE__, "workbench", ComMsgMgr::kWarning,
                                 "@60-60@%s", error.what());
    }
}

std::vector<HAXPStrategy*> strategiesOf(const HAXPFlow& flow) {
    restoreStrategies();
    return sorted(std::unique_ptr<HSTFwdIter<HAXPStrategy*>>(
        HAXPStrategyMgr::getGlobal()->createStrategyIter(&flow)));
}

std::vector<HAXRReportStrategy*> reportStrategiesOf(const HAXPFlow& flow) {
    restoreStrategies();
    return sorted(std::unique_ptr<HSTFwdIter<HAXRReportStrategy*>>(
        HAXPStrategyMgr::getGlobal()->createReportStrategyIter(&flow)));
}

HAXPStrategy* findStrategy(const HAXPFlow& flow, const std::string& name) {
    restoreStrategies();
    return HAXPStrategyMgr::getGlobal()->findStrategy(&flow, name);
}

HAXRReportStrategy* findReportStrategy(const HAXPFlow& flow, const std::string& name) {
    restoreStrategies();
    return HAXPStrategyMgr::getGlobal()->findReportStrategy(&flow, name);
}

void requireScriptValues(const HAXPStrategy& strategy) {
    const std::unique_ptr<HSTFwdIter<HAXPFlowStepOptions*>> entries(
        strategy.createFlowStepOptionsIter());
    while (entries->hasNext()) {
        const HAXPFlowStepOptions* entry = entries->next();
        requireGroupValues(*entry->getOptions());
        requireGroupValues(*entry->getAttrs());
    }
}

StrategyLock::StrategyLock(int longestWaitMs) {
    const std::string folder = userFolder();
    const std::string path = folder + HUTFile::getDirSeparator() + kStrategiesLock;
    m_fd = open(path.c_str(), O_RDONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0644);
    if (m_fd < 0)
        failToUse(folder, std::strerror(errno));
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(longestWaitMs);
    while (flock(m_fd, LOCK_EX | LOCK_NB) != 0) {
        const int reason = errno;
        if (reason == EINTR)
            continue;
        if (reason == EWOULDBLOCK && std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(kPause);
            continue;
        }
        close(m_fd);
        if (reason != EWOULDBLOCK)
            failToUse(folder, std::strerror(reason));
        throw HEXUserException(
            ComMsgMgrInstance("workbench", ComMsgMgr::kError, "@60-63@%s", folder));
    }
}

StrategyLock::~StrategyLock() {
    close(m_fd);
}

}  // namespace workbench
