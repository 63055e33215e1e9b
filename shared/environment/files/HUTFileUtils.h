// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <string>

#include "environment/EnvironmentExport.h"

/// Reading and writing of whole files, and paths.
///
/// There are two ways to write. What a user would miss is saved by
/// replaceFile() or createFile(): after a crash, a full disk or a power cut
/// the file is the whole old or the whole new one. What can be made again at
/// any time, such as a generated script, is written by rewriteFile(), which
/// costs little more than the bare write and promises nothing for a power cut.
class ENVIRONMENT_API HUTFileUtils {
public:
    HUTFileUtils() = delete;

    /// Makes `path` absolute with the current folder, and plain: without
    /// "." and doubled separators, without a separator at its end; ".." is
    /// resolved as the disk would. An empty path becomes the current folder.
    static void makeAbsolutePath(std::string& path);

    /// Saves `content` as the file `path`, in the place of what is there. It
    /// is written beside it, synced and renamed; mode and, if permitted, owner
    /// of the old file stay. A symbolic link is resolved and its target
    /// replaced.
    /// @throws HEXUserException names file and cause; the old file is intact
    ///     and nothing is left beside it, unless only the sync of the folder
    ///     failed: then the new one stands, and the text says so.
    static void replaceFile(const std::string& path, const std::string& content);

    /// The same for a name that must be new: false, with nothing changed, when
    /// anything of that name is there. Of several processes that create one
    /// name at a time exactly one gets true.
    /// @throws HEXUserException as replaceFile() does, with no file left.
    static bool createFile(const std::string& path, const std::string& content);

    /// Writes a generated file: afterwards `path` is a regular file with
    /// exactly `content`, with the mode of the file that was there, else that
    /// of a new file; with `executable` everyone who may read it may execute
    /// it. A link is replaced, not followed, and a file with several names
    /// isn't changed under the others. Equal content isn't written again.
    /// False, without a message, when the file can't be opened or written, or,
    /// with the content written, can't be made executable; of the old content
    /// nothing is left once writing has begun.
    static bool rewriteFile(const std::string& path, const std::string& content, bool executable);

    /// Removes what `name`, a path relative to `folder`, names in it, as
    /// HUTFile::rmRecursive() does; but follows no link below `folder` and
    /// refuses names that go up, so that nothing outside of it is reached,
    /// whatever `name` says. True when nothing of that name is left.
    static bool removeBelow(const std::string& folder, const std::string& name);

    /// Reads a regular file of at most `maxBytes` bytes whole into `content`.
    /// Never waits: a pipe or device of that name is refused. False, with
    /// `content` as it was, when there is no such file, it is no regular file,
    /// it holds more, or reading fails; `reason` then gets what and why, such
    /// as "/a/b.psg: Permission denied".
    static bool readFile(const std::string& path, std::size_t maxBytes, std::string& content,
                         std::string& reason);
    static bool readFile(const std::string& path, std::size_t maxBytes, std::string& content);
};
