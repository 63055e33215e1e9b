// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/files/removeTree.h"

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <utility>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <boost/filesystem.hpp>

#include "environment/files/diskOps.h"

namespace files {

namespace {

/// What a folder is, whatever it is called.
struct Identity {
    dev_t device = 0;
    ino_t inode = 0;

    bool operator==(const Identity& other) const {
        return device == other.device && inode == other.inode;
    }
};

bool identify(int fd, Identity& identity) {
    struct stat status = {};
    if (::fstat(fd, &status) != 0)
        return false;
    identity = {status.st_dev, status.st_ino};
    return true;
}

Descriptor openFolder(int parent, const char* name) {
    constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK;
    return Descriptor(disk().openAt(parent, name, kFlags, 0));
}

/// Whether something is mounted on the folder behind `fd`, also from the file
/// system that it lies in.
bool isMountPoint(int fd) {
#ifdef STATX_ATTR_MOUNT_ROOT
    struct statx status = {};
    return ::statx(fd, "", AT_EMPTY_PATH, 0, &status) == 0 &&
           (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
#else
    (void)fd;
    return false;
#endif
}

/// The names in the folder behind `fd`, which is read from where it stands.
bool readNames(int fd, std::vector<std::string>& names) {
    const int own = ::fcntl(fd, F_DUPFD_CLOEXEC, 0);
    const auto closeFolder = [](DIR* folder) { ::closedir(folder); };
    const std::unique_ptr<DIR, decltype(closeFolder)> folder(own < 0 ? nullptr : ::fdopendir(own),
                                                             closeFolder);
    if (!folder) {
        if (own >= 0)
            ::close(own);
        return false;
    }
    errno = 0;
    while (const dirent* entry = ::readdir(folder.get())) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..")
            names.push_back(name);
    }
    return errno == 0;
}

enum class Removal { kDone, kIsFolder, kFailed };

/// Removes `name` unless it is a folder.
Removal removeEntry(int parent, const char* name) {
    if (disk().unlinkAt(parent, name, 0) == 0 || errno == ENOENT)
        return Removal::kDone;
    return errno == EISDIR ? Removal::kIsFolder : Removal::kFailed;
}

bool removeEmptyFolder(int parent, const char* name) {
    return disk().unlinkAt(parent, name, AT_REMOVEDIR) == 0 || errno == ENOENT;
}

/// Empties a folder, depth first, with one descriptor at a time: whoever moves
/// folders about meanwhile stops it, and can't lead it elsewhere.
class Emptier {
public:
    explicit Emptier(Descriptor top) : m_at(std::move(top)) {}

    bool run() {
        if (!enter_(""))
            return false;
        while (!m_lost && (!m_levels.back().names.empty() || m_levels.size() > 1))
            m_levels.back().names.empty() ? leave_() : removeNext_();
        return m_allGone && !m_lost;
    }

private:
    struct Level {
        std::string name;
        Identity identity;
        std::vector<std::string> names;
    };

    /// Notes the folder that m_at has just come to.
    bool enter_(const std::string& name) {
        Level level;
        level.name = name;
        if (!identify(m_at.get(), level.identity))
            return false;
        const bool crosses =
            !m_levels.empty() &&
            (isMountPoint(m_at.get()) || level.identity.device != m_levels.back().identity.device);
        if (crosses || !readNames(m_at.get(), level.names))
            m_allGone = false;
        if (crosses)
            level.names.clear();
        m_levels.push_back(std::move(level));
        return true;
    }

    void removeNext_() {
        const std::string name = std::move(m_levels.back().names.back());
        m_levels.back().names.pop_back();
        const Removal removal = removeEntry(m_at.get(), name.c_str());
        if (removal == Removal::kFailed)
            m_allGone = false;
        if (removal != Removal::kIsFolder)
            return;
        Descriptor folder = openFolder(m_at.get(), name.c_str());
        if (!folder) {
            // An empty folder goes also when it can't be read.
            m_allGone = removeEmptyFolder(m_at.get(), name.c_str()) && m_allGone;
            return;
        }
        m_at = std::move(folder);
        m_lost = !enter_(name);
    }

    /// Goes up and removes the folder that was emptied.
    void leave_() {
        const std::string name = std::move(m_levels.back().name);
        m_levels.pop_back();
        Descriptor parent = openFolder(m_at.get(), "..");
        Identity identity;
        m_lost =
            !parent || !identify(parent.get(), identity) || !(identity == m_levels.back().identity);
        if (m_lost)
            return;
        m_at = std::move(parent);
        m_allGone = removeEmptyFolder(m_at.get(), name.c_str()) && m_allGone;
    }

    Descriptor m_at;
    std::vector<Level> m_levels;
    bool m_allGone = true;
    bool m_lost = false;
};

/// Whether `folder` is `path` or lies above it.
bool isAtOrAbove(const Identity& folder, const boost::filesystem::path& path) {
    boost::system::error_code missing;
    boost::filesystem::path at = boost::filesystem::canonical(path, missing);
    for (; !missing && !at.empty(); at = at.parent_path()) {
        struct stat status = {};
        if (::stat(at.c_str(), &status) == 0 && folder == Identity{status.st_dev, status.st_ino})
            return true;
    }
    return false;
}

/// The user's home as the host knows it, whatever HOME says.
std::string homeOfUser() {
    passwd entry = {};
    passwd* found = nullptr;
    std::vector<char> buffer(16384);
    ::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found);
    return found != nullptr && entry.pw_dir != nullptr ? entry.pw_dir : "";
}

bool isProtected(const Identity& folder) {
    const char* home = std::getenv("HOME");
    return isAtOrAbove(folder, ".") || (home != nullptr && isAtOrAbove(folder, home)) ||
           isAtOrAbove(folder, homeOfUser());
}

bool isPlainPath(const std::string& path) {
    if (namesNothing(path) || nameOf(path) == ".")
        return false;
    for (const boost::filesystem::path& part : boost::filesystem::path(path)) {
        if (part == "..")
            return false;
    }
    return true;
}

/// Whether the folder behind `fd`, found in `parent`, may be removed.
bool mayRemove(int parent, int fd) {
    Identity above;
    Identity folder;
    return identify(parent, above) && identify(fd, folder) && above.device == folder.device &&
           !isMountPoint(fd) && !isProtected(folder);
}

bool removeFolder(int parent, const char* name) {
    Descriptor folder = openFolder(parent, name);
    return folder && mayRemove(parent, folder.get()) && Emptier(std::move(folder)).run() &&
           removeEmptyFolder(parent, name);
}

bool isGone(int parent, const char* name) {
    struct stat status = {};
    return ::fstatat(parent, name, &status, AT_SYMLINK_NOFOLLOW) != 0 && errno == ENOENT;
}

/// Removes `name` from the folder behind `parent`. Someone else may be faster.
bool removeFrom(int parent, const std::string& name) {
    const Removal removal = removeEntry(parent, name.c_str());
    if (removal != Removal::kIsFolder)
        return removal == Removal::kDone;
    return removeFolder(parent, name.c_str()) || isGone(parent, name.c_str());
}

/// Opens a folder to reach what is in it.
Descriptor reachFolder(int parent, const std::string& path, int flags) {
    return Descriptor(disk().openAt(parent, path.c_str(), O_PATH | O_DIRECTORY | flags, 0));
}

}  // namespace

bool removeTree(const std::string& path) {
    if (!isPlainPath(path))
        return false;
    const Descriptor parent = reachFolder(AT_FDCWD, folderOf(path), 0);
    if (!parent)
        return errno == ENOENT || errno == ENOTDIR;
    return removeFrom(parent.get(), nameOf(path));
}

bool removeBelow(const std::string& folder, const std::string& name) {
    if (!isPlainPath(name) || name.front() == '/')
        return false;
    Descriptor at = reachFolder(AT_FDCWD, folder, 0);
    for (const boost::filesystem::path& part : boost::filesystem::path(name).parent_path()) {
        if (at)
            at = reachFolder(at.get(), part.string(), O_NOFOLLOW);
    }
    return at ? removeFrom(at.get(), nameOf(name)) : errno == ENOENT;
}

}  // namespace files
