// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <sys/stat.h>
#include <sys/types.h>

#include "environment/EnvironmentExport.h"

/// The disk, as writing and removing use it.
namespace files {

/// The system calls that can lose data. Each answers as the call of that name
/// does: below 0 on failure, with errno set. What only looks at the disk calls
/// the system directly.
class ENVIRONMENT_API Disk {
public:
    virtual ~Disk();

    virtual int openAt(int folder, const char* path, int flags, mode_t mode) = 0;
    virtual ssize_t read(int fd, void* buffer, std::size_t size) = 0;
    virtual ssize_t write(int fd, const void* data, std::size_t size) = 0;
    virtual int truncate(int fd, off_t size) = 0;
    virtual int setMode(int fd, mode_t mode) = 0;
    virtual int setOwner(int fd, uid_t user, gid_t group) = 0;
    virtual int sync(int fd) = 0;
    virtual int close(int fd) = 0;
    virtual int rename(const char* from, const char* to) = 0;
    /// Fails with EEXIST when `to` is there; with EINVAL or ENOSYS where the
    /// file system can't do that.
    virtual int renameToNew(const char* from, const char* to) = 0;
    virtual int link(const char* from, const char* to) = 0;
    virtual int unlinkAt(int folder, const char* name, int flags) = 0;
};

/// The disk in use: the real one unless another was set.
ENVIRONMENT_API Disk& disk();

/// Puts `other` in the place of the disk until it is called again; null brings
/// the real one back. Not while another thread uses the disk.
ENVIRONMENT_API void setDisk(Disk* other);

/// Owns a file descriptor, -1 for none.
class ENVIRONMENT_API Descriptor {
public:
    explicit Descriptor(int fd = -1) : m_fd(fd) {}
    Descriptor(Descriptor&& other) noexcept : m_fd(other.m_fd) { other.m_fd = -1; }
    Descriptor& operator=(Descriptor&& other) noexcept;
    ~Descriptor() { close(); }

    explicit operator bool() const { return m_fd >= 0; }
    int get() const { return m_fd; }
    /// Closes it now; 0, or the error.
    int close();

private:
    int m_fd;
};

/// Writes all of `data`, however often that takes; 0, or the error. `written`
/// counts what came through.
ENVIRONMENT_API int writeAll(int fd, const char* data, std::size_t size, std::size_t& written);

/// Opens a regular file for reading, without waiting for anything, and looks
/// at it. `flags` are added. An empty descriptor, with `errorNumber` set, when that fails; for
/// anything but a regular file it is 0.
Descriptor openRegular(const std::string& path, int flags, struct stat& status, int& errorNumber);

/// Reads until `size` bytes or the end; the number of bytes, or -1.
ssize_t readUpTo(int fd, char* buffer, std::size_t size);

/// What a look at a file tells: what the disk says of it, all 0 when it couldn't be opened, and
/// why it wasn't read: 0 when it was, or when it is no regular file or too large.
struct Look {
    struct stat status {};
    int error = 0;

    bool isRegular() const { return S_ISREG(status.st_mode); }
};

/// Reads a regular file of up to `maxBytes` bytes and tells what it was like, as of the one file
/// that was opened. False, with `content` as it was, when that can't be read. `flags` such as
/// O_NOFOLLOW are those of open().
ENVIRONMENT_API bool readRegular(const std::string& path, int flags, std::size_t maxBytes,
                                 std::string& content, Look& look);

/// HUTFile::rm() and HUTFile::getFileStamp() of a path that is relative to the open folder
/// `folder`, or of any with AT_FDCWD.
ENVIRONMENT_API bool removeAt(int folder, const char* path);
ENVIRONMENT_API bool stampAt(int folder, const char* path, long& seconds, long& size);

/// Whether `path` is empty or ends in a separator.
inline bool namesNothing(std::string_view path) {
    return path.empty() || path.back() == '/';
}

/// The folder that `path` stands in, as a path that can be opened.
std::string folderOf(const std::string& path);
/// What stands behind the last separator of `path`.
std::string nameOf(const std::string& path);

}  // namespace files
