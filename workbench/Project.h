// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "runs/base/xperiment/HAXPStratDB.h"
#include "workbench/DesignInputs.h"
#include "workbench/WorkbenchExport.h"

class HAXPExpRun;
class HAXPFlow;
class HAXPStrategy;

namespace workbench {
struct ReportRecord;
struct RunFamily;
}  // namespace workbench

/// A design, its runs and where they lie: a folder with a project file.
///
/// The file holds what the user chose and what was launched, never a status: that
/// comes from the run directories each time. Paths inside the folder are kept
/// relative to it, so that the folder can move. A save leaves the old file or the
/// new one, whole.
///
/// A project that is open for changes holds a lock on its folder; any number of
/// others may read it meanwhile. It belongs to one thread. What a user can cause is
/// a HEXUserException with the whole message.
class WORKBENCH_API Project final : public HAXPStratDB {
public:
    /// An overview is for reading, and its runs come without their reports: quickly, for who
    /// asks a thousand runs for status and figures alone.
    enum Access { kRead, kChange, kOverview };

    /// The project file in a project's folder.
    static const char kFileName[];

    /// The folder of the project in `dir` or the next folder above that holds one, absolute.
    /// @throws HEXUserException there is none.
    static std::string findDir(const std::string& dir);

    /// The paths in the project's folder `dir` of which one is another file, or has another time,
    /// whenever a project was saved in whole or in part. Not each of them is there.
    static std::vector<std::string> savedPaths(const std::string& dir);

    /// Makes a project in `dir`, which is made if it isn't there, open for changes and
    /// saved. @throws HEXUserException there is one already, or it can't be made.
    static std::unique_ptr<Project> create(const std::string& dir, const DesignInputs& inputs);

    /// Opens the project in `dir` or the next folder above that holds one, and brings
    /// its runs up to date with their directories. @throws HEXUserException there is
    /// none, it is damaged or of a newer version, or with kChange it is open for changes
    /// elsewhere.
    static std::unique_ptr<Project> open(const std::string& dir, Access access);

    /// Unsaved changes are lost.
    ~Project() override;

    const std::string& getName() const { return m_name; }
    /// Absolute, without a separator at its end.
    const std::string& getDir() const { return m_dir; }
    std::string getRunsDir() const;

    /// The inputs of the design, without a netlist; all paths absolute.
    const DesignInputs& getInputs() const { return m_inputs; }
    /// Takes `inputs` and hands them to every run. @throws HEXUserException a path can't
    /// enter a script.
    void setInputs(const DesignInputs& inputs);
    /// Hands `run`, and the runs that start from it, their inputs anew: they follow from its
    /// directory and its launch.
    void tellDependants(const HAXPExpRun& run);

    /// The runs in order of creation; the project owns them.
    std::vector<HAXPExpRun*> getRuns() const;
    HAXPExpRun* findRun(const std::string& name) const;
    /// findRun(), or @throws HEXUserException that lists the names.
    HAXPExpRun& getRun(const std::string& name) const;

    /// Makes a run over `flow` with a copy of the shipped strategy `strategyName`. An
    /// implementation starts from the netlist of the synthesis run `synthesis`; empty
    /// takes the project's first one. Its reports are those of the report strategy
    /// `reportStrategyName`; empty takes the flow's default, if it has one.
    /// @throws HEXUserException a bad or known name, no such strategy or synthesis.
    HAXPExpRun& createRun(const std::string& name, const HAXPFlow& flow,
                          const std::string& strategyName, const std::string& synthesis,
                          const std::string& reportStrategyName = "");

    /// Takes `run` out of the project and deletes it; its directory stays. None starts from it.
    void removeRun(const HAXPExpRun& run);

    /// The synthesis that an implementation starts from; null for a synthesis.
    HAXPExpRun* getSynthesisOf(const HAXPExpRun& run) const;

    /// The family of runs to which `run` belongs; with empty names for none.
    const workbench::RunFamily& getFamilyOf(const HAXPExpRun& run) const;
    /// @throws HEXUserException a name that a run couldn't have.
    void setFamilyOf(const HAXPExpRun& run, const workbench::RunFamily& family);

    /// Gives `run` a copy of the strategy `name`; its options are lost, its reports stay.
    void applyStrategy(HAXPExpRun& run, const std::string& name);

    /// Gives `run` the reports of the report strategy `name` in place of its own, whose
    /// files go. @throws HEXUserException no such one, or the run is at work.
    void applyReportStrategy(HAXPExpRun& run, const std::string& name);

    /// Makes `run` end at the step with the short name `abbrev`; empty: at its last one.
    /// @throws HEXUserException it has no such step.
    void setToStep(HAXPExpRun& run, const std::string& abbrev);

    /// Sets the option `name`, "step.option" or an option's name alone where one step has
    /// it, from a text. @throws HEXUserException no such option, or a bad value.
    void setOption(HAXPExpRun& run, const std::string& name, const std::string& value);

    /// Brings status, reports and numbers of every run up to date.
    void updateRuns();

    /// @throws HEXUserException the file can't be written, or the project is open for
    /// reading only; the old file is intact.
    void save();

    /// Saves what a launch changed of `run` and nothing else, at the same cost however many
    /// runs there are: beside the project file, where whoever opens the project finds it. The
    /// next save() takes it in, and now and then this does. Everything else must have been saved.
    /// Throws as save() does.
    void saveLaunch(const HAXPExpRun& run);

protected:
    void strategyModifiedCallback_(HAXPStrategy* strategy) override;

private:
    friend class ProjectFile;
    struct Entry;
    struct Lock;

    Project(const std::string& dir, Access access);
    void takeLock_();
    Entry& addEntry_(const std::string& name, const HAXPFlow& flow, const std::string& strategyName,
                     const std::string& synthesis);
    void giveInputs_(const Entry& entry) const;
    static void keepLost_(Entry& entry, const std::vector<workbench::ReportRecord>& lost);
    Entry& entryOf_(const HAXPExpRun& run) const;
    bool hasNameLike_(const std::string& name) const;
    std::string synthesisHint_(const std::string& typed) const;
    std::string netlistOf_(const std::string& synthesis) const;

    std::string m_dir;
    std::string m_name;
    Access m_access;
    DesignInputs m_inputs;
    std::unique_ptr<Lock> m_lock;
    /// The SHA-1 of the project file; empty until it is asked for.
    std::string m_saved;
    /// How many launches stand beside it.
    int m_recordCount = 0;
    std::vector<std::unique_ptr<Entry>> m_entries;
    /// Where entries stood when they were added. What is found here is looked at before it is
    /// believed, for runs are renamed and go.
    std::unordered_map<const HAXPExpRun*, std::size_t> m_places;
    std::unordered_map<std::string, std::size_t> m_placesOfNames;
    /// While the file is read no run is renamed: a name without a place is new.
    bool m_knowsAllNames = false;
};
