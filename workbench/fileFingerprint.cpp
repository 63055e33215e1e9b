// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/fileFingerprint.h"

#include <array>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "environment/process/HUTFork.h"
#include "workbench/fileTimes.h"
#include "workbench/ice40/contentHash.h"

namespace workbench {

namespace {

/// Several ticks of a kernel that keeps fractions of seconds.
constexpr long kFineClockNsec = 50'000'000;
constexpr long kNsecInSec = 1'000'000'000;
constexpr std::size_t kReadBlock = std::size_t{1} << 16U;

FileStamp stampOf(const struct stat& info) {
    return {static_cast<std::uint64_t>(info.st_size), info.st_ino, info.st_mtim, info.st_ctim};
}

/// What an error of the system says of the file.
FileFingerprint::State stateOf(int error) {
    return error == ENOENT || error == ENOTDIR ? FileFingerprint::kMissing
                                               : FileFingerprint::kUnreadable;
}

class OpenFile {
public:
    /// Without blocking: a pipe under a source's name doesn't hold the caller.
    explicit OpenFile(const std::string& path)
        : m_fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
    ~OpenFile() {
        if (m_fd >= 0)
            ::close(m_fd);
    }

    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    bool isOpen() const { return m_fd >= 0; }
    bool stampIfRegular(FileStamp& stamp) const {
        struct stat info {};
        if (::fstat(m_fd, &info) != 0 || !S_ISREG(info.st_mode))
            return false;
        stamp = stampOf(info);
        return true;
    }
    /// The number of bytes, 0 at the end, below 0 for an error.
    ssize_t read(std::array<char, kReadBlock>& block) const {
        ssize_t count = 0;
        do {
            count = ::read(m_fd, block.data(), block.size());
        } while (count < 0 && errno == EINTR);
        return count;
    }

private:
    int m_fd;
};

/// The SHA-1 of what is left to read; empty when reading fails.
std::string hashOf(const OpenFile& file) {
    ice40::ContentHash hash;
    std::array<char, kReadBlock> block;
    ssize_t count = 0;
    while ((count = file.read(block)) > 0)
        hash.add({block.data(), static_cast<std::size_t>(count)});
    return count < 0 ? std::string() : hash.text();
}

}  // namespace

bool operator==(const FileStamp& a, const FileStamp& b) {
    return a.size == b.size && a.inode == b.inode && isSameTime(a.modified, b.modified) &&
           isSameTime(a.changed, b.changed);
}

FileFingerprint::State readStamp(const std::string& path, FileStamp& stamp) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0)
        return stateOf(errno);
    if (!S_ISREG(info.st_mode))
        return FileFingerprint::kUnreadable;
    stamp = stampOf(info);
    return FileFingerprint::kPresent;
}

bool isOldEnough(const FileStamp& stamp, const timespec& now) {
    const timespec& last = isBefore(stamp.modified, stamp.changed) ? stamp.changed : stamp.modified;
    timespec settled = last;
    // Only a fine clock gives fractions.
    settled.tv_nsec += stamp.changed.tv_nsec != 0 ? kFineClockNsec : 0;
    settled.tv_sec += stamp.changed.tv_nsec != 0 ? 0 : kCoarsestClockSec;
    if (settled.tv_nsec >= kNsecInSec) {
        settled.tv_nsec -= kNsecInSec;
        ++settled.tv_sec;
    }
    return stamp.inode != 0 && isBefore(settled, now);
}

FileFingerprint readFingerprint(const std::string& path) {
    FileFingerprint print;
    const OpenFile file(path);
    if (!file.isOpen()) {
        print.state = stateOf(errno);
        return print;
    }
    print.state = FileFingerprint::kUnreadable;
    FileStamp before;
    if (!file.stampIfRegular(before))
        return print;
    print.sha1 = hashOf(file);
    // A file that is written while it is read gets no stamp that fits it.
    FileStamp after;
    if (file.stampIfRegular(after) && before == after)
        print.stamp = after;
    if (!print.sha1.empty())
        print.state = FileFingerprint::kPresent;
    return print;
}

FileWatch::FileWatch() : FileWatch(systemTime, readFingerprint) {}

FileWatch::FileWatch(Clock clock, Read read) : m_clock(std::move(clock)), m_read(std::move(read)) {}

FileWatch& FileWatch::ofProcess() {
    static FileWatch watch;
    return watch;
}

FileFingerprint FileWatch::look(const std::string& path, const FileFingerprint& known) {
    FileFingerprint now;
    now.state = stampOf(path, now.stamp);
    if (!now.isPresent())
        return now;
    const auto fits = [&now](const FileFingerprint& print) {
        return print.isPresent() && print.isSettled && print.stamp == now.stamp;
    };
    if (fits(known))
        return known;
    const std::lock_guard<std::mutex> lock(m_mutex);
    FileFingerprint& seen = m_seen[path];
    if (!fits(seen)) {
        // The time before the reading: what is changed during it isn't old enough.
        const timespec time = m_clock();
        seen = m_read(path);
        seen.isSettled = isOldEnough(seen.stamp, time);
    }
    return seen;
}

FileFingerprint::State FileWatch::stampOf(const std::string& path, FileStamp& stamp) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_moments == 0)
        return readStamp(path, stamp);
    const auto [at, isNew] = m_ofMoment.try_emplace(path);
    Seen& seen = at->second;
    if (isNew)
        seen.state = readStamp(path, seen.stamp);
    if (seen.state == FileFingerprint::kPresent)
        stamp = seen.stamp;
    return seen.state;
}

bool FileWatch::findProgram(const std::string& name, std::string& path) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_moments == 0)
        return HUTFork::findInPath(name, path);
    const auto [at, isNew] = m_programs.try_emplace(name);
    if (isNew)
        HUTFork::findInPath(name, at->second);
    if (!at->second.empty())
        path = at->second;
    return !at->second.empty();
}

FileWatch::Moment::Moment(FileWatch& watch) : m_watch(watch) {
    const std::lock_guard<std::mutex> lock(m_watch.m_mutex);
    ++m_watch.m_moments;
}

FileWatch::Moment::~Moment() {
    const std::lock_guard<std::mutex> lock(m_watch.m_mutex);
    if (--m_watch.m_moments > 0)
        return;
    m_watch.m_ofMoment.clear();
    m_watch.m_programs.clear();
}

}  // namespace workbench
