// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "environment/EnvironmentExport.h"
#include "environment/filemgmt/HDDATypes.h"

class HADAFileMgr;
class HADAFileSetChangeSummary;
class HDDACompositeFile;
class HDDASrcFile;
class HDDASrcFilter;
class HDDASrcOptions;
class HEIOptions;
template <class T> class HSTFwdIter;
namespace filemgmt {
class SrcFileList;
}

/// A named set of source files of a design.
///
/// Owns its sources: a source is good until it is removed or the set goes. The
/// user's sets belong to their manager, internal sets to whoever had them made.
/// A set belongs to one thread at a time.
class ENVIRONMENT_API HADAFileSet {
public:
    /// A set without a manager.
    HADAFileSet(const std::string& name, HDDATypes::FileSetType type);

    /// Takes itself off its manager.
    ~HADAFileSet();

    HADAFileSet(const HADAFileSet&) = delete;
    HADAFileSet& operator=(const HADAFileSet&) = delete;

    const std::string& getName() const;
    HDDATypes::FileSetType getType() const;

    /// Null for a set without a manager, or whose manager is gone.
    HADAFileMgr* getFileMgr() const;

    /// Whether it isn't listed among the user's sets.
    bool isInternal() const;

    /// Adds a source at the end and looks at the file on disk, which may be
    /// missing as yet. The kind is that of its extension, or `type`.
    /// @throws HEXUserException the set holds a source of this path, or the path
    /// is empty; nothing changes.
    HDDASrcFile* addSrcFile(const std::string& path);
    HDDASrcFile* addSrcFile(const std::string& path, HDDATypes::SFTId type);
    HDDACompositeFile* addCompositeFile(const std::string& path, HDDATypes::SFTId type);

    /// Removes and deletes a source that stands in the set itself; false for a
    /// stranger.
    bool removeSrcFile(HDDASrcFile* file);

    /// Takes such a source out; the caller deletes it. Null for a stranger. For
    /// change summaries, which name files that are gone from their set.
    HDDASrcFile* takeSrcFile(HDDASrcFile* file);

    /// Removes all sources, and with them the root composite file.
    void removeAllSrcFiles();

    /// The source of this path that stands in the set itself, or null.
    HDDASrcFile* findSrcFile(const std::string& path) const;

    /// The sources that pass `filter` (null: all), in order. When the filter
    /// looks into composite files, the sources inside one follow it, whether
    /// or not it passes itself. The caller deletes the iterator, which keeps a
    /// list of its own: the set may change, but a source must not go before the
    /// iterator has passed it.
    HSTFwdIter<HDDASrcFile*>* createSrcFileIter(const HDDASrcFilter* filter = nullptr) const;

    /// How many sources createSrcFileIter() would give.
    std::size_t srcFileCount(const HDDASrcFilter* filter = nullptr) const;

    /// Looks at every file on disk, inside composite files too, and notes in
    /// `changes` (null: nowhere) what was modified, is missing or was found
    /// again. True when any was. Files excluded from tracking are passed over.
    bool updateStamps(HADAFileSetChangeSummary* changes);

    /// Where the set keeps its data; relative to the project, or absolute.
    const std::string& getDataDir() const;
    void setDataDir(const std::string& dir);

    /// The name of the file that the set is kept in, in its data folder.
    const std::string& getFileSetFileName() const;
    void setFileSetFileName(const std::string& name);

    /// How the sources are read, with the name of the top.
    const HDDASrcOptions& getSrcOptions() const;
    HDDASrcOptions& getSrcOptions();

    const HEIOptions& getEDIFOptions() const;
    HEIOptions& getEDIFOptions();

    /// The composite file at the root of an out-of-context set, or null; while
    /// it is disabled, null unless `withDisabled`.
    HDDACompositeFile* getOOCRootCompositeFile(bool withDisabled) const;

    /// @throws HEXAlgException `root` is neither null nor in this set.
    void setOOCRootCompositeFile(HDDACompositeFile* root);

    /// The reconfigurable module that the set belongs to; empty for none.
    const std::string& getReconfigModule() const;
    void setReconfigModule(const std::string& name);

private:
    friend class HADAFileMgr;
    friend class HADAUtils;
    friend class HDDACompositeFile;
    struct Data;

    HDDASrcFile* insert_(std::unique_ptr<HDDASrcFile> owned);
    const filemgmt::SrcFileList& sources_() const;
    void leaving_(const HDDASrcFile& file);
    void setManager_(HADAFileMgr* mgr, bool internal);
    void copyFrom_(const HADAFileSet& source, bool keepOwn, bool withRunNames);
    void copyFile_(const HDDASrcFile& original, bool withRunNames);
    HDDASrcFile* counterpart_(const HDDASrcFile& original) const;

    std::unique_ptr<Data> m_data;
};
