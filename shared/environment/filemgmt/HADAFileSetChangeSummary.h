// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <array>
#include <cstddef>
#include <unordered_set>
#include <vector>

#include "environment/EnvironmentExport.h"

class HADAFileSet;
class HDDASrcFile;
class HDDASrcFilter;
template <class T> class HSTFwdIter;

/// What changed in one file set, in numbered collections of files.
///
/// Owns nothing: the file set and the files, removed ones included, live at
/// least as long as the summary.
class ENVIRONMENT_API HADAFileSetChangeSummary {
public:
    /// What happened to the files of a collection.
    enum enumFSCSFileCollection : int {
        FSCS_ENABLED = 0,
        FSCS_DISABLED = 1,
        FSCS_ADDED = 2,
        FSCS_REMOVED = 3,
        FSCS_MODIFIED = 4,
        FSCS_MISSING = 5,
        FSCS_FOUND_AGAIN = 6,
        FSCS_RENAMED = 7,
        FSCS_REORDERED = 8,
        FSCS_KIND_CHANGED = 9,
        FSCS_LIBRARY_CHANGED = 10,
        FSCS_SYNTHESIS_USE_CHANGED = 11,
        FSCS_IMPLEMENTATION_USE_CHANGED = 12,
        FSCS_SIMULATION_USE_CHANGED = 13,
        FSCS_AUTO_ENABLED = 14,
        FSCS_AUTO_DISABLED = 15,
        FSCS_INCLUDE_STATE_CHANGED = 16,
        FSCS_SCOPE_CHANGED = 17,
        FSCS_PROCESSING_ORDER_CHANGED = 18,
        FSCS_RUN_USE_CHANGED = 19,
        FSCS_TARGETS_GENERATED = 20,
        FSCS_TARGETS_RESET = 21,
        FSCS_TARGETS_OUT_OF_DATE = 22,
        FSCS_LOCKED = 23,
        FSCS_UNLOCKED = 24,
        FSCS_REGISTERED = 25,
        FSCS_UNREGISTERED = 26,
        FSCS_CONFIGURATION_CHANGED = 27,
        FSCS_COMPOSITE_SRCS_MODIFIED = 28,
        FSCS_COMPOSITE_SRCS_ADDED = 29,
        FSCS_COMPOSITE_SRCS_REMOVED = 30,
        FSCS_OTHER_CHANGE = 31,
        FSCS_LIMIT = 32
    };

    /// An empty summary for `fileSet`, which may be null.
    explicit HADAFileSetChangeSummary(HADAFileSet* fileSet);

    HADAFileSet* getFileSet() const { return m_fileSet; }

    /// Adds `file` to a collection; null, or one that is in it, adds nothing.
    /// @throws HEXAlgException `collection` is none of the 32.
    void addFiles(enumFSCSFileCollection collection, HDDASrcFile* file);

    /// Whether the collection holds a file that passes `filter`; without a
    /// filter, any file. What the change itself altered isn't held against a
    /// file: one that was just disabled passes a filter without disabled files,
    /// and one whose use or kind changed passes any filter on use or kind.
    bool hasFileChange(enumFSCSFileCollection collection, const HDDASrcFilter* filter) const;

    /// The files of a collection in the order in which they were added. The
    /// caller deletes the iterator, before the collection changes.
    HSTFwdIter<HDDASrcFile*>* createFilesIter(enumFSCSFileCollection collection) const;

    /// The same files in place, until the collection changes.
    const std::vector<HDDASrcFile*>& getFiles(enumFSCSFileCollection collection) const;

    std::size_t filesCount(enumFSCSFileCollection collection) const;

    /// Whether no collection holds a file.
    bool empty() const;

    /// The filter that hasFileChange() judges the files of `collection` by.
    static HDDASrcFilter filterFor(enumFSCSFileCollection collection, const HDDASrcFilter& filter);

    /// A few words for the user on what happened: "modified", "added" ...
    static const char* getChangeText(enumFSCSFileCollection collection);

private:
    HADAFileSet* m_fileSet;
    std::array<std::vector<HDDASrcFile*>, FSCS_LIMIT> m_files;
    std::array<std::unordered_set<const HDDASrcFile*>, FSCS_LIMIT> m_known;
};
