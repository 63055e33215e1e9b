// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/filemgmt/HADAFileSetChangeSummary.h"

#include <algorithm>
#include <string>

#include "environment/containers/heapIter.h"
#include "environment/errors/HEXAlgException.h"
#include "environment/filemgmt/HDDASrcFilter.h"

namespace {

using Summary = HADAFileSetChangeSummary;

/// What happened to the files of each collection, by its number.
constexpr const char* kChangeTexts[] = {
    "enabled",
    "disabled",
    "added",
    "removed",
    "modified",
    "missing",
    "found again",
    "renamed",
    "moved in the order of files",
    "kind changed",
    "library changed",
    "use in synthesis changed",
    "use in implementation changed",
    "use in simulation changed",
    "needed by the design again",
    "no longer needed by the design",
    "global include changed",
    "scope changed",
    "processing order changed",
    "use by runs changed",
    "outputs generated",
    "outputs reset",
    "outputs out of date",
    "locked",
    "unlocked",
    "registered",
    "unregistered",
    "configuration changed",
    "modified inside a block",
    "added inside a block",
    "removed inside a block",
    "changed",
};
static_assert(std::size(kChangeTexts) == Summary::FSCS_LIMIT);

std::size_t indexOf(Summary::enumFSCSFileCollection collection) {
    if (collection < 0 || collection >= Summary::FSCS_LIMIT)
        throw HEXAlgException("Change summary: no collection has the number " +
                              std::to_string(collection));
    return static_cast<std::size_t>(collection);
}

}  // namespace

HADAFileSetChangeSummary::HADAFileSetChangeSummary(HADAFileSet* fileSet) : m_fileSet(fileSet) {}

void HADAFileSetChangeSummary::addFiles(enumFSCSFileCollection collection, HDDASrcFile* file) {
    const std::size_t at = indexOf(collection);
    if (file != nullptr && m_known[at].insert(file).second)
        m_files[at].push_back(file);
}

bool HADAFileSetChangeSummary::hasFileChange(enumFSCSFileCollection collection,
                                             const HDDASrcFilter* filter) const {
    const std::vector<HDDASrcFile*>& files = getFiles(collection);
    if (files.empty() || filter == nullptr)
        return !files.empty();
    const HDDASrcFilter judge = filterFor(collection, *filter);
    return std::any_of(files.begin(), files.end(),
                       [&](const HDDASrcFile* file) { return judge.filterSF(file); });
}

HSTFwdIter<HDDASrcFile*>*
HADAFileSetChangeSummary::createFilesIter(enumFSCSFileCollection collection) const {
    return containers::heapIter<HDDASrcFile*>(getFiles(collection));
}

const std::vector<HDDASrcFile*>&
HADAFileSetChangeSummary::getFiles(enumFSCSFileCollection collection) const {
    return m_files[indexOf(collection)];
}

std::size_t HADAFileSetChangeSummary::filesCount(enumFSCSFileCollection collection) const {
    return getFiles(collection).size();
}

bool HADAFileSetChangeSummary::empty() const {
    return std::all_of(m_files.begin(), m_files.end(),
                       [](const auto& files) { return files.empty(); });
}

HDDASrcFilter HADAFileSetChangeSummary::filterFor(enumFSCSFileCollection collection,
                                                  const HDDASrcFilter& filter) {
    HDDASrcFilter judge = filter;
    switch (collection) {
    case FSCS_DISABLED:
    case FSCS_AUTO_DISABLED:
        judge.setExcludeDisabled(false);
        break;
    case FSCS_KIND_CHANGED:
        judge.clearSFTypes();
        break;
    case FSCS_SYNTHESIS_USE_CHANGED:
        judge.setUsedInSynthesisFilter(false, false);
        break;
    case FSCS_IMPLEMENTATION_USE_CHANGED:
        judge.setUsedInImplementationFilter(false, false);
        break;
    case FSCS_SIMULATION_USE_CHANGED:
        judge.setUsedInSimulationFilter(false, false);
        break;
    default:
        break;
    }
    return judge;
}

const char* HADAFileSetChangeSummary::getChangeText(enumFSCSFileCollection collection) {
    return kChangeTexts[indexOf(collection)];
}
