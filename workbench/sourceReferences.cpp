// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/sourceReferences.h"

#include <cstddef>
#include <ctime>
#include <memory>
#include <mutex>
#include <set>
#include <unordered_map>

#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "workbench/fileFingerprint.h"

namespace workbench {

namespace {

constexpr std::size_t kLargestSource = 16U << 20U;
/// Longer strings are texts, not names.
constexpr std::size_t kLongestName = 1024;

/// The strings in `text`, without their quotes. A line end ends a string.
std::vector<std::string> stringsOf(const std::string& text) {
    std::vector<std::string> strings;
    std::size_t at = 0;
    while ((at = text.find('"', at)) != std::string::npos) {
        const std::size_t end = text.find_first_of("\"\n", at + 1);
        if (end == std::string::npos)
            break;
        if (text[end] == '"' && end > at + 1 && end - at <= kLongestName)
            strings.push_back(text.substr(at + 1, end - at - 1));
        at = end + 1;
    }
    return strings;
}

/// The strings of sources, kept for as long as the files show no sign of a change.
class KnownStrings {
public:
    using Strings = std::shared_ptr<const std::vector<std::string>>;

    static KnownStrings& ofProcess() {
        static KnownStrings known;
        return known;
    }

    /// Those of a file that can't be read are none.
    Strings of(const std::string& path) {
        FileStamp stamp;
        // Before the file is looked at: it may have changed meanwhile.
        timespec now{};
        clock_gettime(CLOCK_REALTIME, &now);
        const bool isThere =
            FileWatch::ofProcess().stampOf(path, stamp) == FileFingerprint::kPresent;
        const std::lock_guard<std::mutex> lock(m_mutex);
        Entry& entry = m_entries[path];
        if (isThere && entry.isSettled && entry.stamp == stamp)
            return entry.strings;
        std::string text;
        const bool isRead = isThere && HUTFileUtils::readFile(path, kLargestSource, text);
        entry = {stamp, isRead && isOldEnough(stamp, now),
                 std::make_shared<const std::vector<std::string>>(stringsOf(text))};
        return entry.strings;
    }

private:
    struct Entry {
        FileStamp stamp;
        bool isSettled = false;
        Strings strings;
    };

    std::mutex m_mutex;
    std::unordered_map<std::string, Entry> m_entries;
};

std::string folderOf(const std::string& path) {
    return path.substr(0, path.rfind('/'));
}

/// The file that `name` means; empty when there is none.
std::string resolve(const std::string& name, const std::string& folder,
                    const std::vector<std::string>& includeDirs) {
    if (name.front() == '/')
        return HUTFile::isFile(name) ? name : std::string();
    std::vector<std::string> folders{folder};
    folders.insert(folders.end(), includeDirs.begin(), includeDirs.end());
    for (const std::string& dir : folders) {
        std::string path = dir;
        path += '/';
        path += name;
        if (HUTFile::isFile(path))
            return path;
    }
    return {};
}

}  // namespace

std::vector<std::string> referencedFiles(const std::vector<std::string>& sources,
                                         const std::vector<std::string>& includeDirs) {
    std::vector<std::string> all = sources;
    std::set<std::string> seen(sources.begin(), sources.end());
    for (std::size_t i = 0; i < all.size(); ++i) {
        const KnownStrings::Strings names = KnownStrings::ofProcess().of(all[i]);
        for (const std::string& name : *names) {
            const std::string path = resolve(name, folderOf(all[i]), includeDirs);
            if (!path.empty() && seen.insert(path).second)
                all.push_back(path);
        }
    }
    all.erase(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(sources.size()));
    return all;
}

}  // namespace workbench
