// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/containers/HSTVector.h"
#include "runs/base/xperiment/HAXPFileSpec.h"
#include "runs/base/xperiment/HAXPFileType.h"
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

    /// The file type under which a run knows what the step makes by name, and those
    /// names.
    const HAXPFileType& getOutputType() const { return m_outputType; }
    HSTVector<std::string> getOutputNames() const;

protected:
    void configOptions_(HATOptGroupSpec* optionsSpec) override;
    void configReports_() override;
    /// The kinds of files that the step reads.
    void initSrcFilter_() override;
    /// Reads the record of a process only while the step runs: that of one that has ended tells
    /// of a process that is gone.
    void updStatus_(HDGUIStatus* status, HUTProcessHandle* handle,
                    const std::string& runDir) const override;
    /// The files and settings that the design fixes, from the run's inputs.
    void writePrePostOpts_(std::string& pre, std::string& post, HATOptGroup* options,
                           HAXPExpRunBase* run) const override;

private:
    const workbench::StepTable& m_table;
    HAXPFileType m_outputType;
    /// What goes when the step is reset.
    HAXPFileSpec m_generated;
};
