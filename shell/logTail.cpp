// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/logTail.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "shell/startsWith.h"

namespace shell {

namespace {

constexpr off_t kBlock = 64L * 1024;
constexpr off_t kMost = 64L * 1024 * 1024;

/// A file descriptor that closes itself.
class ReadFile {
public:
    explicit ReadFile(const std::string& path)
        : m_fd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
    ~ReadFile() {
        if (m_fd >= 0)
            close(m_fd);
    }
    ReadFile(const ReadFile&) = delete;
    ReadFile& operator=(const ReadFile&) = delete;

    bool isOpen() const { return m_fd >= 0; }

    off_t size() const {
        struct stat info {};
        return fstat(m_fd, &info) == 0 && S_ISREG(info.st_mode) ? info.st_size : 0;
    }

    /// What stands in [from, to), or less when the file became shorter meanwhile.
    std::string read(off_t from, off_t to) const {
        std::string text(static_cast<std::size_t>(to - from), '\0');
        std::size_t got = 0;
        while (got < text.size()) {
            const ssize_t part =
                pread(m_fd, &text[got], text.size() - got, from + static_cast<off_t>(got));
            if (part < 0 && errno == EINTR)
                continue;
            if (part <= 0)
                break;
            got += static_cast<std::size_t>(part);
        }
        text.resize(got);
        return text;
    }

private:
    int m_fd;
};

std::vector<std::string> splitLines(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t begin = 0;
    while (begin < text.size()) {
        std::size_t end = text.find('\n', begin);
        if (end == std::string::npos)
            end = text.size();
        lines.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return lines;
}

/// How much of the end of a file most likely holds `count` lines.
off_t firstLength(std::size_t count) {
    constexpr off_t kLeast = 4096;
    constexpr std::size_t kLineLength = 128;
    if (count == 0)
        return kMost;
    return count > kBlock / kLineLength ? kBlock
                                        : std::max(kLeast, static_cast<off_t>(count * kLineLength));
}

/// Whether `text` holds the ends of more than `count` lines.
bool hasLines(const std::string& text, std::size_t count) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) > count;
}

/// How many bytes at the end of `text` begin a character of UTF-8 that goes on behind it.
std::size_t begunAtEnd(const std::string& text) {
    constexpr std::size_t kLongest = 4;
    for (std::size_t size = 1; size < kLongest && size <= text.size(); ++size) {
        const auto byte = static_cast<unsigned char>(text[text.size() - size]);
        const std::size_t whole = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
        if (whole > 1)
            return size < whole ? size : 0;
        if (byte < 0x80)
            return 0;
    }
    return 0;
}

std::string trimmed(const std::string& text) {
    const char* blanks = " \t\r";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool isOfWrapper(const std::string& line) {
    return startsWith(line, "ZUMWrap.sh:");
}

bool isError(const std::string& line) {
    return startsWith(line, "ERROR") || line.find(": ERROR:") != std::string::npos;
}

}  // namespace

std::vector<std::string> lastLines(const std::string& path, std::size_t count,
                                   std::string& reason) {
    const ReadFile file(path);
    if (!file.isOpen()) {
        reason = std::strerror(errno);
        return {};
    }
    const off_t size = file.size();
    const off_t least = std::max<off_t>(0, size - kMost);
    // Twice as much each time: a long log is read about twice, not once a block.
    off_t length = firstLength(count);
    std::string text = file.read(std::max(least, size - length), size);
    while (size - length > least && !hasLines(text, count)) {
        length *= 2;
        text = file.read(std::max(least, size - length), size);
    }
    std::vector<std::string> lines = splitLines(text);
    if (count != 0 && lines.size() > count)
        lines.erase(lines.begin(), lines.end() - static_cast<std::ptrdiff_t>(count));
    return lines;
}

void readPieces(const std::string& path, const std::function<void(const std::string&)>& take,
                std::string& reason) {
    const ReadFile file(path);
    if (!file.isOpen()) {
        reason = std::strerror(errno);
        return;
    }
    const off_t size = file.size();
    for (off_t at = 0; at < size;) {
        const off_t end = std::min(size, at + kBlock);
        std::string piece = file.read(at, end);
        // Less when it became shorter meanwhile.
        const bool isLast = end == size || static_cast<off_t>(piece.size()) < end - at;
        if (!isLast)
            piece.resize(piece.size() - begunAtEnd(piece));
        if (!piece.empty())
            take(piece);
        if (isLast)
            return;
        at += static_cast<off_t>(piece.size());
    }
}

std::vector<std::string> failureLines(const std::vector<std::string>& lines, std::size_t count) {
    std::vector<std::string> told;
    std::copy_if(lines.begin(), lines.end(), std::back_inserter(told), [](const auto& line) {
        return !trimmed(line).empty() && !isOfWrapper(trimmed(line));
    });
    if (told.size() > count)
        told.erase(told.begin(), told.end() - static_cast<std::ptrdiff_t>(count));
    const auto first =
        std::find_if(told.begin(), told.end(), [](const auto& line) { return isError(line); });
    if (first != told.end())
        told.erase(told.begin(), first);
    return told;
}

}  // namespace shell
