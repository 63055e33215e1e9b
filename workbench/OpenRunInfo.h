// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>

#include "runs/base/xperiment/HAXPExpInfoBase.h"
#include "workbench/WorkbenchExport.h"
#include "workbench/inputRecord.h"

namespace ice40 {
struct StepMetrics;
}

/// What a run of the workbench remembers: beside the base's, the inputs of the
/// design, how far the last launch was to go, and the numbers of its steps.
class WORKBENCH_API OpenRunInfo final : public HAXPExpInfoBase {
public:
    OpenRunInfo(HAXPExpRunBase* run, const std::string& name);
    ~OpenRunInfo() override;

    const DesignInputs& getInputs() const;
    /// Takes the inputs and names the files that the steps leave after them.
    void setInputs(const DesignInputs& inputs);

    /// A launch at `launchTime`, in seconds on the run directory's clock, that goes to
    /// the step with the abbreviation `toStep`. 0 for a run that isn't launched.
    void setLaunch(long launchTime, const std::string& toStep);
    const std::string& getLaunchedTo() const;

    /// What the last launch took from the inputs; empty when that isn't known.
    const workbench::InputRecord& getLaunchedInputs() const;
    void setLaunchedInputs(const workbench::InputRecord& record);
    /// The same of the inputs as they are now.
    workbench::InputRecord recordInputs() const;

    /// The numbers of the steps that are done, the later ones over the earlier. Read
    /// from the run directory by readMetrics().
    const ice40::StepMetrics& getMetrics() const;
    /// Reads the metrics files of the run directory anew; a step that left none, or a
    /// damaged one, tells nothing.
    void readMetrics();
    void clearMetrics();

    /// Rebuilds the reasons from options, and the run's reasons from inputs that are
    /// newer than the launch or not those of the launch. A run that isn't launched has
    /// none.
    void updStaleReasons() override;

private:
    void nameOutputs_();
    void addNewerFiles_();
    void addOtherInputs_();

    struct Extra;
    std::unique_ptr<Extra> m_extra;
};
