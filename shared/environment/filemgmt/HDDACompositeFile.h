// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <array>
#include <memory>
#include <string>

#include "environment/EnvironmentExport.h"
#include "environment/filemgmt/HDDASrcFile.h"
#include "environment/filemgmt/HDDATypes.h"

class HDDAGenerationTarget;
class HDDASrcFilter;
template <class T> class HSTFwdIter;
namespace filemgmt {
class SrcFileList;
}

/// A source that stands for a generated block: a configured core, or a block
/// design.
///
/// Owns the sources inside it, which may be composite files again, and its
/// generation targets.
class ENVIRONMENT_API HDDACompositeFile : public HDDASrcFile {
public:
    ~HDDACompositeFile() override;

    using HDDASrcFile::getCompositeFile;
    HDDACompositeFile* getCompositeFile() override;

    /// Adds a source at the end and looks at the file on disk. The kind is that
    /// of its extension, or `type`.
    /// @throws HEXUserException the block holds a source of this path, or the
    /// path is empty.
    HDDASrcFile* addSrcFile(const std::string& path);
    HDDASrcFile* addSrcFile(const std::string& path, HDDATypes::SFTId type);
    HDDACompositeFile* addCompositeFile(const std::string& path, HDDATypes::SFTId type);

    /// Removes and deletes a source directly inside; false for a stranger.
    bool removeSrcFile(HDDASrcFile* file);

    /// The source of this path directly inside, or null.
    HDDASrcFile* findSrcFile(const std::string& path) const;

    /// The sources inside that pass `filter` (null: all), in order. With
    /// `recursive`, or when the filter looks into composite files, those of the
    /// composite files inside follow theirs. The caller deletes the iterator,
    /// which keeps a list of its own.
    HSTFwdIter<HDDASrcFile*>* createSrcFileIter(const HDDASrcFilter* filter, bool recursive) const;

    /// Whether the manager of generated blocks knows it; if not, its outputs
    /// are nobody's concern. True for a new one.
    bool isRegisteredWithMgr() const { return m_registered; }
    void setRegisteredWithMgr(bool registered) { m_registered = registered; }

    /// Whether its outputs are kept as they are, whatever changes.
    bool isCompositeFileLocked() const { return m_locked; }
    void setCompositeFileLocked(bool locked) { m_locked = locked; }

    /// The target of this kind, or null when the block has none. It goes with
    /// the composite file or by removeGenerationTarget().
    HDDAGenerationTarget* getGenerationTarget(HDDATypes::GenerationTarget kind) const;

    /// The target of this kind, made if the block has none.
    /// @throws HEXAlgException `kind` is none of the kinds.
    HDDAGenerationTarget* addGenerationTarget(HDDATypes::GenerationTarget kind);
    void removeGenerationTarget(HDDATypes::GenerationTarget kind);

    /// How the output of this kind stands; "not applicable" without such a
    /// target. With `below`, the blocks inside count too: the first of out of
    /// date, not generated, generated that holds for any of them.
    HDDATypes::GenerationState getGeneratedStateFor(HDDATypes::GenerationTarget kind,
                                                    bool below) const;

    /// How the block's own synthesised checkpoint stands; "not applicable" when
    /// it is synthesised with the design around it.
    HDDATypes::GenerationState getSynthCheckpointGenerationState() const;

protected:
    HDDACompositeFile(const std::string& path, HDDATypes::SFTId type);

    std::unique_ptr<HDDASrcFile> clone_() const override;
    void setPlace_(HADAFileSet* fileSet, HDDACompositeFile* parent) override;

private:
    friend class HADAFileSet;
    friend class filemgmt::SrcFileList;

    HDDASrcFile* insert_(std::unique_ptr<HDDASrcFile> owned);

    bool m_registered = true;
    bool m_locked = false;
    std::unique_ptr<filemgmt::SrcFileList> m_files;
    std::array<std::unique_ptr<HDDAGenerationTarget>, HDDATypes::GT_LIMIT> m_targets;
};
