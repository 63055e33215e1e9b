// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "environment/containers/HSTFwdIter.h"
#include "environment/containers/HSTFwdKeyIter.h"
#include "environment/containers/HSTVector.h"
#include "environment/filemgmt/HADAStaleReason.h"
#include "runs/base/xperiment/HAXPTypes.h"
#include "runs/base/xperiment/RunsExport.h"

class ComMsgMgrSrcHandle;
class HADAFileSet;
class HADAFileSetChangeSummary;
class HADAStaleReasons;
class HATOptGroup;
class HAXPExpInfoBase;
class HAXPExpRunBase;
class HAXPFileCheck;
class HAXPFlowStep;
class HAXPStrategy;
class HAXRReportConfig;
class HDDASrcFile;
class HDDASrcFilter;
class HDGUIStatus;
class HUTProcessHandle;

namespace xperiment {
class RunPath;
}  // namespace xperiment

/// One step of one run: the live counterpart of a flow step.
///
/// It pairs the flow step with the options and attributes that the run's
/// strategy holds for it, and keeps the step's status, its process, its report
/// files and reports, its stale reasons and the names of the files that it leaves. The run
/// owns it; flow step, options, attributes and information object are borrowed
/// and must outlive it.
///
/// It has no lock of its own: it is touched under the run's mutex when reached
/// through the run's walks.
class RUNS_API HAXPExpRunStep final {
public:
    /// `attrs` may be null: the step is enabled then and has no hooks.
    HAXPExpRunStep(const HAXPFlowStep* flowStep, HATOptGroup* options, HATOptGroup* attrs,
                   HAXPExpInfoBase* expInfo);
    ~HAXPExpRunStep();

    HAXPExpRunStep(const HAXPExpRunStep&) = delete;
    HAXPExpRunStep& operator=(const HAXPExpRunStep&) = delete;

    const HAXPFlowStep* getFlowStep() const;
    HATOptGroup* getOptions() const;
    HATOptGroup* getAttrs() const;
    /// Owned by the step, as is the process handle; good as long as the step.
    HDGUIStatus* getStatus() const;
    HUTProcessHandle* getProcInfo() const;

    bool isVirtual() const;
    /// What the attribute "EnableStepBool" says; true without it.
    bool isEnabled() const;

    /// The Tcl file that runs before, or after, the step; empty without one. A file
    /// that doesn't exist is told in a warning and given all the same.
    std::string getPreHook() const;
    std::string getPostHook() const;

    /// Makes the files of `type` that one, or a copy of `files`.
    void setFile(HAXPTypes::FileType type, const std::string& file);
    void setFiles(HAXPTypes::FileType type, const HSTVector<std::string>& files);
    /// The first file of `type`, good until the type is set again; a shared empty
    /// text for a type that was never set.
    /// @throws std::out_of_range the type was set to an empty list.
    const std::string& getFile(HAXPTypes::FileType type) const;
    /// Makes `files` those of `type` and returns their number; a type that was never
    /// set leaves `files` as it was and gives its size.
    int getFiles(HAXPTypes::FileType type, HSTVector<std::string>& files) const;
    void clearFileHash();
    /// Over the types that were set, in the table's own order.
    HSTFwdKeyIter<HAXPTypes::FileType>* createFileTypeIter() const;
    /// The checkpoint that the step leaves, as the run's file table names it; empty
    /// for a step that leaves none.
    std::string getDcpFile() const;

    /// Makes a file check for each report of the flow step, in its order.
    void createReports(HAXPExpInfoBase* expInfo);
    int reportCount() const;
    /// Over the file checks, which the step owns.
    HSTFwdIter<HAXPFileCheck*>* createReportIter() const;
    /// Looks for every report in `runDir`; each check takes its own lock.
    void updateReports(const std::string& runDir);
    /// Forgets where the reports were; no file is touched.
    void resetReports();
    void deleteReports();

    // Report configurations, which the step owns. The run's operations of the same names
    // see to it that a report is unique in the run.

    /// Takes `ownedConfig` over as the last one; null is ignored.
    void addReportConfig(HAXRReportConfig* ownedConfig);
    /// The first one with exactly this name; null if none.
    HAXRReportConfig* getReportConfig(const std::string& name) const;
    HAXRReportConfig* getReportConfigByDisplayName(const std::string& displayName) const;
    int getConfigCount() const;
    /// The caller deletes the iterator, before the list changes.
    HSTFwdIter<HAXRReportConfig*>* createReportConfigIter() const;
    /// Removes the files of the report and deletes it; false, with a message, if none
    /// has this name.
    bool deleteReportConfig(const std::string& name);
    /// Deletes every one; their files stay.
    void deleteAllReportConfigs();
    /// Looks for the files of every one. Whether the state of one changed.
    bool updateReportConfigs();
    /// Removes the files of every one.
    void resetReportConfigs();
    /// Whether a report of the step should be made now; false while it is disabled.
    bool isReportGenerationNeeded() const;
    /// Puts the new name of the run for the old one in the names of the reports.
    void alignReportNamesWithRun(const std::string& oldRunName, const std::string& newRunName);

    /// The runs that share this step, not owned, each once. Null is ignored.
    void addRun(HAXPExpRunBase* run);
    void removeRun(HAXPExpRunBase* run);
    HSTFwdIter<HAXPExpRunBase*>* createRunIter() const;

    bool isStale() const;
    /// Adds a copy of the step's reasons to `reasons` and returns isStale().
    bool getStaleReasons(HADAStaleReasons& reasons) const;
    void removeStaleReason(HADAStaleReason::StaleSummary summary);
    void resetStaleReasons();
    /// Adds to `filter` which sources concern the step: enabled ones, used in the run's
    /// kind of flow, of the kinds that the flow step reads.
    void initRunStepSrcFilter(HDDASrcFilter& filter) const;
    /// Judges a change of sources, or with `srcFile` of that one alone, and notes a
    /// reason when it concerns the step. Whether it does. Notes never do; nothing does
    /// before the step has run. When all that happened is that block designs were
    /// added, the answer is false and updateStaleReasonsPostGraphUpdate() decides.
    /// "write_device_image" is stale too when a block's output for the image is newer
    /// than the launch; that doesn't change the answer. A null summary changes nothing.
    bool updateStaleReasons(HADAFileSetChangeSummary* summary, HDDASrcFile* srcFile);
    /// Decides on the block designs that were added, now that the design's graph shows
    /// which of them it takes in, and forgets them. Whether one matters. They must still
    /// be in their file set. The argument isn't read.
    bool updateStaleReasonsPostGraphUpdate(HADAFileSetChangeSummary* summary);
    /// Whether a change is nothing but added block designs, which are kept for the graph
    /// update; true also for one that is kept already. False for null.
    bool hasOnlyBDAdded(HADAFileSetChangeSummary* summary);
    /// Notes that a parameter of the software changed, in place of an earlier note.
    void updateStaleReasonsForSwParamChange();
    /// Holds the step's options in `current`, the run's strategy, against `snapshot`,
    /// that of the launch, and rebuilds the reasons that come from options. Whether
    /// there is one. A step that has not run is compared in its enabled state alone,
    /// and only with `compareAll`; a disabled one that has run only with
    /// `compareAll` too. A null strategy changes nothing; strategies of two flows
    /// mark the run as needing a reset and give no reasons.
    bool updateStaleReasons(HAXPStrategy* current, HAXPStrategy* snapshot, bool compareAll);

    /// Derives the step's status from the markers in `runDir`. Whether a report
    /// configuration changed with it. What the reading of a process handle throws
    /// passes on, and the status is that of before.
    bool updateStatus(const std::string& runDir);
    /// Back to not started: the messages of the step are unloaded, its process is
    /// forgotten. No file is touched.
    void resetStatus();

    /// Takes the step back: removes its status markers from `runDir`, resets its status
    /// and forgets its stale reasons; with `cleanFiles` it also removes its report files,
    /// the files that its flow step generates, by the file tables of run and step, and its
    /// message file. Nothing outside of `runDir` is reached through a link or a name. False
    /// when a marker can't be removed: then reasons and files stay. Other files that can't
    /// be removed don't change the answer.
    /// @throws std::regex_error a generated file's pattern isn't one.
    /// @throws boost::filesystem::filesystem_error the folder of a pattern can't be read;
    /// after both, markers and status are gone and the stale reasons stay.
    bool resetStep(const std::string& runDir, bool cleanFiles);

    /// The step's message handle, loaded or not; good as long as the step.
    ComMsgMgrSrcHandle& getMsgSrcHandle() const;
    /// The messages of the finished step, loaded from its message file in `runDir` at
    /// the first call. Owned by the step. Null while the step isn't done or failed,
    /// has no message file, or `runDir` is empty.
    ComMsgMgrSrcHandle* getComMsgMgrSrcHandle(const std::string& runDir);

private:
    friend class HAXPExpRunBase;

    /// Has the step add one to `counter` whenever its stale reasons change. Not owned;
    /// outlives the step.
    void countStaleChangesIn_(std::atomic<unsigned long>& counter);
    std::string hookFile_(const std::string& dbId) const;
    bool resetStep_(xperiment::RunPath& dir, bool cleanFiles);
    void removeReportFiles_(xperiment::RunPath& dir);
    void removeGeneratedFiles_(xperiment::RunPath& dir);
    bool rebuildOptionReasons_(HAXPStrategy* current, HAXPStrategy* snapshot, bool compareAll);
    void checkDeviceImage_(const HADAFileSet* fileSet);
    void unloadMessages_();

    struct Data;
    std::unique_ptr<Data> m_data;
};
