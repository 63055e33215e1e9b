// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "runs/base/xperiment/HAXPExpInfoBase.h"
#include "workbench/WorkbenchExport.h"
#include "workbench/inputFiles.h"
#include "workbench/inputRecord.h"
#include "workbench/toolStamps.h"

namespace ice40 {
struct StepMetrics;
}

namespace workbench {

/// What a step was made with and that is otherwise now: a setting of the design, or a
/// tool.
struct SettingChange {
    std::string stepId;
    bool isTool = false;
    std::string name;
    std::string before;
    std::string after;
    /// In seconds since the epoch; 0 when nothing tells.
    std::time_t since = 0;
};

}  // namespace workbench

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

    /// The files that the last launch read, as they were then; empty when that isn't
    /// known.
    const workbench::InputFiles& getLaunchedFiles() const;
    void setLaunchedFiles(const workbench::InputFiles& files);
    /// The tools of the run's steps at the last launch, as far as they are known.
    const workbench::ToolStamps& getLaunchedTools() const;
    void setLaunchedTools(const workbench::ToolStamps& tools);
    /// Takes inputs, files and tools for those of a launch that begins. The files are
    /// those that the last updStaleReasons() decided on: what changes behind that decision
    /// changed since the launch. Without one they are looked at now. The tools of steps
    /// that are done and stay stay too.
    void recordLaunch();

    /// The numbers of the steps that are done, the later ones over the earlier. Read
    /// from the run directory by readMetrics().
    const ice40::StepMetrics& getMetrics() const;
    /// Reads the metrics files of the run directory anew; a step that left none, or a
    /// damaged one, tells nothing.
    void readMetrics();
    void clearMetrics();

    /// Forgets also the launch and the numbers of the steps.
    void resetRun() override;

    /// Rebuilds the reasons of every step that has begun: options, contents of files,
    /// inputs and tools that aren't those of the launch. Of a launch without a record of
    /// files those count that are newer. A run that isn't launched has no reasons. Reads
    /// only files that may have changed; starts a tool, to ask for its version, only when
    /// its program isn't that of the launch, once for the life of the process.
    void updStaleReasons() override;

    /// What changed according to the last updStaleReasons(), with what the reasons of the
    /// steps don't hold.
    const std::vector<workbench::FileChange>& getFileChanges() const;
    const std::vector<workbench::SettingChange>& getSettingChanges() const;
    /// What is otherwise than at the launch without meaning anything to the tools, according
    /// to the last updStaleReasons(): comments, or a netlist that a later synthesis made anew.
    /// No reason to be stale.
    const std::vector<workbench::FileChange>& getQuietChanges() const;
    /// Whether a later synthesis than that of the launch made the same netlist.
    bool isNetlistMadeAnew() const;

private:
    void nameOutputs_();
    std::string dirOf_() const;
    void recordTool_(const std::string& tool, bool isKept, workbench::ToolStamps& tools) const;
    void addFileChanges_();
    void dropQuietChanges_();
    bool isQuiet_(const workbench::FileChange& change) const;
    bool meantTheSame_(const workbench::FileChange& change) const;
    bool isSameNetlistOfLaterSynthesis_() const;
    void addSettingChanges_();
    void addToolChanges_();
    void tellSteps_(HADAFileSet& set, const std::vector<workbench::FileChange>& changes);

    struct Extra;
    std::unique_ptr<Extra> m_extra;
};
