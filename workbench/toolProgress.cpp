// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/toolProgress.h"

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace workbench {

namespace {

/// The most that one look reads.
constexpr off_t kMostAtOnce = 4L * 1024 * 1024;
constexpr std::size_t kLogBlock = std::size_t{64} * 1024;
/// The most that is kept of a line; the rest of a longer one is passed over. A command with
/// many sources is long.
constexpr std::size_t kLongestKeptLine = std::size_t{16} * 1024;

}  // namespace

struct ToolProgressReader::Log {
    explicit Log(const std::string& file) : path(file) {}

    void look(const std::string& step);
    void startAnew();
    bool isSame(const struct stat& info) const;
    void readFrom(int fd, off_t end, const std::string& step);
    void take(const char* text, std::size_t size, const std::string& step);
    void takeLine(const std::string& step);

    const std::string path;
    ToolLines lines;
    bool isSeen = false;
    dev_t device = 0;
    ino_t inode = 0;
    off_t at = 0;
    /// The line that isn't ended yet.
    std::string line;
    /// Whether the rest of that line is passed over.
    bool isPassedOver = false;
    std::size_t total = 0;

    /// Of the last look.
    std::string step;
    std::size_t sections = 0;
    double best = 0;
};

void ToolProgressReader::Log::startAnew() {
    lines.reset();
    line.clear();
    isPassedOver = false;
    at = 0;
    best = 0;
}

bool ToolProgressReader::Log::isSame(const struct stat& info) const {
    return isSeen && info.st_dev == device && info.st_ino == inode && info.st_size >= at;
}

void ToolProgressReader::Log::takeLine(const std::string& ofStep) {
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    lines.read(line, ofStep);
    line.clear();
}

void ToolProgressReader::Log::take(const char* text, std::size_t size, const std::string& ofStep) {
    for (std::size_t i = 0; i < size; ++i) {
        if (text[i] == '\n') {
            if (!isPassedOver || !line.empty())
                takeLine(ofStep);
            isPassedOver = false;
        } else if (!isPassedOver) {
            line += text[i];
            isPassedOver = line.size() >= kLongestKeptLine;
        }
    }
}

void ToolProgressReader::Log::readFrom(int fd, off_t end, const std::string& ofStep) {
    if (end - at > kMostAtOnce) {
        at = end - kMostAtOnce;
        lines.reset();
        line.clear();
        // It begins in the middle of a line.
        isPassedOver = true;
    }
    char block[kLogBlock];
    while (at < end) {
        const auto wanted =
            static_cast<std::size_t>(std::min<off_t>(end - at, static_cast<off_t>(sizeof block)));
        const ssize_t got = pread(fd, block, wanted, at);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return;
        at += got;
        total += static_cast<std::size_t>(got);
        take(block, static_cast<std::size_t>(got), ofStep);
    }
}

void ToolProgressReader::Log::look(const std::string& ofStep) {
    struct stat info {};
    // Most looks find nothing new: one call then.
    if (stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) {
        if (isSeen)
            startAnew();
        isSeen = false;
        return;
    }
    if (isSame(info) && info.st_size == at)
        return;
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (fd < 0)
        return;
    if (fstat(fd, &info) == 0 && S_ISREG(info.st_mode)) {
        if (!isSame(info))
            startAnew();
        isSeen = true;
        device = info.st_dev;
        inode = info.st_ino;
        readFrom(fd, info.st_size, ofStep);
    }
    close(fd);
}

ToolProgressReader::ToolProgressReader(const std::string& path)
    : m_log(std::make_unique<Log>(path)) {}

ToolProgressReader::~ToolProgressReader() = default;

ToolProgress ToolProgressReader::read(const std::string& step) {
    m_log->look(step);
    if (m_log->step != step || m_log->sections != m_log->lines.sections())
        m_log->best = 0;
    m_log->step = step;
    m_log->sections = m_log->lines.sections();
    ToolProgress progress = m_log->lines.progress(step);
    if (!progress.isKnown)
        return progress;
    m_log->best = std::max(m_log->best, progress.fraction);
    progress.fraction = m_log->best;
    progress.atMost = std::max(progress.atMost, progress.fraction);
    return progress;
}

std::size_t ToolProgressReader::bytesRead() const {
    return m_log->total;
}

}  // namespace workbench
