// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/files/tempFile.h"

#include <atomic>
#include <cerrno>
#include <chrono>

#include <fcntl.h>
#include <unistd.h>

namespace files {

namespace {

/// Characters that nobody else is likely to pick at the same time; who does
/// notices it when the file is made. The host's random numbers cost more than
/// writing a small file.
std::string uniqueTail() {
    static std::atomic<unsigned long long> count{0};
    const auto now = std::chrono::system_clock::now().time_since_epoch().count();
    constexpr unsigned long long kSpread = 0x9E3779B97F4A7C15ULL;
    unsigned long long value = static_cast<unsigned long long>(now) + count++;
    value = (value ^ (static_cast<unsigned long long>(::getpid()) << 40U)) * kSpread;
    static const char kLetters[] = "abcdefghijklmnopqrstuvwxyz234567";
    std::string tail;
    for (value >>= 14U; tail.size() < 10; value >>= 5U)
        tail += kLetters[value & 31U];
    return tail;
}

/// Long names are cut, so that the tail fits into what file systems allow.
std::string hiddenNameBeside(const std::string& target) {
    constexpr std::string::size_type kMostOfName = 200;
    return folderOf(target) + "/." + nameOf(target).substr(0, kMostOfName) + "." + uniqueTail();
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
    constexpr mode_t kModeBits = 07777;
    struct stat own = {};
    if (::fstat(m_file.get(), &own) != 0)
        return errno;
    const bool same = (own.st_mode & kModeBits) == (mode & kModeBits);
    return same || disk().setMode(m_file.get(), mode & kModeBits) == 0 ? 0 : errno;
}

int TempFile::takeAttributes(const struct stat& other) {
    struct stat own = {};
    if (::fstat(m_file.get(), &own) != 0)
        return errno;
    if (own.st_uid != other.st_uid || own.st_gid != other.st_gid)
        // Only root gives files away; for anyone else the saver owns the file.
        (void)disk().setOwner(m_file.get(), other.st_uid, other.st_gid);
    return setMode(other.st_mode);
}

int TempFile::sync(std::size_t size) {
    struct stat own = {};
    if (disk().sync(m_file.get()) != 0 || ::fstat(m_file.get(), &own) != 0)
        return errno;
    return own.st_size == static_cast<off_t>(size) ? 0 : EIO;
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
