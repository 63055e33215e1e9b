// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "workbench/links.h"

#include <sys/stat.h>

#include "environment/files/HUTFile.h"

namespace workbench {

namespace {

/// The kind of what stands at `path`, or 0.
mode_t kindOf(const std::string& path) {
    struct stat info {};
    return ::lstat(path.c_str(), &info) == 0 ? info.st_mode & S_IFMT : 0;
}

}  // namespace

bool isLink(const std::string& path) {
    return kindOf(path) == S_IFLNK;
}

void makeWayForFile(const std::string& path) {
    const mode_t kind = kindOf(path);
    if (kind != 0 && kind != S_IFREG && kind != S_IFDIR)
        HUTFile(path).rm();
}

}  // namespace workbench
