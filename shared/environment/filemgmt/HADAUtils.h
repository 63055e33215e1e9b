// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include "environment/EnvironmentExport.h"

class HADAFileSet;
class HADAFileSetChangeSummary;

/// Operations over whole file sets.
class ENVIRONMENT_API HADAUtils {
public:
    HADAUtils() = delete;

    /// Fills `target` from `source`: its sources with kinds, attributes, stamps
    /// and all that composite files hold, the options of the set, its root
    /// composite file and its reconfigurable module. The stamps are those that
    /// `source` has, not read anew. `target` keeps its name, type, manager, data
    /// folder and file name. Afterwards the two share nothing.
    ///
    /// With `keepOwn`, sources of `target` that `source` hasn't are kept, and so
    /// is its root while `source` has none; otherwise `target` ends with what
    /// `source` has, in its order. With `withRunNames`, each copy remembers the
    /// runs that its source is kept for, as sets of hook scripts need it;
    /// otherwise it names no run.
    ///
    /// A set copied onto itself stays as it is.
    /// @throws HEXAlgException either is null.
    static void copyFileSet(const HADAFileSet* source, HADAFileSet* target, bool keepOwn,
                            bool withRunNames);

    /// Notes in `changes` by what the sources of `after` differ from those of
    /// `before`, inside composite files too, and gives whether they do. Sources
    /// are matched by path and compared by content, not by time: a touched file
    /// is no change. Only what the stamps say counts; the disk isn't looked at.
    ///
    /// Removed files are those of `before`, all others those of `after`: both
    /// sets live as long as `changes`. Files excluded from tracking are passed
    /// over.
    /// @throws HEXAlgException either is null.
    static bool compareFileSets(const HADAFileSet* before, const HADAFileSet* after,
                                HADAFileSetChangeSummary& changes);
};
