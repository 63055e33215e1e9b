// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "runs/base/xperiment/HAXPDataMgr.h"
#include "workbench/WorkbenchExport.h"

/// What the workbench adds to the scripts of a run.
///
/// Before the steps: empty elements leave the search paths, the run's lock is
/// taken, so that no second launch runs in the same directory and everyone can
/// see whether something of the run still lives, the queue marker goes, and the
/// wrapper is told which steps are disabled. Behind them: a last line by which
/// the launcher sees that the script is whole.
class WORKBENCH_API OpenDataMgr final : public HAXPDataMgr {
public:
    OpenDataMgr();
    ~OpenDataMgr() override;

    /// The line in front of the steps in "runme.sh", without its line end.
    static const std::string& getStepsLine();
    /// The last line of a whole "runme.sh", without its line end.
    static const std::string& getLastLine();

protected:
    void scriptPreCmds_(HAXPExpRunBase* run, std::string& jsCmds, std::string& shCmds,
                        std::string& htrCmds) override;
    void scriptPostCmds_(HAXPExpRunBase* run, std::string& jsCmds, std::string& shCmds) override;
    /// Nothing moves: the results of a run stay in its directory, and `status` says so.
    void exportData_(HAXPExpRunBase* run, HAXPLaunchOptions* options, HDGUIStatus& status) override;
};
