// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/filemgmt/HDDAContentStamp.h"

#include <array>
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// FNV-1a over 64 bits.
constexpr std::uint64_t kHashStart = 0xcbf29ce484222325U;
constexpr std::uint64_t kHashFactor = 0x100000001b3U;

/// A file that is read for its stamp; open while it lives.
class StampedFile {
public:
    /// Without blocking: a pipe under a source's name mustn't hold the caller.
    explicit StampedFile(const std::string& path)
        : m_fd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
    ~StampedFile() {
        if (m_fd >= 0)
            close(m_fd);
    }

    StampedFile(const StampedFile&) = delete;
    StampedFile& operator=(const StampedFile&) = delete;

    bool isRegular(struct stat& facts) const {
        return m_fd >= 0 && fstat(m_fd, &facts) == 0 && S_ISREG(facts.st_mode);
    }

    ssize_t read(void* to, std::size_t limit) const {
        ssize_t got = 0;
        do {
            got = ::read(m_fd, to, limit);
        } while (got < 0 && errno == EINTR);
        return got;
    }

private:
    int m_fd;
};

}  // namespace

HDDAContentStamp::HDDAContentStamp(std::time_t modTime, std::uint64_t size, std::uint64_t hash)
    : m_modTime(modTime), m_size(size), m_hash(hash), m_exists(true) {}

HDDAContentStamp HDDAContentStamp::read(const std::string& path) {
    const StampedFile file(path);
    struct stat facts {};
    if (!file.isRegular(facts))
        return {};
    std::array<unsigned char, 65536> buffer;
    std::uint64_t hash = kHashStart;
    std::uint64_t size = 0;
    ssize_t got = 0;
    while ((got = file.read(buffer.data(), buffer.size())) > 0) {
        for (ssize_t i = 0; i < got; ++i)
            hash = (hash ^ buffer[static_cast<std::size_t>(i)]) * kHashFactor;
        size += static_cast<std::uint64_t>(got);
    }
    return got < 0 ? HDDAContentStamp() : HDDAContentStamp(facts.st_mtime, size, hash);
}

bool HDDAContentStamp::isSameContent(const HDDAContentStamp& other) const {
    return m_exists == other.m_exists && m_size == other.m_size && m_hash == other.m_hash;
}
