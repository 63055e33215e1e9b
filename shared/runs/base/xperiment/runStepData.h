// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "environment/filemgmt/FSCSEventContext.h"
#include "environment/filemgmt/HADAStaleReasons.h"
#include "environment/messages/ComMsgMgrSrcHandle.h"
#include "environment/process/HUTProcessHandle.h"
#include "runs/base/xperiment/HAXPExpRunStep.h"
#include "runs/base/xperiment/HAXPFileCheck.h"
#include "runs/base/xperiment/HDGUIStatus.h"

struct HAXPExpRunStep::Data {
    HAXPExpInfoBase* expInfo = nullptr;
    const HAXPFlowStep* flowStep = nullptr;
    HATOptGroup* options = nullptr;
    HATOptGroup* attrs = nullptr;
    std::unique_ptr<HDGUIStatus> status;
    std::unique_ptr<HUTProcessHandle> procInfo;
    std::vector<std::unique_ptr<HAXPFileCheck>> reports;
    ComMsgMgrSrcHandle msgSrcHandle{""};
    HADAStaleReasons staleReasons;
    /// Set and called by the layer above alone.
    std::function<void()> callback;
    std::unordered_map<HAXPTypes::FileType, HSTVector<std::string>> files;
    std::vector<HAXPExpRunBase*> runs;
    FSCSEventContext eventContext;
};
