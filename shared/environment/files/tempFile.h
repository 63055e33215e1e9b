// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <string>

#include <sys/stat.h>

#include "environment/files/diskOps.h"

namespace files {

/// A hidden file beside the one that it is going to be, until it is renamed.
/// Every operation gives 0 or the error. It removes itself unless it was put
/// in its place.
class TempFile {
public:
    explicit TempFile(const std::string& target) : m_target(target) {}
    ~TempFile();

    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;

    /// Makes it, with `mode` less what the process's mask takes away.
    int open(mode_t mode);
    int write(const char* data, std::size_t size);
    int setMode(mode_t mode);
    /// Gives it the mode and, if that is permitted, the owner of another file.
    int takeAttributes(const struct stat& other);
    /// Syncs it, and makes sure that it holds `size` bytes: a file system
    /// across a network may have said yes to less.
    int sync(std::size_t size);
    int close() { return m_file.close(); }

    /// Puts it in its place, over what is there.
    int replaceTarget();
    /// Puts it in its place if nothing is there, else EEXIST.
    int becomeTarget();

private:
    int linkTarget_();

    std::string m_target;
    std::string m_path;
    Descriptor m_file;
};

/// Makes names in `folder` outlast a power cut; 0, or the error. File systems
/// that can't sync a folder count as synced.
int syncFolder(const std::string& folder);

}  // namespace files
