// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "environment/containers/HSTSList.h"
#include "runs/base/xperiment/HAXPExpInfoBase.h"
#include "runs/base/xperiment/HAXPExpRunBase.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPStat.h"
#include "runs/base/xperiment/HAXPStrategy.h"
#include "runs/base/xperiment/HDGUIStatus.h"
#include "runs/base/xperiment/runMutex.h"

struct HAXPExpRunBase::Data {
    /// Not deleted with the run: the concrete run does that.
    HAXPExpInfoBase* expInfo = nullptr;
    std::unique_ptr<HDGUIStatus> status;
    std::unique_ptr<HAXPStrategy> strategy;
    HAXRReportStrategy* reportStrategy = nullptr;
    std::vector<std::unique_ptr<HAXPStat>> stats;
    HSTSList<ComMsgMgrSrcHandle*> msgHandles;
    bool strategyCopyFlag = false;

    mutable xperiment::RunMutex mutex;
    std::vector<std::unique_ptr<HAXPExpRunStep>> steps XP_GUARDED_BY(mutex);
    bool activated XP_GUARDED_BY(mutex) = false;
    RunMode runMode XP_GUARDED_BY(mutex) = kNotLaunched;
    std::string runDir XP_GUARDED_BY(mutex);
    HAXPExpRunStep* latestStep XP_GUARDED_BY(mutex) = nullptr;
    std::string toStepId XP_GUARDED_BY(mutex);
};
