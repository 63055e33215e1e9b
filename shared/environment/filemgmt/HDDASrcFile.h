// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <ctime>
#include <memory>
#include <string>

#include "environment/EnvironmentExport.h"
#include "environment/filemgmt/HDDAContentStamp.h"
#include "environment/filemgmt/HDDASrcAttrs.h"
#include "environment/filemgmt/HDDATypes.h"

class HADAFileSet;
class HDDACompositeFile;
class HDDASrcFileType;

/// One source file of a file set, or of a composite file in it.
///
/// Made and owned by the file set or composite file that holds it; it lives
/// until it is removed there. What it knows of the file on disk is what the
/// last updateStamp() read: nothing here looks at the disk by itself.
class ENVIRONMENT_API HDDASrcFile {
public:
    virtual ~HDDASrcFile();

    HDDASrcFile(const HDDASrcFile&) = delete;
    HDDASrcFile& operator=(const HDDASrcFile&) = delete;

    /// The path, as it was given. Give it absolute: a relative one is looked up
    /// from the current folder.
    const std::string& getName() const { return m_name; }

    const HDDASrcFileType* getFileType() const { return m_fileType; }
    void setFileType(HDDATypes::SFTId id);

    const HDDASrcAttrs& getAttrs() const { return m_attrs; }
    HDDASrcAttrs& getAttrs() { return m_attrs; }
    void setAttrs(const HDDASrcAttrs& attrs) { m_attrs = attrs; }

    /// Whether changes of the file are nobody's concern.
    bool isExcludedFromTracking() const { return m_attrs.isExcludedFromTracking(); }

    /// This source as the composite file that it is, or null.
    virtual HDDACompositeFile* getCompositeFile();
    const HDDACompositeFile* getCompositeFile() const;

    /// The composite file that holds this source; null for one that stands in
    /// the file set itself.
    HDDACompositeFile* getParentComposite() const { return m_parent; }

    /// The set that holds it, directly or inside a composite file.
    HADAFileSet* getFileSet() const { return m_fileSet; }

    /// What the file held when it was last looked at.
    const HDDAContentStamp& getStamp() const { return m_stamp; }
    void setStamp(const HDDAContentStamp& stamp) { m_stamp = stamp; }

    /// Looks at the file on disk and keeps what it finds; true when the content
    /// isn't what it was, or the file came or went. Reads the whole file.
    bool updateStamp();

    /// The stored modification time, in whole seconds since the epoch; 0 when
    /// the file wasn't there.
    std::time_t getModTime() const { return m_stamp.getModTime(); }
    void setModTime(std::time_t modTime) { m_stamp.setModTime(modTime); }

    /// When the file was brought into the set, in whole seconds; 0 when that
    /// isn't kept. A modification time that equals it may be that of the copy
    /// only, and not of the content.
    std::time_t getImportTime() const { return m_importTime; }
    void setImportTime(std::time_t importTime) { m_importTime = importTime; }

protected:
    HDDASrcFile(const std::string& path, HDDATypes::SFTId type);

    /// Called when a copy of this source is wanted, without its place in a set.
    /// An override copies all that it owns besides.
    virtual std::unique_ptr<HDDASrcFile> clone_() const;

    /// Copies attributes, stamp and times.
    void copyStateTo_(HDDASrcFile& copy) const;

    /// Called when the source comes into a set, or leaves it (both null). An
    /// override passes the set on to what it owns.
    virtual void setPlace_(HADAFileSet* fileSet, HDDACompositeFile* parent);

private:
    friend class HADAFileSet;
    friend class HDDACompositeFile;

    std::string m_name;
    const HDDASrcFileType* m_fileType;
    HDDASrcAttrs m_attrs;
    HDDAContentStamp m_stamp;
    std::time_t m_importTime = 0;
    HADAFileSet* m_fileSet = nullptr;
    HDDACompositeFile* m_parent = nullptr;
};
