// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/files/HUTFileUtils.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <boost/filesystem.hpp>

#include "environment/errors/HEXUserException.h"
#include "environment/files/diskOps.h"
#include "environment/files/removeTree.h"
#include "environment/files/tempFile.h"

namespace {

std::string causeOf(int errorNumber) {
    return std::generic_category().message(errorNumber);
}

[[noreturn]] void failSave(const std::string& path, int errorNumber) {
    throw HEXUserException("Can't save " + path + ": " + causeOf(errorNumber) +
                           ". What was there is as it was; remove the cause and save again.");
}

[[noreturn]] void failFolderSync(const std::string& path, int errorNumber) {
    throw HEXUserException("Saved " + path +
                           ", but its folder could not be synced: " + causeOf(errorNumber) +
                           ". A power cut may bring the earlier file back; save again.");
}

/// Where a save of `path` goes: behind symbolic links, also to a file that
/// isn't there yet.
std::string behindLinks(std::string path) {
    constexpr int kMostLinks = 40;
    for (int left = kMostLinks; left > 0; --left) {
        boost::system::error_code notALink;
        const boost::filesystem::path target = boost::filesystem::read_symlink(path, notALink);
        if (notALink)
            return path;
        path = (target.is_absolute() ? target
                                     : boost::filesystem::path(files::folderOf(path)) / target)
                   .string();
    }
    failSave(path, ELOOP);
}

/// Fills `temp` so that it can take its place; 0, or the error.
int prepare(files::TempFile& temp, const std::string& content, const struct stat* old) {
    constexpr mode_t kNewFile = 0666;
    int error = temp.open(old != nullptr ? S_IRUSR | S_IWUSR : kNewFile);
    if (error == 0)
        error = temp.write(content.data(), content.size());
    if (error == 0 && old != nullptr)
        error = temp.takeAttributes(*old);
    if (error == 0)
        error = temp.sync(content.size());
    return error == 0 ? temp.close() : error;
}

/// Resolves the ".." of `path` as the disk does, where it can.
boost::filesystem::path withoutParents(const boost::filesystem::path& path) {
    boost::filesystem::path resolved;
    for (const boost::filesystem::path& part : path) {
        if (part == "..") {
            boost::system::error_code missing;
            const boost::filesystem::path real = boost::filesystem::canonical(resolved, missing);
            resolved = (missing ? resolved : real).parent_path();
            if (resolved.empty())
                resolved = "/";
        } else if (part != ".") {
            resolved /= part;
        }
    }
    return resolved;
}

constexpr mode_t readableAsExecutable(mode_t mode) {
    return mode | ((mode & 0444U) >> 2U);
}

/// Whether the file behind `fd`, of equal size, holds `content` already.
bool holds(int fd, const std::string& content) {
    std::string there(content.size(), '\0');
    const ssize_t got = files::readUpTo(fd, &there[0], there.size());
    return got == static_cast<ssize_t>(content.size()) && there == content;
}

/// Makes `content` all that the file behind `fd` holds. What is too long is
/// cut off first, so that a program that dies in between leaves no file that
/// ends as the old one did.
bool overwrite(int fd, const std::string& content, off_t oldSize) {
    const auto size = static_cast<off_t>(content.size());
    if (oldSize > size && files::disk().truncate(fd, size) != 0)
        return false;
    std::size_t written = 0;
    if (::lseek(fd, 0, SEEK_SET) == 0 &&
        files::writeAll(fd, content.data(), content.size(), written) == 0)
        return true;
    (void)files::disk().truncate(fd, static_cast<off_t>(written));
    return false;
}

/// A generated file, open to be rewritten.
struct Generated {
    files::Descriptor file;
    struct stat status = {};

    /// Opens `path`, making it when it isn't there; `flags` are added.
    bool open(const std::string& path, mode_t newMode, int flags) {
        constexpr int kFlags = O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
        file = files::Descriptor(
            files::disk().openAt(AT_FDCWD, path.c_str(), kFlags | flags, newMode));
        return file && ::fstat(file.get(), &status) == 0;
    }

    bool isPlain() const { return S_ISREG(status.st_mode) && status.st_nlink == 1; }
    mode_t mode() const { return status.st_mode & 07777U; }
    bool setMode(mode_t wanted) const {
        return wanted == mode() || files::disk().setMode(file.get(), wanted) == 0;
    }
};

/// Opens `path` as a file that can be written in place. What can't without
/// something else changing, such as a link, makes way for a new one.
bool openPlain(const std::string& path, bool executable, Generated& opened) {
    const mode_t newMode = executable ? 0777 : 0666;
    const bool isOpen = opened.open(path, newMode, 0);
    if (isOpen && opened.isPlain())
        return true;
    if (!isOpen && errno != ELOOP && errno != ENXIO)
        return false;
    const bool keepMode = isOpen && S_ISREG(opened.status.st_mode);
    const mode_t oldMode = opened.mode();
    return files::disk().unlinkAt(AT_FDCWD, path.c_str(), 0) == 0 &&
           opened.open(path, newMode, O_EXCL) && (!keepMode || opened.setMode(oldMode));
}

/// Whether `path` is absolute and no part of it is empty, "." or "..", as most are.
bool isPlainAbsolute(const std::string& path) {
    if (path.size() < 2 || path.front() != '/' || path.back() == '/')
        return false;
    for (std::size_t at = 0, end = 0; end != std::string::npos; at = end) {
        end = path.find('/', at + 1);
        const std::size_t size = (end == std::string::npos ? path.size() : end) - at - 1;
        // No more is read of the dots than there are.
        if (size <= 2 && path.compare(at + 1, size, "..", size) == 0)
            return false;
    }
    return true;
}

}  // namespace

void HUTFileUtils::makeAbsolutePath(std::string& path) {
    if (isPlainAbsolute(path))
        return;
    boost::filesystem::path absolute(path);
    if (!absolute.is_absolute()) {
        boost::system::error_code noFolder;
        const boost::filesystem::path here = boost::filesystem::current_path(noFolder);
        if (!noFolder)
            absolute = here / absolute;
    }
    path = withoutParents(absolute).string();
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
}

void HUTFileUtils::replaceFile(const std::string& path, const std::string& content) {
    if (files::namesNothing(path))
        failSave(path, EISDIR);
    const std::string target = behindLinks(path);
    struct stat old = {};
    const bool isThere = ::stat(target.c_str(), &old) == 0;
    if (isThere && !S_ISREG(old.st_mode))
        failSave(path, S_ISDIR(old.st_mode) ? EISDIR : EINVAL);

    files::TempFile temp(target);
    int error = prepare(temp, content, isThere ? &old : nullptr);
    if (error == 0)
        error = temp.replaceTarget();
    if (error != 0)
        failSave(path, error);
    if (const int unsynced = files::syncFolder(files::folderOf(target)))
        failFolderSync(path, unsynced);
}

bool HUTFileUtils::createFile(const std::string& path, const std::string& content) {
    if (files::namesNothing(path))
        failSave(path, EISDIR);
    files::TempFile temp(path);
    int error = prepare(temp, content, nullptr);
    if (error == 0)
        error = temp.becomeTarget();
    if (error == EEXIST)
        return false;
    if (error != 0)
        failSave(path, error);
    if (const int unsynced = files::syncFolder(files::folderOf(path)))
        failFolderSync(path, unsynced);
    return true;
}

bool HUTFileUtils::rewriteFile(const std::string& path, const std::string& content,
                               bool executable) {
    Generated opened;
    if (files::namesNothing(path) || !openPlain(path, executable, opened))
        return false;
    // Who may write a file but doesn't own it can't change its mode.
    const bool modeSet = !executable || opened.setMode(readableAsExecutable(opened.mode()));
    const off_t oldSize = opened.status.st_size;
    const bool sameSize = oldSize == static_cast<off_t>(content.size());
    const bool done = (sameSize && holds(opened.file.get(), content)) ||
                      overwrite(opened.file.get(), content, oldSize);
    return opened.file.close() == 0 && done && modeSet;
}

bool HUTFileUtils::removeBelow(const std::string& folder, const std::string& name) {
    return files::removeBelow(folder, name);
}

bool HUTFileUtils::readFile(const std::string& path, std::size_t maxBytes, std::string& content,
                            std::string& reason) {
    files::Look look;
    if (files::readRegular(path, 0, maxBytes, content, look))
        return true;
    if (look.error != 0)
        reason = path + ": " + causeOf(look.error);
    else if (!look.isRegular())
        reason = path + ": Not a regular file";
    else
        reason = path + ": Larger than " + std::to_string(maxBytes) + " bytes";
    return false;
}

bool HUTFileUtils::readFile(const std::string& path, std::size_t maxBytes, std::string& content) {
    std::string ignored;
    return readFile(path, maxBytes, content, ignored);
}
