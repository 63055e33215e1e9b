// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/files/tempFile.h"

#include <cerrno>
#include <random>

#include <fcntl.h>
#include <unistd.h>

namespace files {

namespace {

/// Six characters that another process is unlikely to pick as well.
std::string randomTail() {
    static const char kLetters[] = "abcdefghijklmnopqrstuvwxyz234567";
    std::random_device bits;
    std::string tail;
    for (unsigned value = bits(); tail.size() < 6; value >>= 5U)
        tail += kLetters[value & 31U];
    return tail;
}

/// Long names are cut, so that the tail fits into what file systems allow.
std::string hiddenNameBeside(const std::string& target) {
    constexpr std::string::size_type kMostOfName = 200;
    return folderOf(target) + "/." + nameOf(target).substr(0, kMostOfName) + "." + randomTail();
}

}  // namespace

TempFile::~TempFile() {
    m_file.close();
    if (!m_path.empty())
        disk().unlinkAt(AT_FDCWD, m_path.c_str(), 0);
}

int TempFile::open(mode_t mode) {
    constexpr int kTries = 16;
    int error = EEXIST;
    for (int left = kTries; left > 0 && error == EEXIST; --left) {
        const std::string path = hiddenNameBeside(m_target);
        m_file = Descriptor(
            disk().openAt(AT_FDCWD, path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, mode));
        error = m_file ? 0 : errno;
        if (m_file)
            m_path = path;
    }
    return error;
}

int TempFile::write(const char* data, std::size_t size) {
    std::size_t written = 0;
    return writeAll(m_file.get(), data, size, written);
}

int TempFile::setMode(mode_t mode) {
    return disk().setMode(m_file.get(), mode) == 0 ? 0 : errno;
}

int TempFile::takeAttributes(const struct stat& other) {
    struct stat own = {};
    if (::fstat(m_file.get(), &own) != 0)
        return errno;
    if (own.st_uid != other.st_uid || own.st_gid != other.st_gid)
        // Only root gives files away; for anyone else the saver owns the file.
        (void)disk().setOwner(m_file.get(), other.st_uid, other.st_gid);
    constexpr mode_t kModeBits = 07777;
    const bool same = (own.st_mode & kModeBits) == (other.st_mode & kModeBits);
    return same ? 0 : setMode(other.st_mode & kModeBits);
}

int TempFile::sync() {
    return disk().sync(m_file.get()) == 0 ? 0 : errno;
}

int TempFile::replaceTarget() {
    if (disk().rename(m_path.c_str(), m_target.c_str()) != 0)
        return errno;
    m_path.clear();
    return 0;
}

int TempFile::becomeTarget() {
    if (disk().renameToNew(m_path.c_str(), m_target.c_str()) == 0) {
        m_path.clear();
        return 0;
    }
    return errno == EINVAL || errno == ENOSYS ? linkTarget_() : errno;
}

/// For network file systems; the second name goes with this object.
int TempFile::linkTarget_() {
    return disk().link(m_path.c_str(), m_target.c_str()) == 0 ? 0 : errno;
}

int syncFolder(const std::string& folder) {
    const Descriptor opened(disk().openAt(AT_FDCWD, folder.c_str(), O_RDONLY | O_DIRECTORY, 0));
    if (!opened)
        return errno == EACCES ? 0 : errno;
    if (disk().sync(opened.get()) == 0 || errno == EINVAL || errno == ENOTSUP)
        return 0;
    return errno;
}

}  // namespace files
