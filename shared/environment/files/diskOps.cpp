// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/files/diskOps.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace files {

namespace {

class RealDisk final : public Disk {
public:
    int openAt(int folder, const char* path, int flags, mode_t mode) override {
        return ::openat(folder, path, flags | O_CLOEXEC, mode);
    }
    ssize_t read(int fd, void* buffer, std::size_t size) override {
        return ::read(fd, buffer, size);
    }
    ssize_t write(int fd, const void* data, std::size_t size) override {
        return ::write(fd, data, size);
    }
    int truncate(int fd, off_t size) override { return ::ftruncate(fd, size); }
    int setMode(int fd, mode_t mode) override { return ::fchmod(fd, mode); }
    int setOwner(int fd, uid_t user, gid_t group) override { return ::fchown(fd, user, group); }
    int sync(int fd) override { return ::fsync(fd); }
    int close(int fd) override { return ::close(fd); }
    int rename(const char* from, const char* to) override { return ::rename(from, to); }
    int renameToNew(const char* from, const char* to) override {
        constexpr unsigned kNoReplace = 1;
        return static_cast<int>(::syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, kNoReplace));
    }
    int link(const char* from, const char* to) override { return ::link(from, to); }
    int unlinkAt(int folder, const char* name, int flags) override {
        return ::unlinkat(folder, name, flags);
    }
};

RealDisk theRealDisk;
Disk* sp_disk = nullptr;

/// Reads all that is behind `fd`, but no more than `maxBytes` + 1 bytes;
/// 0, or the error. `expected` is the size that the file seems to have; one that
/// holds just that isn't asked for more.
int readAll(int fd, std::size_t expected, std::size_t maxBytes, std::string& content) {
    // A file of the system's own says nothing of its size.
    constexpr std::size_t kLeast = 4096;
    content.resize(std::min(std::max(expected, kLeast), maxBytes) + 1);
    std::size_t size = 0;
    const ssize_t first = disk().read(fd, &content[0], content.size());
    if (first > 0)
        size = static_cast<std::size_t>(first);
    if (size == expected && size > 0) {
        content.resize(size);
        return 0;
    }
    for (;;) {
        const ssize_t got = readUpTo(fd, &content[size], content.size() - size);
        if (got < 0)
            return errno;
        size += static_cast<std::size_t>(got);
        if (size < content.size() || size > maxBytes)
            break;
        content.resize(std::min(content.size() * 2, maxBytes + 1));
    }
    content.resize(size);
    return 0;
}

}  // namespace

Disk::~Disk() = default;

Disk& disk() {
    return sp_disk != nullptr ? *sp_disk : theRealDisk;
}

void setDisk(Disk* other) {
    sp_disk = other;
}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    if (this != &other) {
        close();
        m_fd = other.m_fd;
        other.m_fd = -1;
    }
    return *this;
}

int Descriptor::close() {
    if (m_fd < 0)
        return 0;
    const int fd = m_fd;
    m_fd = -1;
    return disk().close(fd) == 0 ? 0 : errno;
}

int writeAll(int fd, const char* data, std::size_t size, std::size_t& written) {
    while (written < size) {
        const ssize_t count = disk().write(fd, data + written, size - written);
        if (count > 0)
            written += static_cast<std::size_t>(count);
        else if (count == 0)
            return EIO;
        else if (errno != EINTR)
            return errno;
    }
    return 0;
}

Descriptor openRegular(const std::string& path, int flags, struct stat& status, int& errorNumber) {
    Descriptor file(
        disk().openAt(AT_FDCWD, path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | flags, 0));
    const bool looked = file && ::fstat(file.get(), &status) == 0;
    errorNumber = looked ? 0 : errno;
    if (looked && S_ISREG(status.st_mode))
        return file;
    return Descriptor();
}

ssize_t readUpTo(int fd, char* buffer, std::size_t size) {
    std::size_t got = 0;
    while (got < size) {
        const ssize_t count = disk().read(fd, buffer + got, size - got);
        if (count == 0)
            break;
        if (count > 0)
            got += static_cast<std::size_t>(count);
        else if (errno != EINTR)
            return -1;
    }
    return static_cast<ssize_t>(got);
}

bool readRegular(const std::string& path, int flags, std::size_t maxBytes, std::string& content,
                 Look& look) {
    look = Look();
    const Descriptor file = openRegular(path, flags, look.status, look.error);
    if (!file)
        return false;
    std::string read;
    const auto size = static_cast<std::size_t>(look.status.st_size);
    if (size <= maxBytes)
        look.error = readAll(file.get(), size, maxBytes, read);
    if (look.error != 0 || size > maxBytes || read.size() > maxBytes)
        return false;
    content.swap(read);
    return true;
}

bool removeAt(int folder, const char* path) {
    if (namesNothing(path))
        return false;
    return disk().unlinkAt(folder, path, 0) == 0 || errno == ENOENT || errno == ENOTDIR;
}

bool stampAt(int folder, const char* path, long& seconds, long& size) {
    struct stat status = {};
    if (::fstatat(folder, path, &status, 0) != 0 || !S_ISREG(status.st_mode))
        return false;
    seconds = status.st_mtim.tv_sec;
    size = static_cast<long>(status.st_size);
    return true;
}

std::string folderOf(const std::string& path) {
    const std::string::size_type at = path.rfind('/');
    if (at == std::string::npos)
        return ".";
    return at == 0 ? "/" : path.substr(0, at);
}

std::string nameOf(const std::string& path) {
    return path.substr(path.rfind('/') + 1);  // npos + 1 is 0
}

}  // namespace files
