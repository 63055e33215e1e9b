// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "workbench/WorkbenchExport.h"

class HAXPExpRun;
class Project;

namespace workbench {

class UndoScope;

/// What became of one run.
struct UndoRun {
    enum Kind {
        kCleared,  ///< files were cleared from its directory
        kRemoved,  ///< it was taken out of the project with its directory
        kRestored  ///< the removal was taken back
    };
    std::string name;
    Kind kind = kCleared;
    /// The short name of the first step that was cleared; empty for all.
    std::string fromStep;
    /// Whether only markers were cleared, and what the steps made was left.
    bool keptFiles = false;
    /// The entry that was being taken back; empty for what a user asked for.
    std::string restores;
    /// Whether the clearing came to its end; what is left of one that was killed stands in the
    /// run directory still.
    bool isWhole = false;
    /// The synthesis that it starts from; empty for one that is one.
    std::string synthesis;
};

/// Something that can be taken back.
struct UndoEntry {
    std::string id;    ///< "2026-11-21-3-reset", also its folder
    std::string verb;  ///< "reset", "rm", "launch" or "undo"
    long time = 0;     ///< in seconds since the epoch
    std::vector<UndoRun> runs;
    std::uint64_t bytes = 0;
};

/// How much is kept. The oldest entries go first, and never the last one.
struct UndoLimits {
    std::size_t entries = 100;
    std::uint64_t megabytes = 2048;
};

/// What resets, removals and launches cleared, dated, in the project's own folder.
///
/// An entry is a folder with one folder a run: a manifest with the run as the project file had
/// it, which is written first, and the files, which are moved there. So whoever is killed in
/// between leaves an entry that can be taken back. The project is open for changes.
class WORKBENCH_API UndoStore {
public:
    /// `project` isn't owned and outlives the store.
    explicit UndoStore(Project& project);

    /// All of them, the last one first; what is no entry is left out.
    std::vector<UndoEntry> entries() const;

    UndoLimits getLimits() const;
    /// Takes them from now on, and drops what is over them.
    /// @throws HEXUserException they can't be saved.
    void setLimits(const UndoLimits& limits);

    /// Takes the entry `id` back, the last one when that is empty: what its runs have now is
    /// cleared into an entry of its own, their files and what the project knew of them come back,
    /// and the project is saved. Where somebody was killed at that, it is brought to its end.
    /// Pointers to these runs are void.
    /// @throws HEXUserException there is none, or it can't be taken back without losing
    /// something; the text says what to do. Nothing changes.
    UndoEntry undo(const std::string& id = "");

    /// Drops the oldest entries until the others are within the limits, but not the last.
    void prune();

private:
    UndoEntry choose_(const std::string& id) const;
    void requireUndoable_(const UndoEntry& entry, const std::vector<UndoEntry>& all) const;
    void requireUsable_(const UndoEntry& entry, const UndoRun& what) const;
    void requireRestorable_(const UndoEntry& entry, const UndoRun& what) const;
    void undoRun_(const UndoEntry& entry, const UndoRun& what, const UndoRun* begun);
    void noteRestored_(const UndoEntry& entry, const UndoRun& what);
    void clear_(const UndoRun& what, HAXPExpRun& run, UndoScope& scope);
    void bringBack_(const UndoEntry& entry, const UndoRun& what);
    std::string folder_() const;
    std::string manifestOf_(const UndoEntry& entry, const UndoRun& run) const;

    Project& m_project;
};

/// While it lives, what is removed from the directory of a run is moved into an entry. One
/// within another of the same run does nothing. Where somebody was killed who cleared the run to
/// the same end, it goes on with that entry.
class WORKBENCH_API UndoScope {
public:
    /// Writes the manifest. When it can't be written, or the run has nothing to lose, nothing
    /// is kept; a message tells the former.
    /// `what` needs no name, kind and synthesis; when it is whole an entry that is whole goes on.
    /// With `restores` nothing is removed that can't be kept: the removal fails.
    UndoScope(Project& project, const HAXPExpRun& run, const std::string& verb,
              const UndoRun& what);
    /// Ends the entry; one that kept nothing goes.
    ~UndoScope();

    UndoScope(const UndoScope&) = delete;
    UndoScope& operator=(const UndoScope&) = delete;

    /// Whether what is removed is moved, by this scope or the one around it.
    bool isKeeping() const;

    /// Keeps the file `name` of the run directory, which is to be replaced and not removed.
    void keep(const std::string& name);

    /// Notes that all is cleared; what is moved from here on only stood in the way of something.
    void noteCleared();

private:
    struct Data;
    static bool begin_(Data& data, const HAXPExpRun& run, const std::string& verb, UndoRun what);

    std::unique_ptr<Data> m_data;
};

/// Groups that follow each other, such as the launches of a queue: as long as nothing else made
/// an entry in between, the next one goes on with the entry of the one before.
struct UndoSeries {
    std::string verb;
    std::string path;
};

/// While it lives, what is cleared for one verb goes into one entry.
class WORKBENCH_API UndoGroup {
public:
    explicit UndoGroup(Project& project);
    /// `series` isn't owned and outlives the group.
    UndoGroup(Project& project, UndoSeries& series);
    ~UndoGroup();

    UndoGroup(const UndoGroup&) = delete;
    UndoGroup& operator=(const UndoGroup&) = delete;

private:
    Project& m_project;
    UndoSeries* m_series = nullptr;
};

/// Takes `runs`, of which none is at work, out of the project with their directories, and saves
/// it; their launches stay in the history. Pointers to them are void.
/// @throws HEXUserException one is at work, starts others that stay, or its directory is a link:
/// then nothing changes; or its directory can't be moved: the others before it are removed.
WORKBENCH_API void removeRuns(Project& project, const std::vector<HAXPExpRun*>& runs);

}  // namespace workbench
