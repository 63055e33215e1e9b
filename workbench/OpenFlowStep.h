// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "runs/base/xperiment/HAXPFlowStep.h"
#include "workbench/WorkbenchExport.h"

namespace workbench {
struct StepTable;
}

/// A step of the iCE40 flows, made from its table.
///
/// Its program stands in the product's folder of programs and leaves
/// "<step id>.metrics.json" in the run directory.
class WORKBENCH_API OpenFlowStep final : public HAXPFlowStep {
public:
    /// `table` must outlive the step.
    explicit OpenFlowStep(const workbench::StepTable& table);
    ~OpenFlowStep() override;

protected:
    void configOptions_(HATOptGroupSpec* optionsSpec) override;
    void configReports_() override;
    /// The files and settings that the design fixes, from the run's inputs.
    void writePrePostOpts_(std::string& pre, std::string& post, HATOptGroup* options,
                           HAXPExpRunBase* run) const override;

private:
    const workbench::StepTable& m_table;
};
