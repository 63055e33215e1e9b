// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/undo/movingDisk.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "environment/files/HUTFile.h"

namespace workbench {

namespace {

/// A way to an open folder that doesn't go by its name.
std::string openFolder(int fd) {
    return "/proc/self/fd/" + std::to_string(fd);
}

/// The path of an open folder; empty when the system doesn't tell.
std::string pathOfFolder(int fd) {
    std::array<char, PATH_MAX> path{};
    const ssize_t size = ::readlink(openFolder(fd).c_str(), path.data(), path.size());
    return size <= 0 || static_cast<std::size_t>(size) >= path.size()
               ? std::string()
               : std::string(path.data(), static_cast<std::size_t>(size));
}

std::string resolved(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> full(::realpath(path.c_str(), nullptr),
                                                           &std::free);
    return full ? std::string(full.get()) : path;
}

/// What stands behind `folder` and a separator in `path`; empty when it lies elsewhere.
std::string behind(const std::string& folder, const std::string& path) {
    const std::string begin = folder + "/";
    return path.compare(0, begin.size(), begin) == 0 ? path.substr(begin.size()) : std::string();
}

}  // namespace

MovingDisk::MovingDisk(const std::string& from, const std::string& to, Rules rules)
    : m_real(files::disk()), m_from(from), m_resolved(resolved(from)), m_to(to), m_rules(rules) {
    files::setDisk(this);
}

MovingDisk::~MovingDisk() {
    files::setDisk(&m_real);
}

void MovingDisk::keep(const std::string& name) {
    const std::string target = m_to + "/" + name;
    if (makeFoldersFor_(name) && m_real.link((m_from + "/" + name).c_str(), target.c_str()) == 0)
        ++m_moved;
}

int MovingDisk::unlinkAt(int folder, const char* name, int flags) {
    std::string relative;
    if (!isBelow_(folder, name, relative))
        return m_real.unlinkAt(folder, name, flags);
    struct stat info {};
    if (::fstatat(folder, name, &info, AT_SYMLINK_NOFOLLOW) != 0)
        return -1;
    const std::string target = m_to + "/" + relative;
    if ((flags & AT_REMOVEDIR) != 0) {
        // What was in it has made its twin; an empty one gets one now.
        if (makeFoldersFor_(relative))
            HUTFile(target).mkDir();
        return m_real.unlinkAt(folder, name, flags);
    }
    if (S_ISDIR(info.st_mode)) {
        errno = EISDIR;
        return -1;
    }
    // By the open folder, whatever comes into the place of its path meanwhile.
    const std::string source =
        folder == AT_FDCWD || *name == '/' ? name : openFolder(folder) + "/" + name;
    struct stat older {};
    if (m_rules.olderStays && ::lstat(target.c_str(), &older) == 0)
        return m_real.unlinkAt(folder, name, flags);
    if (makeFoldersFor_(relative) && m_real.rename(source.c_str(), target.c_str()) == 0) {
        m_bytes += static_cast<std::uint64_t>(info.st_size);
        // Two names of one file: the rename of the one to the other does nothing.
        if (::fstatat(folder, name, &info, AT_SYMLINK_NOFOLLOW) == 0)
            m_real.unlinkAt(folder, name, flags);
        ++m_moved;
        return 0;
    }
    if (m_failure.empty())
        m_failure = m_from + "/" + relative + ": " + std::strerror(errno);
    if (m_rules.mustMove)
        return -1;
    return m_real.unlinkAt(folder, name, flags);
}

/// Whether the path lies in the folder that is cleared, and where in it.
bool MovingDisk::isBelow_(int folder, const char* name, std::string& relative) const {
    if (std::strstr(name, "..") != nullptr &&
        (std::strcmp(name, "..") == 0 || std::strncmp(name, "../", 3) == 0 ||
         std::strstr(name, "/../") != nullptr))
        return false;
    std::string path = name;
    if (folder != AT_FDCWD && *name != '/')
        path = pathOfFolder(folder) + "/" + name;
    relative = behind(m_resolved, path);
    if (relative.empty())
        relative = behind(m_from, path);
    return !relative.empty();
}

bool MovingDisk::makeFoldersFor_(const std::string& relative) const {
    const std::string::size_type end = relative.rfind('/');
    const std::string folder =
        end == std::string::npos ? m_to : m_to + "/" + relative.substr(0, end);
    return HUTFile(folder).mkDirRecursive();
}

int MovingDisk::openAt(int folder, const char* path, int flags, mode_t mode) {
    return m_real.openAt(folder, path, flags, mode);
}

ssize_t MovingDisk::read(int fd, void* buffer, std::size_t size) {
    return m_real.read(fd, buffer, size);
}

ssize_t MovingDisk::write(int fd, const void* data, std::size_t size) {
    return m_real.write(fd, data, size);
}

int MovingDisk::truncate(int fd, off_t size) {
    return m_real.truncate(fd, size);
}

int MovingDisk::setMode(int fd, mode_t mode) {
    return m_real.setMode(fd, mode);
}

int MovingDisk::setOwner(int fd, uid_t user, gid_t group) {
    return m_real.setOwner(fd, user, group);
}

int MovingDisk::sync(int fd) {
    return m_real.sync(fd);
}

int MovingDisk::close(int fd) {
    return m_real.close(fd);
}

int MovingDisk::rename(const char* from, const char* to) {
    return m_real.rename(from, to);
}

int MovingDisk::renameToNew(const char* from, const char* to) {
    return m_real.renameToNew(from, to);
}

int MovingDisk::link(const char* from, const char* to) {
    return m_real.link(from, to);
}

}  // namespace workbench
