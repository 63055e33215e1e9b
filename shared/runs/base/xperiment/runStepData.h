// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <atomic>
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

namespace xperiment {

/// The stale reasons of a step, and who counts their changes.
class CountedStaleReasons {
public:
    const HADAStaleReasons& get() const { return m_reasons; }
    /// The reasons, to be changed at once.
    HADAStaleReasons& change() {
        if (m_counter != nullptr)
            ++*m_counter;
        return m_reasons;
    }
    void countIn(std::atomic<unsigned long>& counter) { m_counter = &counter; }

private:
    HADAStaleReasons m_reasons;
    std::atomic<unsigned long>* m_counter = nullptr;
};

}  // namespace xperiment

struct HAXPExpRunStep::Data {
    HAXPExpInfoBase* expInfo = nullptr;
    const HAXPFlowStep* flowStep = nullptr;
    HATOptGroup* options = nullptr;
    HATOptGroup* attrs = nullptr;
    std::unique_ptr<HDGUIStatus> status;
    std::unique_ptr<HUTProcessHandle> procInfo;
    std::vector<std::unique_ptr<HAXPFileCheck>> reports;
    std::vector<std::unique_ptr<HAXRReportConfig>> reportConfigs;
    ComMsgMgrSrcHandle msgSrcHandle{""};
    xperiment::CountedStaleReasons staleReasons;
    /// Set and called by the layer above alone.
    std::function<void()> callback;
    std::unordered_map<HAXPTypes::FileType, HSTVector<std::string>> files;
    std::vector<HAXPExpRunBase*> runs;
    FSCSEventContext eventContext;
};
