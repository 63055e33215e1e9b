// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/cluster/gridKill.h"

#include <cstdio>
#include <memory>

#include <fmt/format.h>

#include "environment/cluster/HCClusterConf.h"
#include "environment/cluster/HCClusterConfMgr.h"
#include "environment/params/HPAParamMgr.h"
#include "runs/base/xperiment/HAXPExpInfoBase.h"
#include "workbench/cluster/SgeScheduler.h"
#include "workbench/launchLease.h"

namespace cluster {

void enableGridKills() {
    HCClusterConfMgr& all = *HCClusterConfMgr::getInstance();
    if (all.getClusterConf(kSgeConfName) != nullptr)
        return;
    auto conf = std::make_unique<HCClusterConf>(kSgeConfName);
    // Found in the search path of this process, whatever the path of its folder holds.
    conf->setKillCmd(kGridKillProgram);
    all.addClusterConf(conf.release());
    HPAParamMgr& params = *HPAParamMgr::getParamMgr();
    params.setValueAsBool("project.enableLSFforRuns", true);
    params.setValueAsBool("runs.enableClusterConf", true);
}

void nameConfiguration(HAXPExpInfoBase& info, const workbench::LaunchWay& way) {
    const bool isGrid = way.kind == workbench::LaunchWay::Kind::kSge;
    info.setClusterConfigurationName(isGrid ? kSgeConfName : "", true);
    if (isGrid)
        enableGridKills();
}

bool isGridKill(const std::string& name) {
    return name.substr(name.rfind('/') + 1) == kGridKillProgram;
}

int gridKillMain(const std::vector<std::string>& words) {
    constexpr long kLimitMs = 60000;
    if (words.size() != 1 || words.front() == "--help") {
        fmt::print(stderr,
                   "usage: {} JOB\nEnds the job with the number JOB, or the task JOB.TASK of an "
                   "array, if it is one of your runs, and waits until it is gone.\n",
                   kGridKillProgram);
        return kGridKillUsage;
    }
    std::string reason;
    if (SgeScheduler("qsub").endJob(words.front(), kLimitMs, reason))
        return kGridKillDone;
    fmt::print(stderr, "{}: error: {}\n", kGridKillProgram, reason);
    return kGridKillFailed;
}

}  // namespace cluster
