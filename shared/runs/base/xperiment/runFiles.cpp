// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "runs/base/xperiment/runFiles.h"

#include <regex>
#include <vector>

#include <boost/filesystem.hpp>

#include "environment/files/HUTFile.h"
#include "environment/files/HUTFileUtils.h"
#include "runs/base/xperiment/runPath.h"

namespace xperiment {

namespace fs = boost::filesystem;

namespace {

constexpr char kAnyText = '*';
constexpr std::size_t kMaxPatternBytes = 1024;

/// Whether `name` is one of the directory itself.
bool isPlain(const std::string& name) {
    return name.find(HUTFile::getDirSeparator()) == std::string::npos;
}

/// Whether a folder is there, and no link to one.
bool isRealFolder(const std::string& path) {
    boost::system::error_code failed;
    return fs::symlink_status(path, failed).type() == fs::directory_file;
}

/// The time that a match takes grows with the lengths of pattern and name alone.
std::regex compilePattern(const std::string& pattern) {
    if (pattern.size() > kMaxPatternBytes)
        throw std::regex_error(std::regex_constants::error_space);
    auto flags = std::regex_constants::ECMAScript;
#ifdef __GLIBCXX__
    flags |= std::regex_constants::__polynomial;
#endif
    return std::regex(pattern, flags);
}

void removeMatches(const std::string& runDir, const std::string& name) {
    const std::size_t last = name.find_last_of(HUTFile::getDirSeparator());
    const std::size_t start = last == std::string::npos ? 0 : last + 1;
    const std::string folder = name.substr(0, start);
    const std::regex pattern = compilePattern(name.substr(start));
    std::vector<std::string> matches;
    for (const fs::directory_entry& entry : fs::directory_iterator(pathIn(runDir, folder))) {
        const std::string entryName = entry.path().filename().string();
        if (std::regex_match(entryName, pattern))
            matches.push_back(folder + entryName);
    }
    for (const std::string& match : matches)
        HUTFileUtils::removeBelow(runDir, match);
}

}  // namespace

std::string pathIn(const std::string& runDir, const std::string& name) {
    return runDir + HUTFile::getDirSeparator() + name;
}

void removeRunFile(RunPath& dir, const std::string& name) {
    if (dir.runDir().empty() || name.empty())
        return;
    if (isPlain(name))
        dir.remove({name});
    else if (!isRealFolder(pathIn(dir.runDir(), name)))
        HUTFileUtils::removeBelow(dir.runDir(), name);
}

void removeRunPath(RunPath& dir, const std::string& path) {
    const std::string start = pathIn(dir.runDir(), "");
    if (!dir.runDir().empty() && path.compare(0, start.size(), start) == 0)
        removeRunFile(dir, path.substr(start.size()));
    else
        HUTFile(path).rm();
}

bool removeRunEntry(RunPath& dir, const std::string& name) {
    if (dir.runDir().empty() || name.empty())
        return false;
    // Most entries are files, which go, or aren't there, with one system call.
    return (isPlain(name) && dir.remove({name})) || HUTFileUtils::removeBelow(dir.runDir(), name);
}

void removeGenerated(RunPath& dir, const std::string& name) {
    const std::string& runDir = dir.runDir();
    if (runDir.empty() || name.empty())
        return;
    if (name.find(kAnyText) != std::string::npos) {
        removeMatches(runDir, name);
        return;
    }
    const HUTFile file(pathIn(runDir, name));
    if (!file.isDir())
        removeRunFile(dir, name);
    else if (HUTFileUtils::removeBelow(runDir, name))
        file.mkDir();
}

}  // namespace xperiment
