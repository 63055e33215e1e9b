// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "environment/EnvironmentExport.h"
#include "environment/filemgmt/HDDATypes.h"

class HADAFileSet;
template <class T> class HSTFwdIter;

/// The file sets of a project.
///
/// Owns the user's sets. Internal sets, such as the snapshots that runs take of
/// their sources, belong to whoever had them made; the manager only knows them,
/// and they may outlive it.
class ENVIRONMENT_API HADAFileMgr {
public:
    HADAFileMgr();

    /// Deletes the user's sets; internal ones stay, without a manager.
    ~HADAFileMgr();

    HADAFileMgr(const HADAFileMgr&) = delete;
    HADAFileMgr& operator=(const HADAFileMgr&) = delete;

    /// A new set at the end of the user's sets.
    /// @throws HEXUserException the name is empty, or a user's set has it.
    HADAFileSet* createFileSet(const std::string& name, HDDATypes::FileSetType type);

    /// A new set that isn't listed among the user's sets. The caller deletes
    /// it. Its name may be taken.
    HADAFileSet* createInternalFileSet(const std::string& name, HDDATypes::FileSetType type);

    /// Removes and deletes one of the user's sets; false for any other.
    bool removeFileSet(HADAFileSet* fileSet);

    /// The user's set of this name, or null.
    HADAFileSet* findFileSet(const std::string& name) const;

    /// The user's sets in the order in which they were made. The caller deletes
    /// the iterator, before a set comes or goes.
    HSTFwdIter<HADAFileSet*>* createFileSetIter() const;
    std::size_t fileSetCount() const { return m_fileSets.size(); }

    /// How many internal sets there are.
    std::size_t internalFileSetCount() const { return m_internal.size(); }

private:
    friend class HADAFileSet;
    std::unique_ptr<HADAFileSet> take_(HADAFileSet* fileSet);
    void forget_(HADAFileSet* fileSet);

    std::vector<std::unique_ptr<HADAFileSet>> m_fileSets;
    std::unordered_set<HADAFileSet*> m_internal;
};
