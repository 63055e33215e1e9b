// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <string>

#include "environment/EnvironmentExport.h"

template <class T> class HSTFwdIter;

/// A path, and what can be asked of and done to the file or folder behind it.
///
/// It keeps the path only and asks the disk anew each time. Nothing here
/// throws for what the disk says: an operation that fails returns false.
/// Times are whole seconds since the epoch, sizes are bytes.
///
/// A path that is empty, or that ends in a separator, names nothing: a folder
/// joined to an empty name is such a path. It doesn't exist, it is no file and
/// it isn't removed; as a folder (isDir(), fileCount(), createFileIter(),
/// mkDirRecursive()) a separator at the end is passed over.
class ENVIRONMENT_API HUTFile {
public:
    /// What copyTo() does when the target is there.
    enum CopyMode {
        kKeepExisting = 0,     ///< leaves it alone and returns false
        kReplaceExisting = 1,  ///< puts the copy in its place
    };

    explicit HUTFile(const std::string& path);

    void setPathname(const std::string& path);

    /// The path made absolute with the current folder, else as it was given:
    /// links and ".." stay. Empty for an empty path.
    void getFullPath(std::string& path) const;
    /// The part behind the last separator.
    void getName(std::string& name) const;
    /// The name without its extension and the dot before it.
    void getBaseName(std::string& name) const;
    /// What stands behind the last dot of the name; empty without a dot, and
    /// for a hidden name without a second dot such as ".Orv".
    void getExt(std::string& ext) const;

    /// Whether a file, a folder or anything else is there. A link counts as
    /// what it leads to, so that one that leads nowhere doesn't exist.
    bool exists() const;
    static bool exists(const std::string& path);

    /// Whether a regular file is there, or a link to one. One system call, no
    /// memory taken.
    bool isFile() const;
    static bool isFile(const std::string& path);

    /// isFile() and getLastMod() in one system call, no memory taken: true
    /// when `path` is a regular file, with `seconds` its modification time;
    /// else `seconds` stays as it was.
    static bool getFileStamp(const char* path, long& seconds);
    /// The same, with the size of the file from that system call.
    static bool getFileStamp(const char* path, long& seconds, long& size);

    bool isDir() const;

    /// The size of a regular file; 0 for anything else.
    long size() const;

    /// The time of the last modification. False when it can't be read, with
    /// `seconds` as it was.
    bool getLastMod(long& seconds) const;

    /// Makes the folder; those above it must be there. True also when it was
    /// there already.
    bool mkDir() const;

    /// Makes the folder and those above it. True also when it was there.
    bool mkDirRecursive() const;

    /// Removes a file or a link, never what a link leads to and never a
    /// folder. True when nothing of that name is left.
    bool rm() const;

    /// Removes a file, a link, or a folder with all that is in it. Follows no
    /// link and goes into no other file system: what is mounted inside stays.
    /// Refuses "/", a path with a ".." in it, the home folder, the current
    /// folder, and folders above these two. True when nothing of that name is
    /// left; on false part of the content may be gone.
    bool rmRecursive() const;

    /// Lets everyone execute the file who may read it. False when its mode
    /// can't be changed.
    bool mkExecutable() const;

    /// Copies a regular file, with its mode, to the path `target`. A reader of
    /// `target` sees the old file or the whole copy, and a failure leaves the
    /// old one. A link at `target` is replaced, not followed. What replaces a
    /// file is synced before; a copy under a new name isn't. Nothing is
    /// written when `target` is equal in content and mode already: replacing a
    /// file costs a disk milliseconds. False when the source is missing or
    /// isn't a regular file, when `target` is a folder, and when writing fails.
    bool copyTo(const std::string& target, CopyMode mode) const;

    /// The number of entries of the folder, hidden ones included; 0 when it is
    /// missing, can't be read, or isn't a folder.
    int fileCount() const;

    /// The entries of the folder, hidden ones included, in the order in which
    /// the host gives them; each has the folder's path, a separator and its
    /// name. The names are read at once: entries may be removed while the
    /// caller walks. The caller deletes the iterator; it is empty where
    /// fileCount() is 0.
    HSTFwdIter<HUTFile>* createFileIter() const;

    /// The host's separator of folders, "/".
    static const std::string& getDirSeparator();

private:
    std::string m_path;
};
