// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "environment/containers/HSTFwdIter.h"
#include "environment/containers/HSTVector.h"
#include "environment/observers/HUTDirtyObserver.h"
#include "environment/options/HATAttrObj.h"
#include "environment/options/HATOptGroupObserver.h"
#include "environment/tcl/native_cache.h"
#include "runs/base/xperiment/RunsExport.h"

class ComMsgMgrSrcHandle;
class HATOptGroup;
class HAXPExpInfoBase;
class HAXPExpRunStep;
class HAXPFlow;
class HAXPFlowStep;
class HAXPStat;
class HAXPStatSpec;
class HAXPStrategy;
class HAXRReportConfig;
class HAXRReportSpec;
class HAXRReportStrategy;
class HDGUIStatus;

namespace xperiment {
class RunPath;
}  // namespace xperiment

/// One pass of a flow over a design, in a run directory of its own.
///
/// The base keeps the steps, the private copies of strategy and report strategy,
/// the statistics and the rules of step selection. A concrete run supplies the
/// information object and the status and combines the states of the steps into
/// the run's; by itself the base has none of them: its status reads as 0, its
/// names read as empty, and what changes something throws HEXAlgException.
///
/// A run owns its steps: a step pointer is good until the steps are rebuilt or
/// dropped. Operations marked (locks) take the run's recursive mutex, which
/// guards the step list, the directory, mode, activation, latest and last step;
/// the other pointers belong to one thread at a time. No operation waits or takes
/// the lock of a statistic while it holds the mutex.
class RUNS_API HAXPExpRunBase : public HATOptGroupObserver,
                                public HATAttrObj,
                                public HUTDirtyObserver {
public:
    /// What is known of the results on disk.
    enum RunMode {
        kNotLaunched = 0,  ///< no results to track
        kLaunched = 1,     ///< the run directory holds, or may hold, results
        kUnknown = 2,      ///< the state on disk could not be established
    };

    /// A run without its parts; a concrete run calls its own initRun_() next.
    /// @throws HEXAlgException a null strategy.
    HAXPExpRunBase(const std::string& name, const HAXPStrategy* strategy,
                   const HAXRReportStrategy* reportStrategy);
    /// The same for the default steps of `flow`. @throws HEXAlgException a null flow.
    HAXPExpRunBase(const std::string& name, const HAXPFlow* flow);
    /// Makes script objects of the run invalid, then drops statistics, status, steps
    /// and strategies. The information object stays: the concrete run deletes it. What
    /// the scripting link throws passes on when all the rest is done.
    ~HAXPExpRunBase() noexcept(false) override;

    HAXPExpRunBase(const HAXPExpRunBase&) = delete;
    HAXPExpRunBase& operator=(const HAXPExpRunBase&) = delete;

    // What the run is.

    std::string getName() const;
    std::string getDescription() const;
    void setDescription(const std::string& description, bool markDirty);
    /// Renames the run, its script objects included, and puts the new name for the old
    /// one in the names of its reports. Directory and files stay as they are. (locks)
    virtual void renameRun(const std::string& newName);
    HAXPExpInfoBase* getExpInfoBase() const;
    /// Takes `ownedInfo` in place of the information object before it, which is
    /// deleted. The concrete run's destructor ends with null.
    void setExpInfoBase(HAXPExpInfoBase* ownedInfo);
    /// The run's roll-up status, owned by the run.
    HDGUIStatus* getStatus() const;
    /// The run's private copy, owned by the run.
    HAXPStrategy* getStrategy() const;
    /// The run's private copy, owned by the run; null when it has none.
    HAXRReportStrategy* getReportStrategy() const;
    void setStrategyName(const std::string& name);
    /// Nothing without a report strategy; its name reads as empty then.
    void setReportStrategyName(const std::string& name);
    std::string getReportStrategyName() const;

    /// The run directory; empty while none is assigned. (locks)
    void getRunDir(std::string& dir) const;
    /// With `update` also updateRun(), behind the lock. (locks)
    void setRunDir(const std::string& dir, bool update);
    RunMode getRunMode() const;                ///< (locks)
    void setRunMode(RunMode mode);             ///< (locks)
    HAXPExpRunStep* getLatestStep() const;     ///< The step started last, or null. (locks)
    void setLatestStep(HAXPExpRunStep* step);  ///< (locks)
    bool isActivated() const;                  ///< Whether the directory is in use. (locks)
    /// Activates the run exactly if it has a directory, then updateRun(). (locks)
    void checkToActivateRun();
    /// Takes the directory out of use, then updateRun(). (locks)
    void deactivateRun();

    // Statistics.

    int statCount() const;
    HSTFwdIter<HAXPStat*>* createStatIter() const;
    /// Clones each statistic of the statistics manager into the run.
    void createStats();
    /// The statistic whose spec has the name of `spec`; null for null or if none.
    HAXPStat* getStat(HAXPStatSpec* spec) const;
    bool hasErrorStat() const;
    void updateStats();
    /// Empties the statistics and closes the messages of the steps.
    void resetStats();
    void deleteStats();

    // Messages.

    HSTFwdIter<ComMsgMgrSrcHandle*>* createMsgMgrHandlesIter() const;
    /// Unloads the messages of every handle, in order, and forgets the handles, which
    /// belong to the steps. (locks)
    void closeAllMessageHandles();

    // Steps.

    HSTFwdIter<HAXPExpRunStep*>* createRunStepIter() const;
    /// The step of `flowStep`; null for null or a stranger. (locks)
    HAXPExpRunStep* getRunStep(const HAXPFlowStep* flowStep) const;
    /// Closes the messages and deletes every step; `latestStep` is left. (locks)
    void nukeSteps();
    /// Appends a step with an entry in the run's strategy.
    /// @throws HEXUserException the step filter refuses it and isn't skipped.
    /// @throws HEXAlgException a null step. The run is as it was after any throw.
    void addStep(const HAXPFlowStep* flowStep, bool markDirty, bool skipFilter);
    bool canAddStep(const HAXPFlowStep* flowStep, std::string& reason);
    bool canAddStep(const HAXPFlowStep* flowStep);
    bool canResetStep(const HAXPFlowStep* flowStep, std::string& reason);
    bool canResetStep(const HAXPFlowStep* flowStep);
    bool canRemoveStep(HAXPExpRunStep* step, std::string& reason);
    /// Deletes the step with its reports, its entry in the run's strategy and that in its
    /// report strategy; files stay. Nothing happens when the step filter refuses it and
    /// isn't skipped. `latestStep` is left: a concrete run clears it. (locks)
    /// @throws HEXAlgException the run doesn't have the step; or steps and strategy didn't
    /// go together before, in which case the step is gone.
    void removeStep(HAXPExpRunStep* step, bool skipFilter);
    /// The same for the step of `flowStep`; nothing if none.
    void removeStep(const HAXPFlowStep* flowStep, bool skipFilter);
    /// Takes back the step of `flowStep` and every one behind it, disabled ones too, from
    /// the last to the first: status markers, status and stale reasons, and with
    /// `cleanFiles` the files that it left. The queue markers of the run go as well. Mode,
    /// activation and file tables stay. Whether every step was taken back; false when
    /// there is none. (locks, not while it removes)
    /// @throws HEXUserException `checkFilter` is set and the step filter refuses.
    /// @throws HEXAlgException the same for a null step.
    /// What HAXPExpRunStep::resetStep() throws passes on; later steps are taken back then.
    bool resetStep(const HAXPFlowStep* flowStep, bool checkFilter, bool cleanFiles);
    /// The same with the filter and with files.
    bool resetStep(const HAXPFlowStep* flowStep);
    /// Takes over strategy, name and description of `strategy` and rebuilds the steps
    /// from it; with them go their report configurations and stale reasons. Whoever
    /// hears of the change finds the new steps; what that throws passes on, the
    /// strategy applied.
    /// @throws HEXAlgException null, or a step of `strategy` that isn't in its flow;
    /// nothing changes.
    void applyStrategy(const HAXPStrategy* strategy);
    /// The options that the run's strategy holds for `flowStep`, or its defaults, as a
    /// group of the caller's own. @throws HEXAlgException a null step.
    HATOptGroup* createOptionsForStep(const HAXPFlowStep* flowStep) const;

    // Reset.

    /// Takes the run back to its start, or to the step of its flow with this abbreviation,
    /// whatever the case; an empty one stands for the first step of the run. In this order:
    /// a launched run is stopped when `killFirst` says so; the step and those behind it are
    /// reset without asking the step filter, and with `emptyDir` their files go; from the
    /// first step on a launched run's directory is emptied with `emptyDir`, the information
    /// object forgets the results, and the run is deactivated; with `markDirty` the run is
    /// dirty. Mode, directory and latest step stay: the concrete run decides about them.
    ///
    /// A run that can't be stopped is reset all the same, but keeps its outputs: what still
    /// runs may write them. Whether all of it worked; for each thing that didn't, `errors`
    /// gets a sentence behind what is in it. With "project.enableLSFforRuns" on, a run of
    /// another host that the first attempts don't end is ended there, or through its cluster
    /// when it has a "job.id". Then that outcome alone decides whether outputs go, and what
    /// stands in `errors` is dropped when it worked, and before an attempt on the other host.
    ///
    /// With "runs.enableTemplatizedFlows" and "runs.launchI2FlowInProcess" on, a run of a
    /// local flow executes in this process: it is asked to stop, nothing is killed, and
    /// `emptyDir` counts as set.
    ///
    /// Takes up to eight seconds for each of two attempts to end what doesn't listen, with
    /// 500 ms between them, and as long as a kill command takes. Nothing of it happens under
    /// the run's mutex.
    /// @throws HEXAlgException the run has no step, strategy or information object; nothing
    /// changes. What resetStep() throws passes on; the run is stopped then.
    bool resetRun(const std::string& stepAbbrev, HSTVector<std::string>& errors, bool emptyDir,
                  bool killFirst, bool markDirty);
    /// The same to the start.
    bool resetRun(HSTVector<std::string>& errors, bool emptyDir, bool killFirst, bool markDirty);
    /// Removes what the run left in its directory; the directory stays. Of a flow whose name
    /// begins with "ZUM", "QSY" or "Tarnel Synthesis" that is every entry, and the answer
    /// is whether all of them are gone. Of any other flow it is the files of the information
    /// object's table, the scripts, logs and job files of a launch, and the files "*.mif",
    /// "*.txt" and "*.tmp"; what else lies there stays, what can't be removed too, and the
    /// answer is true. True without a directory. No link is followed, no name leads out.
    /// @throws HEXAlgException the run has no strategy, or no information object.
    bool emptyRunDir();
    /// Runs `killCommand` with `argument` as its last word, and waits for it. Whether its
    /// program, the text up to the first blank, is found, and ends with status 0. False for
    /// an argument with a zero byte in it. The last argument isn't read.
    bool killRun(const std::string& killCommand, const std::string& argument, bool ignored);

    // Reports. A report belongs to a step and goes with it. A refusal to make one is a
    // message and null.

    /// Takes over reports, name and description of `reportStrategy` and makes the run's
    /// reports anew from it, the fixed ones that every run has included. Files stay: the
    /// caller resets the reports first when there are results. A step that the run
    /// lacks is passed over. A report that clashes with another is left out.
    /// @throws HEXAlgException null, or the run has no report strategy; nothing changes.
    void applyReportStrategy(const HAXRReportStrategy* reportStrategy);
    /// A new report `name`, unique in the run, of `step`, which owns it. `spec` is
    /// borrowed from the catalogue or the run's own report strategy and outlives the
    /// report; one without a pretty display name of its options makes a static report.
    /// A change of the report's options marks the run dirty. Null, with a message, when
    /// `step` or `spec` is null or the name is taken. (locks)
    HAXRReportConfig* createReportConfig(const std::string& name, HAXPExpRunStep* step,
                                         HAXRReportSpec* spec, const std::string& displayName,
                                         bool markDirty);
    /// The same for the step with exactly this id; null, without a message, if none.
    HAXRReportConfig* createReportConfig(const std::string& name, const std::string& stepId,
                                         HAXRReportSpec* spec, const std::string& displayName,
                                         bool markDirty);
    /// A report that the run leaves by itself and that is only tracked. The run keeps its
    /// specification as long as the report points to it.
    void createStaticReport(const std::string& stepId, const std::string& specName,
                            const std::string& shortDesc);
    /// The static reports of the flow of the report strategy; nothing without a flow.
    void addStaticReports();
    /// Removes the files of `config` and deletes it. Whether its step had it; false for
    /// null. Marks the run dirty then. (locks)
    bool deleteReportConfig(HAXRReportConfig* config);
    /// Deletes every report; their files stay. (locks)
    void deleteAllReportConfigs(bool markDirty);
    int getTotalConfigCount() const;  ///< The reports of all steps. (locks)
    /// Whether no report of the run has exactly this file, name or display name. (locks)
    bool isUniqueReportFileName(const std::string& file) const;
    bool isUniqueReportConfigName(const std::string& name) const;
    bool isUniqueReportConfigDisplayName(const std::string& displayName) const;
    /// Takes over the name of `reportStrategy` if the run's reports, as they are now,
    /// don't differ from it, and marks the run dirty then. Whether they don't.
    /// @throws HEXAlgException the run has no strategy to tell its flow.
    bool copyNameIfSameAsRunReportStrategy(const HAXRReportStrategy* reportStrategy);
    /// Whether some report should be made now, apart from the run. (locks)
    bool isReportGenerationNeeded() const;

    // Selection. "Usable" is enabled and not virtual.

    /// The number of steps, or of enabled ones. (locks)
    int effectiveStepCount(bool enabledOnly) const;
    /// From 0; 0 for a step of another run too. (locks)
    int getStepIndex(const HAXPExpRunStep* step) const;
    HAXPExpRunStep* getFirstStep() const;  ///< Whatever its state; null if none. (locks)
    /// The first usable step; the last step when none is usable, null when there is no
    /// step at all. (locks)
    HAXPExpRunStep* getFirstNonVirtualEnabledStep() const;
    /// The first step with a stale reason, disabled and virtual ones included. (locks)
    HAXPExpRunStep* getFirstStaleStep() const;
    /// Of the step with this id, whatever the case, and those before it the first one
    /// that is stale, else the step itself. For an id that the run lacks the first
    /// stale step of all; null if none. The steps are walked again only after one of
    /// them changed. (locks)
    HAXPExpRunStep* getFirstStaleOrOwnStep(const std::string& stepId) const;
    /// The last usable step that is done, whatever failed before it. (locks)
    HAXPExpRunStep* getLastDoneStep() const;
    /// The last usable step that is running, done or failed. (locks)
    HAXPExpRunStep* getLastAttemptedStep() const;
    HAXPExpRunStep* getLastStep() const;  ///< The last enabled one, virtual or not. (locks)
    /// The step a run goes to when no last step was chosen: getLastStep() here.
    virtual HAXPExpRunStep* getDefaultLastStep() const;
    /// The abbreviation of the step to stop at; empty chooses the default. (locks)
    void setToStepId(const std::string& abbrev);
    /// Makes `abbrev` the chosen one or that of the default last step, empty without
    /// one, and returns it. (locks)
    std::string& getToStepId(std::string& abbrev) const;
    /// The step of getToStepId(), whatever the case; null if none. (locks)
    HAXPExpRunStep* getToStep() const;
    /// The enabled step behind `step`, virtual ones included; null for the last step or a
    /// stranger. For a null `step` the first one, and the first usable one with
    /// `skipVirtualAtStart`. (locks)
    HAXPExpRunStep* getNextStep(const HAXPExpRunStep* step, bool skipVirtualAtStart) const;
    /// The enabled step before `step`; null if none. (locks)
    HAXPExpRunStep* getPrevStep(const HAXPExpRunStep* step) const;
    HAXPExpRunStep* getFirstIncompleteStep() const;  ///< Behind the last done step. (locks)
    HAXPExpRunStep* getResetFromStep() const;        ///< (locks)
    HAXPExpRunStep* getEffectiveNextStep() const;    ///< (locks)
    /// Adds the abbreviations of the usable steps that a launch would go through, from
    /// getEffectiveNextStep() to the end, whatever step was chosen to stop at. The size
    /// of `names` afterwards. (locks)
    int getNextSteps(HSTVector<std::string>& names) const;
    HAXPExpRunStep* getEffectivePrevStep() const;  ///< The last attempted step. (locks)
    bool canResetPrevStep() const;
    /// Whether the next step may be launched. The run must have a last step.
    bool canLaunchNextStep() const;
    /// Whether `step` was ever started, as the disk tells; false for null.
    bool isANonInitStep(const HAXPExpRunStep* step) const;
    /// Whether an enabled step behind `step` was ever started. (locks)
    bool hasNonInitRunStepAfter(const HAXPExpRunStep* step) const;
    /// Whether a report can be added to `step`: to a usable one always, but once it has
    /// begun not to one that writes the image for the device; to another one as long as
    /// no step behind it was started. False for null.
    bool canAddReport(const HAXPExpRunStep* step) const;
    /// Whether the run stopped short at a real step that is done.
    bool isPartiallyDone() const;
    /// Whether a launch has to reset the run first; a partly done run may go on.
    bool needsReset() const;

    // Status.

    /// Derives the status of the run and its steps anew from the run directory. Called
    /// before each decision that reads a status. Does nothing here. An override never
    /// waits for the tool and doesn't call updateRun().
    virtual void updateStatus();
    /// Sets the status of `step`, or of the run when it is null. Does nothing here.
    virtual void setRunStatus(HAXPExpRunStep* step, int status);
    /// Brings status, reports and statistics up to date with the disk: the one way in
    /// which they change. A run that isn't launched or has no directory loses them.
    void updateRun();
    /// Looks for the reports of the steps that are done or failed and forgets those of
    /// the others. (locks)
    void updateReports(const std::string& runDir);
    void resetReports();  ///< (locks)

protected:
    /// Sets mode, activation and pointers back to a run without its parts. A concrete
    /// run's own version also makes information object, status, strategy copies, steps
    /// and statistics; its constructor calls it, since a constructor of this class
    /// can't. The arguments aren't read here.
    virtual void initRun_(const std::string& name, const HAXPStrategy* strategy,
                          const HAXRReportStrategy* reportStrategy);
    /// A value of a strategy or report changed: marks the run dirty and no more.
    void optionsChangedCallback_(HATOptGroup* group) override;
    /// The run must reach the project file. Does nothing here.
    void setDirtyCallback_() override;

    /// Takes over the object, for initRun_() of a concrete run; one that it replaces is
    /// deleted.
    void setStatus_(HDGUIStatus* ownedStatus);
    void setStrategy_(HAXPStrategy* ownedStrategy);
    /// The caller deletes the reports of the one before first: they point to its
    /// specifications, which go with it.
    void setReportStrategy_(HAXRReportStrategy* ownedStrategy);
    /// What applyStrategy() hands to HAXPStrategy::copyStrat() as its last argument:
    /// whether "write_device_image" stands in place of "write_bitstream".
    void setStrategyCopyFlag_(bool flag);
    /// Puts `handle`, a member of a step, at the end of the list; null, or one listed
    /// already, is ignored. Not owned.
    void addMsgHandle_(ComMsgMgrSrcHandle* handle);
    bool isActivated_() const;  ///< (locks)
    /// The whole content of the file "job.id" in the run directory, as the layer that
    /// submits jobs wrote it, a line end included; empty when it can't be read, or is larger
    /// than any identifier.
    std::string readClusterJobIdentifier_() const;

private:
    class Stopper;

    int statusCode_() const;
    HAXPExpInfoBase& requireInfo_() const;
    HAXPStrategy& requireStrategy_() const;
    HAXPExpRunStep* successor_(const HAXPExpRunStep* step) const;
    template <class Accept> HAXPExpRunStep* firstStep_(Accept accept) const;
    template <class Accept> HAXPExpRunStep* lastStep_(Accept accept) const;
    HAXRReportStrategy& requireReportStrategy_() const;
    void appendStep_(const HAXPFlowStep* flowStep);
    void takeStep_(std::unique_ptr<HAXPExpRunStep> step);
    void requireResettable_(const HAXPFlowStep* flowStep);
    HAXPExpRunStep& requireFirstStep_() const;
    bool executesInProcess_() const;
    bool stopForReset_(const std::string& runDir, bool killFirst, HSTVector<std::string>& errors,
                       bool& emptyDir);
    void removeNamedFiles_(xperiment::RunPath& dir) const;
    std::vector<HAXPExpRunStep*> stepsFrom_(const HAXPFlowStep* flowStep) const;
    std::unique_ptr<HAXPExpRunStep> takeOut_(const HAXPExpRunStep* step);
    void dropStepsFrom_(int count);
    void buildSteps_();
    void updatePlaces_() const;
    bool hasReport_(const HAXPExpRunStep& step, const std::string& name) const;
    /// Make the reports of the report strategy, or those of one of its entries.
    void buildReports_();
    void buildReport_(const std::string& stepId, HAXRReportSpec* spec);
    HAXRReportConfig* addReport_(const std::string& stepId, HAXRReportSpec* spec);
    void alignReportNames_(const std::string& oldName, const std::string& newName);
    void dropUnusedStaticSpecs_();
    void finish_();

    struct Data;
    std::unique_ptr<Data> m_data;
};

/// The Tcl handles on runs, one table for the whole process.
extern template class RUNS_API mqi::tcltasks::native_cache<HAXPExpRunBase*>;
