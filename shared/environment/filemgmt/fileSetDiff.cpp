// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/filemgmt/fileSetDiff.h"

#include <vector>

#include "environment/filemgmt/HADAFileSetChangeSummary.h"
#include "environment/filemgmt/HDDASrcAttrs.h"
#include "environment/filemgmt/HDDASrcFile.h"
#include "environment/filemgmt/srcFileList.h"

namespace filemgmt {

namespace {

using Summary = HADAFileSetChangeSummary;

bool isTracked(const HDDASrcFile& file) {
    return !file.isExcludedFromTracking();
}

/// One comparison under way: where changes go, and whether there was one.
class Diff {
public:
    explicit Diff(Summary& changes) : m_changes(changes) {}

    void lists(const SrcFileList& before, const SrcFileList& after, bool inside) {
        absent_(after, before, inside ? Summary::FSCS_COMPOSITE_SRCS_ADDED : Summary::FSCS_ADDED);
        absent_(before, after,
                inside ? Summary::FSCS_COMPOSITE_SRCS_REMOVED : Summary::FSCS_REMOVED);
        order_(before, after);
        for (const auto& file : after.files()) {
            const HDDASrcFile* const old = before.find(file->getName());
            if (old != nullptr && isTracked(*file))
                pair_(*old, *file, inside);
        }
    }

    bool any() const { return m_any; }

private:
    void note_(bool differs, Summary::enumFSCSFileCollection collection, HDDASrcFile& file) {
        if (!differs)
            return;
        m_any = true;
        m_changes.addFiles(collection, &file);
    }

    /// Notes the files of `list` that `other` hasn't.
    void absent_(const SrcFileList& list, const SrcFileList& other,
                 Summary::enumFSCSFileCollection collection) {
        for (const auto& file : list.files())
            note_(isTracked(*file) && other.find(file->getName()) == nullptr, collection, *file);
    }

    /// Notes the files that stand elsewhere among those that both lists have.
    void order_(const SrcFileList& before, const SrcFileList& after) {
        std::vector<const HDDASrcFile*> old;
        for (const auto& file : before.files()) {
            if (after.find(file->getName()) != nullptr)
                old.push_back(file.get());
        }
        std::size_t at = 0;
        for (const auto& file : after.files()) {
            if (before.find(file->getName()) == nullptr)
                continue;
            note_(isTracked(*file) && old[at]->getName() != file->getName(),
                  Summary::FSCS_REORDERED, *file);
            ++at;
        }
    }

    void pair_(const HDDASrcFile& before, HDDASrcFile& after, bool inside) {
        content_(before.getStamp(), after, inside);
        note_(before.getFileType() != after.getFileType(), Summary::FSCS_KIND_CHANGED, after);
        attributes_(before.getAttrs(), after);
        const SrcFileList* const oldInner = SrcFileList::inside(before);
        const SrcFileList* const newInner = SrcFileList::inside(after);
        if (oldInner != nullptr && newInner != nullptr)
            lists(*oldInner, *newInner, true);
        else
            note_(oldInner != newInner, Summary::FSCS_KIND_CHANGED, after);
    }

    void content_(const HDDAContentStamp& before, HDDASrcFile& file, bool inside) {
        const HDDAContentStamp& after = file.getStamp();
        if (before.isSameContent(after))
            return;
        if (before.exists() != after.exists())
            note_(true, after.exists() ? Summary::FSCS_FOUND_AGAIN : Summary::FSCS_MISSING, file);
        else
            note_(true, inside ? Summary::FSCS_COMPOSITE_SRCS_MODIFIED : Summary::FSCS_MODIFIED,
                  file);
    }

    void attributes_(const HDDASrcAttrs& before, HDDASrcFile& file) {
        const HDDASrcAttrs& after = file.getAttrs();
        note_(before.isDisabled() != after.isDisabled(),
              after.isDisabled() ? Summary::FSCS_DISABLED : Summary::FSCS_ENABLED, file);
        note_(before.isAutoDisabled() != after.isAutoDisabled(),
              after.isAutoDisabled() ? Summary::FSCS_AUTO_DISABLED : Summary::FSCS_AUTO_ENABLED,
              file);
        note_(before.isUsedInSynthesis() != after.isUsedInSynthesis(),
              Summary::FSCS_SYNTHESIS_USE_CHANGED, file);
        note_(before.isUsedInImplementation() != after.isUsedInImplementation(),
              Summary::FSCS_IMPLEMENTATION_USE_CHANGED, file);
        note_(before.isUsedInSimulation() != after.isUsedInSimulation(),
              Summary::FSCS_SIMULATION_USE_CHANGED, file);
        note_(before.getLibrary() != after.getLibrary(), Summary::FSCS_LIBRARY_CHANGED, file);
    }

    Summary& m_changes;
    bool m_any = false;
};

}  // namespace

bool diffSources(const SrcFileList& before, const SrcFileList& after,
                 HADAFileSetChangeSummary& changes) {
    Diff diff(changes);
    diff.lists(before, after, false);
    return diff.any();
}

}  // namespace filemgmt
