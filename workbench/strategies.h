// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"

class HAXPFlow;
class HAXPStrategy;
class HAXRReportStrategy;

/// The strategies and report strategies that come with the product, and the user's.
/// HAXPStrategyMgr keeps them; what it hands out stays its own.
namespace workbench {

/// Fills the strategy manager from the installation and the user's folder, and the
/// report catalogue. Once in a process, at first need; the rest of the calls do nothing.
/// A file that can't be read gives a message. Without a report catalogue there are no
/// reports, which one message tells.
WORKBENCH_API void restoreStrategies();

/// The strategies of `flow`: "Default", the other shipped ones, then the user's, each by
/// name. Restores them first.
WORKBENCH_API std::vector<HAXPStrategy*> strategiesOf(const HAXPFlow& flow);
WORKBENCH_API std::vector<HAXRReportStrategy*> reportStrategiesOf(const HAXPFlow& flow);

/// The strategy `name` of `flow`, shipped or the user's; null without one.
WORKBENCH_API HAXPStrategy* findStrategy(const HAXPFlow& flow, const std::string& name);
WORKBENCH_API HAXRReportStrategy* findReportStrategy(const HAXPFlow& flow, const std::string& name);

/// Refuses a strategy whose values a generated script can't carry: a file may hold what
/// a user couldn't type in. @throws HEXUserException names option and value.
WORKBENCH_API void requireScriptValues(const HAXPStrategy& strategy);

/// The user's strategies are this process's alone while it lives: what others save
/// meanwhile would be lost to one that read it before. Make it before anything is
/// restored. Readers need none, since files change as a whole.
class WORKBENCH_API StrategyLock {
public:
    /// Makes the user's folder, and waits while another process has the strategies.
    /// @throws HEXUserException there is no folder for the user, it can't be used, or
    /// the other process is still at it.
    explicit StrategyLock(int longestWaitMs = 10000);
    ~StrategyLock();

    StrategyLock(const StrategyLock&) = delete;
    StrategyLock& operator=(const StrategyLock&) = delete;

private:
    int m_fd = -1;
};

}  // namespace workbench
