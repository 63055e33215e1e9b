// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/ice40/stepFiles.h"

#include <cerrno>
#include <cstdint>
#include <cstring>

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include "workbench/ice40/process.h"
#include "workbench/ice40/stepFailure.h"

namespace ice40 {

namespace {

/// Closes its descriptor; -1 is nobody's.
class Descriptor {
public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor() {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const { return m_fd; }

private:
    int m_fd;
};

bool refuseForError(std::string& reason, int error) {
    reason = std::strerror(error);
    return false;
}

/// One that holds the bytes that it seems to have isn't asked for more.
bool readAll(int fd, std::size_t expected, std::string& text) {
    char block[1 << 16];
    text.reserve(expected);
    for (;;) {
        const ssize_t got = ::read(fd, block, sizeof block);
        if (got > 0)
            text.append(block, static_cast<std::size_t>(got));
        if (got == 0 || (got > 0 && text.size() == expected))
            return true;
        if (got < 0 && errno != EINTR)
            return false;
    }
}

bool writeAll(int fd, const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t put = ::write(fd, text.data() + done, text.size() - done);
        if (put >= 0)
            done += static_cast<std::size_t>(put);
        else if (errno != EINTR)
            return false;
    }
    return true;
}

std::string hiddenPart(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    const std::size_t name = slash == std::string::npos ? 0 : slash + 1;
    return path.substr(0, name) + "." + path.substr(name) + ".part";
}

std::string writingAdvice(int error) {
    switch (error) {
    case ENOENT:
        return "Create the folder, then run the step again";
    case EACCES:
    case EPERM:
    case EROFS:
        return "Make the folder writable, then run the step again";
    default:
        return "Free space on that disk, then run the step again";
    }
}

[[noreturn]] void failWriting(const std::string& path, int error) {
    throw StepFailure(fmt::format("'{}' can't be written: {}", path, std::strerror(error)),
                      writingAdvice(error));
}

bool isDiskFull(const std::string& path) {
    struct statvfs disk {};
    if (::statvfs(path.c_str(), &disk) != 0 || disk.f_blocks == 0)
        return false;
    return (::geteuid() == 0 ? disk.f_bfree : disk.f_bavail) == 0;
}

}  // namespace

bool readText(const std::string& path, std::string& text, std::string& reason, std::size_t limit) {
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat info {};
    if (file.get() < 0 || ::fstat(file.get(), &info) != 0)
        return refuseForError(reason, errno);
    if (!S_ISREG(info.st_mode)) {
        reason = "it is not a regular file";
        return false;
    }
    if (static_cast<std::uint64_t>(info.st_size) > limit) {
        reason =
            fmt::format("it has {} bytes, more than the {} that are read", info.st_size, limit);
        return false;
    }
    std::string content;
    if (!readAll(file.get(), static_cast<std::size_t>(info.st_size), content))
        return refuseForError(reason, errno);
    text = std::move(content);
    return true;
}

std::string fingerprint(const std::string& text) {
    std::uint64_t hash = 14695981039346656037ULL;
    for (const char c : text) {
        hash ^= static_cast<unsigned char>(c);
        hash *= 1099511628211ULL;
    }
    return fmt::format("{:016x}", hash);
}

OutputFile::OutputFile(const std::string& path) : m_path(path), m_part(hiddenPart(path)) {
    ::unlink(m_part.c_str());
    const Descriptor file(::open(m_part.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (file.get() < 0)
        failWriting(m_path, errno);
}

OutputFile::~OutputFile() {
    if (!m_committed)
        ::unlink(m_part.c_str());
}

bool OutputFile::hasContent() const {
    struct stat info {};
    return ::stat(m_part.c_str(), &info) == 0 && info.st_size > 0;
}

void OutputFile::write(const std::string& text) const {
    const Descriptor file(::open(m_part.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
    if (file.get() < 0 || !writeAll(file.get(), text))
        failWriting(m_path, errno);
}

void OutputFile::requireSpace() const {
    if (isDiskFull(m_part))
        failWriting(m_path, ENOSPC);
}

void OutputFile::commit() {
    if (m_committed)
        return;
    throwIfStopped();
    requireSpace();
    if (!hasContent())
        throw StepFailure(fmt::format("'{}' came out empty", m_path),
                          "Look at the lines above for what the tool says, and at the free space "
                          "of the disk");
    const Descriptor file(::open(m_part.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.get() < 0 || ::fsync(file.get()) != 0 || ::rename(m_part.c_str(), m_path.c_str()) != 0)
        failWriting(m_path, errno);
    m_committed = true;
}

}  // namespace ice40
