// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>

#include "environment/containers/HSTFwdIter.h"
#include "environment/containers/HSTFwdKeyIter.h"
#include "environment/containers/HSTVector.h"
#include "environment/filemgmt/HADAStaleReason.h"
#include "environment/observers/HUTDirtyNotifier.h"
#include "environment/observers/HUTGuiEventListener.h"
#include "runs/base/xperiment/HAXPTypes.h"
#include "runs/base/xperiment/RunsExport.h"

class HADAFileSet;
class HADAStaleReasons;
class HAXPExpRunBase;
class HAXPFileType;
class HAXPFlowType;
class HAXPStrategy;

/// What a run remembers about itself apart from its steps: its name, the files
/// that it made, the snapshot of sources and strategy taken at launch, its
/// cluster settings and the stale reasons of the run as a whole.
///
/// A concrete run derives from it and fills the snapshots and the launch time;
/// steps, reports and scripts ask it for file names. The file tables by type and
/// by universal type are independent of each other. It has no lock.
class RUNS_API HAXPExpInfoBase : public HUTDirtyNotifier, public HUTGuiEventListener {
public:
    /// `run` isn't owned. `name` is the run's, and that of the event listener.
    HAXPExpInfoBase(HAXPExpRunBase* run, const std::string& name);
    /// Deletes the snapshots.
    ~HAXPExpInfoBase() override;

    HAXPExpRunBase* getRun() const;
    const std::string& getRunName() const;
    void setRunName(const std::string& name);
    const std::string& getDescription() const;
    void setDescription(const std::string& description);

    /// The live sources of the design, not owned; may be null.
    HADAFileSet* getSrcSet() const;
    virtual void setSrcSet(HADAFileSet* srcSet, bool markDirty);
    /// The snapshot of the sources, which this object owns; null without one. What it
    /// replaces isn't deleted.
    HADAFileSet* getRunSrcSet() const;
    void setRunSrcSet(HADAFileSet* ownedSrcSet);
    /// The strategy as it was at launch, owned in the same way.
    HAXPStrategy* getRunSnapshotStrategy() const;
    void setRunSnapshotStrategy(HAXPStrategy* ownedStrategy);

    HAXPTypes::FlowType getFlowType() const;
    void setFlowType(HAXPTypes::FlowType flowType);
    /// Copies the flow type that holds across versions; false, with `out` as it was,
    /// when none was set.
    bool getUniversalFlowType(HAXPFlowType& out) const;
    void setUniversalFlowType(const HAXPFlowType& flowType);
    bool isImplFlow() const;
    bool isSynthFlow() const;
    virtual bool isSimFlow() const;

    /// Whether the sources are those of a block of the design, or of a
    /// reconfigurable module.
    bool isBlockRun() const;
    bool isRMBlockRun() const;

    /// Whole seconds since the epoch on the run directory's clock; 0 before launch.
    long getLaunchTime() const;

    bool needsResetForFlowChange() const;
    void setNeedsResetForFlowChange(bool needsReset);
    bool isReconstructed() const;
    void setReconstructed(bool reconstructed);
    const std::string& getClusterConfigurationName() const;
    /// An equal name changes nothing and marks nothing.
    void setClusterConfigurationName(const std::string& name, bool markDirty);
    const std::string& getJobIdentifier() const;
    void setJobIdentifier(const std::string& identifier);

    /// Whether the run as a whole has stale reasons; those of steps don't count.
    bool isCompleteRunResetRequired() const;
    /// Whether the first step has been started; true for a run without steps.
    bool isPartialRun() const;

    /// Files by type, as paths below the run directory. setFile() makes the list of a
    /// type one entry, setFiles() a copy.
    void setFile(HAXPTypes::FileType type, const std::string& file);
    void setFiles(HAXPTypes::FileType type, const HSTVector<std::string>& files);
    /// The first file of `type`, good until the type is set again; a shared empty text
    /// for a type that was never set.
    /// @throws std::out_of_range the type was set to an empty list.
    const std::string& getFile(HAXPTypes::FileType type) const;
    /// Makes `out` the files of `type` and returns their number; a type that was never
    /// set leaves `out` as it was and gives its size.
    int getFiles(HAXPTypes::FileType type, HSTVector<std::string>& out) const;
    void clearFileHash();
    /// Over the types that were set, in the table's own order.
    virtual HSTFwdKeyIter<HAXPTypes::FileType>* createFileTypeIter() const;

    /// Files by universal type, in the same way; `key` is HAXPFileType::getUniversalId().
    void setFileUniversal(const HAXPFileType& type, const std::string& file);
    void setFilesUniversal(const HAXPFileType& type, const HSTVector<std::string>& files);
    const std::string& getFileUniversal(const std::string& key) const;
    int getFilesUniversal(const std::string& key, HSTVector<std::string>& out) const;
    void clearFileHashUniversal();
    /// In ascending order of the keys.
    virtual HSTFwdKeyIter<std::string>* createFileUniversalTypeIter() const;

    /// Whether the run or a step of it is stale.
    virtual bool isStale() const;
    /// Adds a copy of the run's reasons and then those of each step; whether `out`
    /// holds a reason afterwards.
    virtual bool getStaleReasons(HADAStaleReasons& out) const;
    /// Forgets the reasons of the run as a whole; those of steps stay.
    void removeAllStaleReasons();

    /// Hook: brings all stale reasons up to date. Does nothing here.
    virtual void updStaleReasons();
    /// Hook: brings the reasons from a changed file set up to date. Answers true here.
    virtual bool updStaleFileReasons(HADAFileSet* current, HADAFileSet* snapshot,
                                     HADAStaleReason::StaleSummary summary);
    /// Compares the run's strategy with the snapshot, step by step.
    virtual void updStaleOptionReasons();

    /// Forgets the results of the run: files by type, events, stale reasons, launch
    /// time and snapshots, which are deleted. Files by universal type stay.
    virtual void resetRun();

protected:
    /// Does nothing here.
    void handleEvent_(const HUTGuiEvent::GuiEventBase* event) override;

    /// A private copy of `source` for this run, which the file manager of `source`
    /// makes and the caller owns.
    /// @throws HEXAlgException `source` is null or has no file manager.
    HADAFileSet* createSnapshotSrcSet_(HADAFileSet* source, const std::string& name);

    /// Looks for sources of `fileSet` that are newer than the launch, and tells every
    /// step of the run. Whether one is concerned. May read the times of files. Does
    /// nothing while modifiedFilesChecked_() holds. What can't be read counts as newer.
    /// @throws HEXAlgException `fileSet` is null.
    bool checkForAlreadyModifiedFiles_(HADAFileSet* fileSet);

    void setLaunchTime_(long seconds);
    bool modifiedFilesChecked_() const;
    void setModifiedFilesChecked_(bool checked);
    HADAStaleReasons& staleReasons_();

private:
    struct Data;
    std::unique_ptr<Data> m_data;
};
