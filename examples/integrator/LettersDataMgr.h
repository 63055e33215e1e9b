// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "runs/base/xperiment/HAXPDataMgr.h"

/// What the scripts of a run hold beside its steps, which options stay out of them, and how
/// results leave the run directory.
class LettersDataMgr final : public HAXPDataMgr {
public:
    LettersDataMgr() = default;

protected:
    /// Before the steps, for each generation of scripts: whole lines in each dialect.
    void scriptPreCmds_(HAXPExpRunBase* run, std::string& jsCmds, std::string& shCmds,
                        std::string& htrCmds) override;
    /// Behind the steps.
    void scriptPostCmds_(HAXPExpRunBase* run, std::string& jsCmds, std::string& shCmds) override;
    /// For each listing of each option: whether it stays off the command line, and why.
    bool filter_(const HATAttrSpec* spec, const HATOptGroup* group, const HAXPExpRunBase* run,
                 std::string& reason) override;
    /// Which files an export moves; false, with a reason in `status`, when it can't begin.
    bool prepRunForExport_(HAXPExpRunBase* run, HSTVector<std::string>& files,
                           HDGUIStatus& status) override;
    /// Moves them. Reports through `status`, throws nothing.
    void exportData_(HAXPExpRunBase* run, HAXPLaunchOptions* options, HDGUIStatus& status) override;
};
