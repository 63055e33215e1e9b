// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/files/copyFile.h"

#include <cstring>
#include <memory>

#include <sys/stat.h>
#include <unistd.h>

#include "environment/files/diskOps.h"
#include "environment/files/tempFile.h"

namespace files {

namespace {

constexpr std::size_t kBlock = 65536;
using Block = std::unique_ptr<char[]>;  // its content is read before it is used
constexpr mode_t kPermissionBits = 0777;

bool sameFile(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

/// Compares what is left to read of both.
bool sameContent(int a, int b) {
    const Block left(new char[kBlock]);
    const Block right(new char[kBlock]);
    for (;;) {
        const ssize_t gotLeft = readUpTo(a, left.get(), kBlock);
        const ssize_t gotRight = readUpTo(b, right.get(), kBlock);
        if (gotLeft < 0 || gotLeft != gotRight)
            return false;
        if (std::memcmp(left.get(), right.get(), static_cast<std::size_t>(gotLeft)) != 0)
            return false;
        if (gotLeft == 0)
            return true;
    }
}

/// Whether `target`, a file of the status `there`, is a copy already. Leaves
/// `source` at its beginning.
bool isCopy(int source, const struct stat& status, const std::string& target,
            const struct stat& there) {
    if (!S_ISREG(there.st_mode) || there.st_nlink != 1 || there.st_size != status.st_size ||
        (there.st_mode & kPermissionBits) != (status.st_mode & kPermissionBits))
        return false;
    struct stat opened = {};
    int error = 0;
    const Descriptor file = openRegular(target, 0, opened, error);
    const bool same = file && sameFile(opened, there) && sameContent(source, file.get());
    ::lseek(source, 0, SEEK_SET);
    return same;
}

/// Reads `source` to its end into `temp`.
bool pour(int source, TempFile& temp) {
    const Block block(new char[kBlock]);
    ssize_t got = readUpTo(source, block.get(), kBlock);
    while (got > 0 && temp.write(block.get(), static_cast<std::size_t>(got)) == 0)
        got = readUpTo(source, block.get(), kBlock);
    return got == 0;
}

}  // namespace

bool copyFile(const std::string& source, const std::string& target, bool replace) {
    struct stat status = {};
    int error = 0;
    const Descriptor from = openRegular(source, 0, status, error);
    if (!from || namesNothing(target))
        return false;
    struct stat there = {};
    const bool isThere = ::lstat(target.c_str(), &there) == 0;
    if (isThere && (!replace || S_ISDIR(there.st_mode)))
        return false;
    if (isThere && (sameFile(status, there) || isCopy(from.get(), status, target, there)))
        return true;

    TempFile temp(target);
    if (temp.open(status.st_mode & kPermissionBits) != 0 || !pour(from.get(), temp) ||
        temp.setMode(status.st_mode & kPermissionBits) != 0)
        return false;
    if (isThere && temp.sync(static_cast<std::size_t>(status.st_size)) != 0)
        return false;
    return temp.close() == 0 && (replace ? temp.replaceTarget() : temp.becomeTarget()) == 0;
}

}  // namespace files
