// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "environment/messages/readTextFile.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "environment/messages/systemReason.h"

namespace {

constexpr std::size_t kMaxBytes = std::size_t{16} * 1024 * 1024;

/// Closes the descriptor at the end of the scope.
struct OpenTextFile {
    explicit OpenTextFile(const std::string& path)
        : descriptor(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {}
    ~OpenTextFile() {
        if (descriptor >= 0)
            close(descriptor);
    }
    OpenTextFile(const OpenTextFile&) = delete;
    OpenTextFile& operator=(const OpenTextFile&) = delete;

    const int descriptor;
};

/// Whether the file may be read; else `reason` is set.
bool isReadable(const OpenTextFile& file, std::string& reason) {
    struct stat state {};
    if (file.descriptor < 0 || fstat(file.descriptor, &state) != 0) {
        reason = systemReason();
        return false;
    }
    if (!S_ISREG(state.st_mode)) {
        reason = "it is no regular file";
        return false;
    }
    return true;
}

}  // namespace

bool readTextFile(const std::string& path, std::string& content, std::string& reason) {
    const OpenTextFile file(path);
    if (!isReadable(file, reason))
        return false;
    std::string text;
    char buffer[16384];
    for (;;) {
        const ssize_t count = read(file.descriptor, buffer, sizeof buffer);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0) {
            reason = systemReason();
            return false;
        }
        if (count == 0)
            break;
        text.append(buffer, static_cast<std::size_t>(count));
        if (text.size() > kMaxBytes) {
            reason = "it is larger than 16 MB";
            return false;
        }
    }
    content.swap(text);
    return true;
}
