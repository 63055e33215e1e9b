// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#pragma once

#include <cstdint>
#include <ctime>
#include <functional>
#include <mutex>
#include <string>
#include <unordered_map>

#include "workbench/WorkbenchExport.h"

/// Whether a file holds what it held before, with as little reading as that takes.
namespace workbench {

/// What a file system tells of a file without its content being read.
struct FileStamp {
    std::uint64_t size = 0;
    std::uint64_t inode = 0;
    /// When the content was last written, which anyone may set.
    timespec modified{};
    /// When content, name or rights last changed, which nobody can set.
    timespec changed{};
};

WORKBENCH_API bool operator==(const FileStamp& a, const FileStamp& b);
inline bool operator!=(const FileStamp& a, const FileStamp& b) {
    return !(a == b);
}

/// What a file was like at one moment. A value.
struct FileFingerprint {
    enum State {
        kMissing,
        kUnreadable,  ///< not to be opened or read, or no regular file
        kPresent
    };

    State state = kMissing;
    /// The SHA-1 of the content, in hexadecimal; only of a present file.
    std::string sha1;
    FileStamp stamp;
    /// Whether a file with this stamp has this content for certain. Times are as coarse
    /// as the file system's clock: a file that was changed right before it was read may
    /// change again without another time.
    bool isSettled = false;

    bool isPresent() const { return state == kPresent; }
    /// Whether both say the same of the content; when the file was touched doesn't count.
    bool isSameContent(const FileFingerprint& other) const {
        return state == other.state && sha1 == other.sha1;
    }
};

/// The stamp of the file at `path`, links followed: one system call. The state is that of
/// `path`, as far as it shows without opening.
WORKBENCH_API FileFingerprint::State readStamp(const std::string& path, FileStamp& stamp);

/// Whether `stamp` is old enough at `now` for a later change to show in it. A time ahead
/// of `now`, by another host's clock, never is.
WORKBENCH_API bool isOldEnough(const FileStamp& stamp, const timespec& now);

/// Reads the file at `path`: its hash, and its stamp when it kept still meanwhile. Never waits
/// for a pipe. The result isn't settled.
WORKBENCH_API FileFingerprint readFingerprint(const std::string& path);

/// Looks at files, and reads the content only of those whose stamps don't tell it.
///
/// What it read it remembers for as long as it lives. Threads may share it; it reads
/// files under its lock.
class WORKBENCH_API FileWatch {
public:
    using Clock = std::function<timespec()>;
    /// Reads the content at a path: gives state, hash and stamp; the rest stays.
    using Read = std::function<FileFingerprint(const std::string& path)>;

    FileWatch();
    FileWatch(Clock clock, Read read);

    FileWatch(const FileWatch&) = delete;
    FileWatch& operator=(const FileWatch&) = delete;

    /// The one that the whole process shares.
    static FileWatch& ofProcess();

    /// What the file at `path` is like now. A file whose stamp is that of `known`, which
    /// was taken of this path, isn't read.
    FileFingerprint look(const std::string& path, const FileFingerprint& known = {});

    /// readStamp(), asked once a path while a moment lasts.
    FileFingerprint::State stampOf(const std::string& path, FileStamp& stamp);

    /// HUTFork::findInPath(), asked once a name while a moment lasts.
    bool findProgram(const std::string& name, std::string& path);

    /// As long as one lives, every file is looked at once and is taken for what it was then,
    /// by all threads: who asks for many runs of one design has one answer for all of them,
    /// and pays for one. Moments may overlap. To be kept short, and not over a launch.
    class WORKBENCH_API Moment {
    public:
        explicit Moment(FileWatch& watch = ofProcess());
        ~Moment();

        Moment(const Moment&) = delete;
        Moment& operator=(const Moment&) = delete;

    private:
        FileWatch& m_watch;
    };

private:
    struct Seen {
        FileFingerprint::State state = FileFingerprint::kMissing;
        FileStamp stamp;
    };

    Clock m_clock;
    Read m_read;
    std::mutex m_mutex;
    std::unordered_map<std::string, FileFingerprint> m_seen;
    int m_moments = 0;
    std::unordered_map<std::string, Seen> m_ofMoment;
    /// By name; empty for one that isn't there.
    std::unordered_map<std::string, std::string> m_programs;
};

}  // namespace workbench
