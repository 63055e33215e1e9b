// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstdint>

#include "environment/EnvironmentExport.h"
#include "environment/filemgmt/HDDATypes.h"

class HDDASrcFile;
template <class T> class HSTFwdIter;

/// Says which source files of a file set concern someone: by kind, by use, by
/// disabled state.
///
/// Every condition that is set must hold. A new filter sets none, so that every
/// file passes. A small value: copies are cheap and touch no heap.
class ENVIRONMENT_API HDDASrcFilter {
public:
    HDDASrcFilter() = default;

    /// Lets files of kind `id` pass; with one kind or more, the others don't.
    /// @throws HEXAlgException `id` is outside [0, SFT_LIMIT).
    void addSFType(HDDATypes::SFTId id);

    /// The number of kinds added; the one for composite files doesn't count.
    int sfTypeCount() const;

    bool hasSFType(HDDATypes::SFTId id) const;

    /// The kinds in ascending order. The caller deletes the iterator, which
    /// keeps a copy.
    HSTFwdIter<HDDATypes::SFTId>* createSFTypeIter() const;

    /// Lets composite files pass, whatever their kind. Without a kind beside it
    /// nothing else passes.
    void addCompositeFileType() { m_compositeType = true; }
    bool hasCompositeFileType() const { return m_compositeType; }

    /// Whether a walk that takes this filter also visits the sources inside
    /// composite files. A composite file itself is judged like any other.
    void setExamineCompositeSrcs(bool examine) { m_examineComposites = examine; }
    bool isExamineCompositeSrcs() const { return m_examineComposites; }

    /// Whether files that are disabled, by the user or by the environment, are
    /// kept out.
    void setExcludeDisabled(bool exclude) { m_excludeDisabled = exclude; }
    bool isExcludeDisabled() const { return m_excludeDisabled; }

    /// While `on`, only files that are used in the stage pass; with `inverted`,
    /// only those that are not.
    void setUsedInSynthesisFilter(bool on, bool inverted) { m_synthesis = {on, inverted}; }
    void setUsedInImplementationFilter(bool on, bool inverted) {
        m_implementation = {on, inverted};
    }
    void setUsedInSimulationFilter(bool on, bool inverted) { m_simulation = {on, inverted}; }

    /// Lets every kind pass again, composite files included.
    void clearSFTypes();

    /// Whether `file` passes; null never does.
    bool filterSF(const HDDASrcFile* file) const;

private:
    struct UseFilter {
        bool on = false;
        bool inverted = false;
        bool passes(bool used) const { return !on || used != inverted; }
    };

    bool passesKind_(const HDDASrcFile& file) const;

    std::uint64_t m_types = 0;
    bool m_compositeType = false;
    bool m_examineComposites = false;
    bool m_excludeDisabled = false;
    UseFilter m_synthesis;
    UseFilter m_implementation;
    UseFilter m_simulation;
};
