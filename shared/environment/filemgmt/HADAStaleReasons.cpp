// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/filemgmt/HADAStaleReasons.h"

#include <algorithm>
#include <iterator>

#include "environment/containers/heapIter.h"
#include "environment/filemgmt/HADAFileSet.h"
#include "environment/filemgmt/HADAFileSetChangeSummary.h"
#include "environment/filemgmt/HDDACompositeFile.h"
#include "environment/filemgmt/HDDASrcFile.h"
#include "environment/filemgmt/HDDASrcFilter.h"

namespace {

using Collection = HADAFileSetChangeSummary::enumFSCSFileCollection;

/// Whether `file` is `top` or stands inside it, at whatever depth.
bool isWithin(const HDDASrcFile* file, const HDDASrcFile* top) {
    while (file != nullptr && file != top)
        file = file->getParentComposite();
    return file != nullptr;
}

/// Calls `see(collection, file)` for each changed file that passes `filter`,
/// until it gives true. Whether it did.
template <class See>
bool anyChange(const HADAFileSetChangeSummary& changes, const HDDASrcFilter* filter, See see) {
    for (int number = 0; number < HADAFileSetChangeSummary::FSCS_LIMIT; ++number) {
        const auto collection = static_cast<Collection>(number);
        const std::vector<HDDASrcFile*>& files = changes.getFiles(collection);
        if (files.empty())
            continue;
        const HDDASrcFilter judge = filter == nullptr
                                        ? HDDASrcFilter()
                                        : HADAFileSetChangeSummary::filterFor(collection, *filter);
        for (const HDDASrcFile* file : files) {
            if (judge.filterSF(file) && see(collection, *file))
                return true;
        }
    }
    return false;
}

std::string setNameOf(const HDDASrcFile& file, const HADAFileSetChangeSummary& changes) {
    const HADAFileSet* const set =
        changes.getFileSet() != nullptr ? changes.getFileSet() : file.getFileSet();
    return set == nullptr ? std::string() : set->getName();
}

}  // namespace

HSTFwdIter<const HADAStaleReason*>* HADAStaleReasons::createReasonIter() const {
    std::vector<const HADAStaleReason*> reasons;
    reasons.reserve(m_reasons.size());
    for (const HADAStaleReason& reason : m_reasons)
        reasons.push_back(&reason);
    return containers::heapIterOfCopy<const HADAStaleReason*>(std::move(reasons));
}

const HADAStaleReason* HADAStaleReasons::find(HADAStaleReason::StaleSummary summary) const {
    const auto found =
        std::find_if(m_reasons.begin(), m_reasons.end(),
                     [&](const HADAStaleReason& reason) { return reason.getSummary() == summary; });
    return found == m_reasons.end() ? nullptr : &*found;
}

void HADAStaleReasons::addCopy(const HADAStaleReasons& other) {
    const std::size_t count = other.m_reasons.size();
    m_reasons.reserve(m_reasons.size() + count);  // keeps the elements in place: other may be *this
    for (std::size_t i = 0; i < count; ++i)
        m_reasons.push_back(other.m_reasons[i]);
}

void HADAStaleReasons::remove(HADAStaleReason::StaleSummary summary) {
    m_reasons.erase(std::remove_if(m_reasons.begin(), m_reasons.end(),
                                   [&](const HADAStaleReason& reason) {
                                       return reason.getSummary() == summary;
                                   }),
                    m_reasons.end());
}

HADAStaleReason* HADAStaleReasons::addOrUpdate(HADAStaleReason::StaleSummary summary) {
    for (HADAStaleReason& reason : m_reasons) {
        if (reason.getSummary() == summary)
            return &reason;
    }
    return &m_reasons.emplace_back(summary, std::time(nullptr));
}

HADAStaleReason* HADAStaleReasons::addOrUpdate(HADAStaleReason::StaleSummary summary,
                                               const HADAStaleOption* option) {
    HADAStaleReason* const reason = addOrUpdate(summary);
    if (option != nullptr)
        reason->addOrUpdateOption(*option);
    return reason;
}

HADAStaleReason* HADAStaleReasons::addOrUpdate(HADAStaleReason::StaleSummary summary,
                                               const HADAFileSetChangeSummary* changes,
                                               const HDDASrcFilter* filter) {
    HADAStaleReason* const reason = addOrUpdate(summary);
    if (changes == nullptr)
        return reason;
    std::vector<HADAStaleReason::ChangedFile> files;
    anyChange(*changes, filter, [&](Collection collection, const HDDASrcFile& file) {
        files.push_back({file.getName(), setNameOf(file, *changes), collection, file.getModTime()});
        return false;
    });
    reason->addOrUpdateFiles(std::move(files));
    return reason;
}

bool HADAStaleReasons::hasChanges(const HADAFileSetChangeSummary* changes,
                                  const HDDASrcFilter* filter, const HDDASrcFile* file) {
    if (changes == nullptr)
        return false;
    return anyChange(*changes, filter, [&](Collection, const HDDASrcFile& changed) {
        return file == nullptr || isWithin(&changed, file);
    });
}

bool HADAStaleReasons::hasChanges(const HADAFileSetChangeSummary* changes,
                                  const std::string& runName) {
    if (changes == nullptr)
        return false;
    return anyChange(*changes, nullptr, [&](Collection, const HDDASrcFile& changed) {
        return changed.getAttrs().isKeptForRun(runName);
    });
}
