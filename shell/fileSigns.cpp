// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
#include "shell/fileSigns.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include "workbench/Project.h"

namespace shell {

std::string signsOf(const std::string& path) {
    struct stat info {};
    if (stat(path.c_str(), &info) != 0)
        return "-";
    return fmt::format("{}.{}.{}.{}", info.st_ino, info.st_size, info.st_mtim.tv_sec,
                       info.st_mtim.tv_nsec);
}

std::string projectSigns(const std::string& dir) {
    std::string signs;
    for (const std::string& path : Project::savedPaths(dir))
        signs += signsOf(path) + ' ';
    return signs;
}

}  // namespace shell
