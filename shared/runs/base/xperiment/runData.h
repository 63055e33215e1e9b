// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "environment/containers/HSTSList.h"
#include "runs/base/xperiment/HAXPExpInfoBase.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPStat.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "runs/base/xperiment/ownedReportStrategy.h"
#include "runs/base/xperiment/runMutex.h"

namespace xperiment {

/// The steps of a run, in order.
using Steps = std::vector<std::unique_ptr<HAXPExpRunStep>>;

/// Where the steps of a run stand, as of `changes`.
struct StepPlaces {
    /// The place of the first step with an id, in lower case.
    std::unordered_map<std::string, std::size_t> byId;
    /// The number of steps when none is stale.
    std::size_t firstStale = 0;
    unsigned long changes = 0;

    /// The place of the first stale step, or of the one with this id if it comes first.
    std::size_t firstStaleOr(const std::string& id) const {
        const auto own = byId.find(id);
        return own == byId.end() ? firstStale : std::min(firstStale, own->second);
    }
};

}  // namespace xperiment

struct HAXPExpRunBase::Data {
    /// Not deleted with the run: the concrete run does that.
    HAXPExpInfoBase* expInfo = nullptr;
    std::unique_ptr<HDGUIStatus> status;
    std::unique_ptr<HAXPStrategy> strategy;
    xperiment::OwnedReportStrategy reportStrategy;
    std::vector<std::unique_ptr<HAXPStat>> stats;
    HSTSList<ComMsgMgrSrcHandle*> msgHandles;
    bool strategyCopyFlag = false;
    /// Counts changes of the step list and of the stale reasons of its steps.
    std::atomic<unsigned long> stepChanges{1};

    mutable xperiment::RunMutex mutex;
    xperiment::Steps steps XP_GUARDED_BY(mutex);
    mutable xperiment::StepPlaces places XP_GUARDED_BY(mutex);
    /// Of the static reports that point to them.
    std::vector<std::unique_ptr<HAXRReportSpec>> staticSpecs XP_GUARDED_BY(mutex);
    bool activated XP_GUARDED_BY(mutex) = false;
    RunMode runMode XP_GUARDED_BY(mutex) = kNotLaunched;
    std::string runDir XP_GUARDED_BY(mutex);
    HAXPExpRunStep* latestStep XP_GUARDED_BY(mutex) = nullptr;
    std::string toStepId XP_GUARDED_BY(mutex);
};
