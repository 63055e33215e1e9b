// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "environment/EnvironmentExport.h"
#include "environment/filemgmt/HADAStaleReason.h"

class HADAFileSetChangeSummary;
class HDDASrcFile;
class HDDASrcFilter;
template <class T> class HSTFwdIter;

/// The reasons why a result is stale, in the order in which they were found.
///
/// A value; an empty list takes three pointers and no heap. A reason is named
/// by its summary: addOrUpdate() keeps one reason per summary and adds to it.
/// A list that was gathered from several by addCopy() may hold more of a kind.
class ENVIRONMENT_API HADAStaleReasons {
public:
    HADAStaleReasons() = default;

    bool empty() const { return m_reasons.empty(); }
    std::size_t count() const { return m_reasons.size(); }
    void clear() { m_reasons.clear(); }

    /// The reasons in order. The caller deletes the iterator, before the list
    /// changes.
    HSTFwdIter<const HADAStaleReason*>* createReasonIter() const;

    /// The first reason of this kind, or null. Good until the list changes.
    const HADAStaleReason* find(HADAStaleReason::StaleSummary summary) const;

    /// Appends a copy of every reason of `other`, which may be this list. None
    /// is merged, so that nothing is lost when reasons of several steps meet.
    void addCopy(const HADAStaleReasons& other);

    /// Removes every reason of this kind; none is fine.
    void remove(HADAStaleReason::StaleSummary summary);

    /// The first reason of this kind, made at the end of the list when there is
    /// none. The pointer is good until the list changes.
    HADAStaleReason* addOrUpdate(HADAStaleReason::StaleSummary summary);

    /// The same, and notes a copy of `option`, which stays the caller's. An
    /// option that is noted already takes the new values. Null notes nothing.
    HADAStaleReason* addOrUpdate(HADAStaleReason::StaleSummary summary,
                                 const HADAStaleOption* option);

    /// The same, and notes each file of `changes` that passes `filter`; without
    /// a filter, each file. Files that are noted already are kept.
    HADAStaleReason* addOrUpdate(HADAStaleReason::StaleSummary summary,
                                 const HADAFileSetChangeSummary* changes,
                                 const HDDASrcFilter* filter);

    /// Whether `changes` holds a file that passes `filter` (null: any file).
    /// With `file`, only that file counts, and for a composite file the sources
    /// inside it. Null changes are none.
    static bool hasChanges(const HADAFileSetChangeSummary* changes, const HDDASrcFilter* filter,
                           const HDDASrcFile* file);

    /// Whether `changes` holds a file that is kept for the run of this name.
    /// Files that name no run concern none.
    static bool hasChanges(const HADAFileSetChangeSummary* changes, const std::string& runName);

private:
    std::vector<HADAStaleReason> m_reasons;
};
