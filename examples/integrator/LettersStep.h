// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "runs/base/xperiment/HAXPFlowStep.h"

/// Sorts the lines of a text: one step, one program ("sort"), one file that it leaves.
class LettersStep final : public HAXPFlowStep {
public:
    /// The id by which strategies and scripts know it.
    static const char kId[];
    /// What it leaves in the run directory.
    static const char kResult[];

    LettersStep();

protected:
    /// Once, when the step enters a flow: the options that a strategy may set.
    void configOptions_(HATOptGroupSpec* optionsSpec) override;
    /// Once, right after: the files that the step leaves as reports.
    void configReports_() override;
    /// Once: which sources of the design the step reads, so that a change of others leaves it
    /// fresh.
    void initSrcFilter_() override;
    /// For each script: what stands before and behind the options of the command.
    void writePrePostOpts_(std::string& pre, std::string& post, HATOptGroup* options,
                           HAXPExpRunBase* run) const override;
    /// For each poll: the markers decide; here one more piece of evidence counts.
    void updStatus_(HDGUIStatus* status, HUTProcessHandle* handle,
                    const std::string& runDir) const override;
};
