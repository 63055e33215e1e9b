// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/files/HUTFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <boost/filesystem.hpp>

#include "environment/containers/heapIter.h"
#include "environment/files/copyFile.h"
#include "environment/files/diskOps.h"
#include "environment/files/removeTree.h"

namespace {

/// The place of the dot before the extension, npos without one.
std::string::size_type extensionDot(const std::string& name) {
    const std::string::size_type dot = name.rfind('.');
    return dot == 0 || name == ".." ? std::string::npos : dot;
}

std::string withoutLastSeparators(std::string path) {
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

struct CloseFolder {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

/// Calls `visit` with the name of each entry.
template <class Visit> void forEachName(const std::string& folder, Visit visit) {
    const std::unique_ptr<DIR, CloseFolder> open(::opendir(folder.c_str()));
    while (const dirent* entry = open ? ::readdir(open.get()) : nullptr) {
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0)
            visit(entry->d_name);
    }
}

}  // namespace

HUTFile::HUTFile(const std::string& path) : m_path(path) {}

void HUTFile::setPathname(const std::string& path) {
    m_path = path;
}

void HUTFile::getFullPath(std::string& path) const {
    if (m_path.empty() || m_path.front() == '/') {
        path = m_path;
        return;
    }
    boost::system::error_code noFolder;
    const std::string here = boost::filesystem::current_path(noFolder).string();
    path = noFolder ? m_path : (here == "/" ? here : here + "/") + m_path;
}

void HUTFile::getName(std::string& name) const {
    name = files::nameOf(m_path);
}

void HUTFile::getBaseName(std::string& name) const {
    name = files::nameOf(m_path);
    name.resize(std::min(extensionDot(name), name.size()));
}

void HUTFile::getExt(std::string& ext) const {
    const std::string name = files::nameOf(m_path);
    const std::string::size_type dot = extensionDot(name);
    ext = dot == std::string::npos ? std::string() : name.substr(dot + 1);
}

bool HUTFile::exists() const {
    return exists(m_path);
}

bool HUTFile::exists(const std::string& path) {
    struct stat status = {};
    return !files::namesNothing(path) && ::stat(path.c_str(), &status) == 0;
}

bool HUTFile::isFile() const {
    return isFile(m_path);
}

bool HUTFile::isFile(const std::string& path) {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

bool HUTFile::getFileStamp(const char* path, long& seconds) {
    long size = 0;
    return getFileStamp(path, seconds, size);
}

bool HUTFile::getFileStamp(const char* path, long& seconds, long& size) {
    return files::stampAt(AT_FDCWD, path, seconds, size);
}

bool HUTFile::isDir() const {
    struct stat status = {};
    return ::stat(m_path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

long HUTFile::size() const {
    struct stat status = {};
    const bool isThere = ::stat(m_path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
    return isThere ? status.st_size : 0;
}

bool HUTFile::getLastMod(long& seconds) const {
    struct stat status = {};
    if (::stat(m_path.c_str(), &status) != 0)
        return false;
    seconds = status.st_mtim.tv_sec;
    return true;
}

bool HUTFile::mkDir() const {
    constexpr mode_t kNewFolder = 0777;
    return ::mkdir(m_path.c_str(), kNewFolder) == 0 || isDir();
}

bool HUTFile::mkDirRecursive() const {
    boost::system::error_code failed;
    boost::filesystem::create_directories(withoutLastSeparators(m_path), failed);
    return isDir();
}

bool HUTFile::rm() const {
    return files::removeAt(AT_FDCWD, m_path.c_str());
}

bool HUTFile::rmRecursive() const {
    return files::removeTree(m_path);
}

bool HUTFile::mkExecutable() const {
    struct stat status = {};
    if (::stat(m_path.c_str(), &status) != 0)
        return false;
    const mode_t mode = status.st_mode & 07777U;
    const mode_t wanted = mode | ((mode & 0444U) >> 2U);
    return wanted == mode || ::chmod(m_path.c_str(), wanted) == 0;
}

bool HUTFile::copyTo(const std::string& target, CopyMode mode) const {
    return files::copyFile(m_path, target, mode == kReplaceExisting);
}

int HUTFile::fileCount() const {
    int count = 0;
    forEachName(m_path, [&count](const char*) { ++count; });
    return count;
}

HSTFwdIter<HUTFile>* HUTFile::createFileIter() const {
    const std::string folder = withoutLastSeparators(m_path);
    const std::string prefix = folder == "/" ? folder : folder + "/";
    std::vector<HUTFile> entries;
    forEachName(m_path, [&](const char* name) { entries.emplace_back(prefix + name); });
    return containers::heapIterOfCopy<HUTFile>(std::move(entries));
}

const std::string& HUTFile::getDirSeparator() {
    static const std::string separator("/");
    return separator;
}
